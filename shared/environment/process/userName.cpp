// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/userName.h"

#include <map>
#include <mutex>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace process {

namespace {

std::string askHost(long uid) {
    constexpr std::size_t kBufferSize = 16384;
    std::vector<char> buffer(kBufferSize);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (uid < 0 ||
        getpwuid_r(static_cast<uid_t>(uid), &entry, buffer.data(), buffer.size(), &found) != 0)
        return {};
    return found == nullptr ? std::string() : found->pw_name;
}

}  // namespace

std::string userName(long uid) {
    static std::mutex s_mutex;
    static std::map<long, std::string> s_names;
    const std::lock_guard<std::mutex> lock(s_mutex);
    const auto known = s_names.find(uid);
    if (known != s_names.end())
        return known->second;
    std::string name = askHost(uid);
    // A directory that didn't answer may do so later.
    if (!name.empty())
        s_names.emplace(uid, name);
    return name;
}

}  // namespace process
