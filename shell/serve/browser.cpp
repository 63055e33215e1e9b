// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/browser.h"

#include <cstdlib>

#include <fmt/format.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/process/HUTFork.h"
#include "shell/note.h"

namespace shell {

namespace {

const char kOpener[] = "xdg-open";

/// A new folder that only the user may enter; empty when it can't be made.
std::string privateFolder() {
    const char* const temporary = std::getenv("TMPDIR");
    std::string folder =
        std::string(temporary != nullptr && *temporary != '\0' ? temporary : "/tmp") +
        "/xperiment-XXXXXX";
    return mkdtemp(&folder[0]) == nullptr ? std::string() : folder;
}

}  // namespace

Browser::Browser(const std::string& address) {
    HUTFork process;
    process.setCmdLine(kOpener, false);
    m_folder = privateFolder();
    const std::string path = m_folder + "/page.html";
    if (m_folder.empty() ||
        !HUTFileUtils::rewriteFile(
            path,
            fmt::format(
                "<!DOCTYPE html>\n<html><head><meta http-equiv=\"refresh\" "
                "content=\"0; url={0}\"></head><body><a href=\"{0}\">{0}</a></body></html>\n",
                address),
            false)) {
        tellWarning("No browser is opened: the folder for temporary files can't be written.");
        return;
    }
    process.addArg(path);
    if (process.launch(false, true, true, true) < 0)
        tellWarning(fmt::format("No browser is opened: {}. Open the address yourself.",
                                process.getError()));
}

Browser::~Browser() {
    if (!m_folder.empty())
        HUTFile(m_folder).rmRecursive();
}

}  // namespace shell
