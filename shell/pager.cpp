// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/pager.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fmt/format.h>
#include <unistd.h>

#include "environment/process/HUTFork.h"
#include "shell/exitStatus.h"
#include "shell/interrupt.h"
#include "shell/terminal.h"
#include "workbench/printable.h"

namespace shell {

namespace {

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

[[noreturn]] void failUnreadable(const std::string& path) {
    throw CommandError(kExitRefused, fmt::format("{} can't be read: {}. Check its rights, or make "
                                                 "it anew.",
                                                 path, std::strerror(errno)));
}

/// As it stands, for programs; what a terminal would take as a command is escaped for one.
void copyFile(const std::string& path) {
    const File file(std::fopen(path.c_str(), "re"));
    if (!file)
        failUnreadable(path);
    const bool forPeople = Terminal::output().isTerminal();
    char buffer[64 * 1024];
    std::string all;
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) {
        if (forPeople)
            all.append(buffer, count);
        else
            std::fwrite(buffer, 1, count, stdout);
    }
    if (std::ferror(file.get()) != 0)
        failUnreadable(path);
    all = workbench::printableLines(all);
    std::fwrite(all.data(), 1, all.size(), stdout);
}

/// Whether the pager was there and took the file.
bool runPager(const std::string& commandLine, const std::string& path) {
    // Ctrl-C is the pager's.
    const Interrupt interrupt;
    HUTFork pager;
    pager.setCmdLine(commandLine, true);
    pager.addArg(path);
    // A short report stays on the screen.
    if (std::getenv("LESS") == nullptr)
        pager.setEnvVar("LESS", "FX");
    return pager.launch(true, false, true, false) >= 0;
}

}  // namespace

std::vector<std::string> pagersFor(const char* wish) {
    const std::string wanted = wish == nullptr ? "less" : wish;
    if (wanted.find_first_not_of(" \t") == std::string::npos || wanted == "cat")
        return {};
    std::vector<std::string> all{wanted};
    for (const char* usual : {"less", "more"}) {
        if (wanted != usual)
            all.emplace_back(usual);
    }
    return all;
}

void showFile(const std::string& path) {
    if (access(path.c_str(), R_OK) != 0)
        failUnreadable(path);
    if (Terminal::output().isLive()) {
        std::fflush(stdout);
        for (const std::string& pager : pagersFor(std::getenv("PAGER"))) {
            if (runPager(pager, path))
                return;
        }
    }
    copyFile(path);
}

}  // namespace shell
