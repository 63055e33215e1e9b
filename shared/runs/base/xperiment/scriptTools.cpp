// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/scriptTools.h"

#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/HUTFork.h"
#include "environment/strings/HSTStrTokenizer.h"

namespace xperiment {

namespace {

bool isInPrependedPath(const std::string& name) {
    const std::string tail = HUTFile::getDirSeparator() + name;
    HSTStrTokenizer dirs(environment("KPX_PREPEND_PATH"), ":", false);
    std::string path;
    while (dirs.next(path)) {
        if (HUTFork::progExists(path += tail))
            return true;
    }
    return false;
}

bool toolExists(const std::string& name) {
    return HUTFork::isInPath(name) ||
           HUTFork::progExists(environment("KPX_BINROOT") + HUTFile::getDirSeparator() + name) ||
           isInPrependedPath(name);
}

}  // namespace

bool ToolSearch::exists(const std::string& name) {
    const auto known = m_known.find(name);
    if (known != m_known.end())
        return known->second;
    return m_known[name] = toolExists(name);
}

std::string environment(const char* name) {
    const char* value = HUTEnv::getEnv(name);
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace xperiment
