// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <dlfcn.h>

#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/serve/httpServer.h"

namespace shell {

namespace {

/// Beside the libraries, where the program looks for these.
const char kModule[] = "libxperiment_http.so";

}  // namespace

std::unique_ptr<HttpServer> loadHttpServer(const HttpHandler& handler) {
    void* const module = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);  // stays for the process
    void* const found = module == nullptr ? nullptr : dlsym(module, kMakeHttpServer);
    if (found == nullptr)
        throw CommandError(kExitRefused,
                           fmt::format("The part of xp that serves pages can't be loaded: {}. "
                                       "Install xp again, with libcpp-httplib.",
                                       dlerror()));
    return std::unique_ptr<HttpServer>(reinterpret_cast<MakeHttpServer>(found)(&handler));
}

}  // namespace shell
