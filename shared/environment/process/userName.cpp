// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/userName.h"

#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace process {

std::string userName(long uid) {
    constexpr std::size_t kBufferSize = 16384;
    std::vector<char> buffer(kBufferSize);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (uid < 0 ||
        getpwuid_r(static_cast<uid_t>(uid), &entry, buffer.data(), buffer.size(), &found) != 0)
        return {};
    return found == nullptr ? std::string() : found->pw_name;
}

}  // namespace process
