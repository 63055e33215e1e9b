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
/// U+2028 and U+2029, and what they and tags begin with.
const char kLineEnd[] = "\xe2\x80\xa8";
const char kParagraphEnd[] = "\xe2\x80\xa9";
constexpr std::size_t kLineLength = sizeof kLineEnd - 1;
const char kAwkward[] = "<\xe2";

/// `data` without a "<", and without what scripts take for the end of a line: in JSON these
/// stand in texts only, where an escape means the same.
std::string escaped(const std::string& data) {
    std::string text;
    text.reserve(data.size() + data.size() / 64);
    std::size_t begin = 0;
    for (std::size_t at = data.find_first_of(kAwkward); at != std::string::npos;
         at = data.find_first_of(kAwkward, at + 1)) {
        const bool isTag = data[at] == '<';
        const bool isLine = data.compare(at, kLineLength, kLineEnd) == 0;
        if (!isTag && !isLine && data.compare(at, kLineLength, kParagraphEnd) != 0)
            continue;
        text.append(data, begin, at - begin);
        text += isTag ? "\\u003c" : isLine ? "\\u2028" : "\\u2029";
        begin = at + (isTag ? 1 : kLineLength);
    }
    return text.append(data, begin);
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
