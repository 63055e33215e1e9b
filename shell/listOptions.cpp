// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/listOptions.h"

namespace shell {

const std::vector<std::string>& sortKeys() {
    static const std::vector<std::string> all{"project", "name", "status", "stale", "strategy",
                                              "seed",    "fmax", "luts",   "time"};
    return all;
}

const std::vector<std::string>& statusWords() {
    static const std::vector<std::string> all{"not started", "queued", "running", "unknown",
                                              "done",        "failed", "lost",    "stopped"};
    return all;
}

}  // namespace shell
