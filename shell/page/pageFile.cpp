// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/pageFile.h"

#include <fmt/format.h>

#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "shell/exitStatus.h"

namespace shell {

namespace {

const char kPagePath[] = "html/page.html";
constexpr std::size_t kLargestPage = std::size_t{16} << 20;
const char kDataPlace[] = R"(<script type="application/json" id="xp-data">{}</script>)";
const char kDataStart[] = R"(<script type="application/json" id="xp-data">)";
const char kDataEnd[] = "</script>";

/// `data` without a "<", and without what scripts take for the end of a line: in JSON these
/// stand in texts only, where an escape means the same.
std::string escaped(const std::string& data) {
    std::string text;
    text.reserve(data.size() + data.size() / 64);
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (data[i] == '<')
            text += "\\u003c";
        else if (data.compare(i, 3, "\xe2\x80\xa8") == 0 ||
                 data.compare(i, 3, "\xe2\x80\xa9") == 0) {
            text += data[i + 2] == '\xa8' ? "\\u2028" : "\\u2029";
            i += 2;
        } else
            text += data[i];
    }
    return text;
}

}  // namespace

std::string pageTemplate() {
    const std::string path = HUTEnv::getKPXAppRoot(kPagePath) + "/" + kPagePath;
    std::string text;
    std::string reason;
    if (!HUTFileUtils::readFile(path, kLargestPage, text, reason))
        throw CommandError(
            kExitRefused,
            fmt::format("The page's frame can't be read: {}. Install xp again.", reason));
    return text;
}

std::string pageWith(const std::string& page, const std::string& data) {
    const std::size_t place = page.find(kDataPlace);
    if (place == std::string::npos)
        throw CommandError(kExitRefused, fmt::format("The page's frame {} has no place for data. "
                                                     "Install xp again.",
                                                     kPagePath));
    return page.substr(0, place) + kDataStart + escaped(data) + kDataEnd +
           page.substr(place + sizeof kDataPlace - 1);
}

}  // namespace shell
