// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

#include "environment/messages/ComMsgMgr.h"
#include "shell/commandLine.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "workbench/cluster/gridKill.h"
#include "workbench/product.h"
#include "workbench/reports/tarnel.h"

namespace {

/// The folder of this program, where the step programs stand too.
/// @throws CommandError the system doesn't tell.
std::string ownFolder() {
    std::string path(4096, '\0');
    const ssize_t size = readlink("/proc/self/exe", &path[0], path.size());
    if (size <= 0)
        throw shell::CommandError(shell::kExitRefused,
                                  fmt::format("The place of this program isn't known: "
                                              "/proc/self/exe: {}. Mount /proc.",
                                              std::strerror(errno)));
    path.resize(static_cast<std::size_t>(size));
    return path.substr(0, path.rfind('/'));
}

}  // namespace

int main(int argc, char** argv) {
    ComMsgMgr::addSink(std::make_shared<shell::NoteSink>());
    try {
        workbench::installProduct(ownFolder());
        const std::vector<std::string> words(argv + 1, argv + argc);
        if (cluster::isGridKill(argv[0]))
            return cluster::gridKillMain(words);
        if (reports::isTarnel(argv[0]))
            return reports::tarnelMain(words);
        return shell::runCommandLine(words);
    } catch (const std::exception& error) {
        shell::tellError(error.what());
        return shell::kExitRefused;
    }
}
