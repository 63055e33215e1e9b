// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/installation/Installation.h"

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <system_error>

#include <dlfcn.h>

#include "environment/installation/HUTEnv.h"

namespace fs = std::filesystem;

namespace {

const char kShareFolder[] = "share/xperiment";

/// How far above the library's folder the share folder may lie: beside "lib",
/// beside "lib/<machine>", and two folders deep in a build.
constexpr int kMaxLevels = 3;

/// A variable's text; empty when it is unset.
std::string variable(const char* name) {
    const char* value = HUTEnv::getEnv(name);
    return value == nullptr ? "" : value;
}

/// The non-empty pieces of `text` between separators.
HSTVector<std::string> pieces(const std::string& text, char separator) {
    HSTVector<std::string> list;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, separator);)
        if (!piece.empty())
            list.push_back(piece);
    return list;
}

/// The folder of this library's file; empty when it can't be told.
fs::path libraryFolder() {
    Dl_info info{};
    if (dladdr(kShareFolder, &info) == 0 || info.dli_fname == nullptr)
        return {};
    std::error_code error;
    const fs::path file = fs::canonical(info.dli_fname, error);
    return error ? fs::path() : file.parent_path();
}

std::string shareFolder() {
    fs::path folder = libraryFolder();
    for (int level = 0; level <= kMaxLevels && !folder.empty(); ++level) {
        std::error_code ignored;
        const fs::path share = folder / kShareFolder;
        if (fs::is_directory(share, ignored))
            return share.string();
        folder = folder.parent_path();
    }
    return XPERIMENT_SHARE_FOLDER;
}

}  // namespace

Installation Installation::getDefault() {
    Installation installation;
    installation.programName = program_invocation_short_name;
    installation.productName = "xperiment";
    installation.version = XPERIMENT_VERSION;
    installation.appRoots = pieces(variable("XPERIMENT_ROOT"), ':');
    if (installation.appRoots.empty())
        installation.appRoots.push_back(shareFolder());
    installation.installRoot = installation.appRoots.front();
    installation.appRoot = installation.appRoots.front();
    installation.appDataDir = variable("XPERIMENT_APP_DATA_DIR");
    installation.loaderArgs = pieces(variable("XPERIMENT_LOADER_ARGS"), ' ');
    return installation;
}

std::string Installation::getUserDataDir(const std::string& folder) {
    const std::string dataHome = variable("XDG_DATA_HOME");
    if (!dataHome.empty())
        return dataHome + "/" + folder;
    const std::string home = variable("HOME");
    return home.empty() ? "" : home + "/.local/share/" + folder;
}
