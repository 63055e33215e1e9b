// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <dlfcn.h>

#include <string>

#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/serve/httpServer.h"
#include "workbench/ownFolder.h"

namespace shell {

namespace {

/// The module's file, beside the workbench's library. By its name alone the loader would seek it
/// where the caller's libraries are, and the caller may be something that stands between.
std::string modulePath() {
    Dl_info library{};
    std::string path;
    if (dladdr(reinterpret_cast<const void*>(&workbench::ownFolder), &library) != 0)
        path = library.dli_fname;
    return path.substr(0, path.rfind('/') + 1) + "libxperiment_http.so";
}

}  // namespace

std::unique_ptr<HttpServer> loadHttpServer(const HttpHandler& handler) {
    void* const module =
        dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);  // stays for the process
    void* const found = module == nullptr ? nullptr : dlsym(module, kMakeHttpServer);
    if (found == nullptr)
        throw CommandError(kExitRefused,
                           fmt::format("The part of xp that serves pages can't be loaded: {}. "
                                       "Install xp again, with libcpp-httplib.",
                                       dlerror()));
    return std::unique_ptr<HttpServer>(reinterpret_cast<MakeHttpServer>(found)(&handler));
}

}  // namespace shell
