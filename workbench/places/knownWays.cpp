// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/knownWays.h"

#include <algorithm>
#include <string>

#include "environment/errors/HEXDataException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/process/processTable.h"
#include "workbench/launchLease.h"

namespace workbench {

namespace {

constexpr std::size_t kLargestFile = 1U << 20U;

/// Empty without one.
std::string folder() {
    try {
        return HUTEnv::getMQIAppDataDir();
    } catch (const HEXDataException&) {
        return {};
    }
}

std::string file() {
    return folder() + "/launch-ways";
}

/// Everything that decides what is called; empty when it can't be a line.
std::string wayLine(const LaunchWay& way) {
    const bool isPlain = std::none_of(way.command.begin(), way.command.end(),
                                      [](char c) { return static_cast<unsigned char>(c) < ' '; });
    return isPlain ? std::to_string(static_cast<int>(way.kind)) + "\t" + way.host + "\t" +
                         way.command + "\n"
                   : std::string();
}

/// The lines that are kept, with a line end in front.
std::string keptLines() {
    std::string lines;
    if (folder().empty() || !HUTFileUtils::readFile(file(), kLargestFile, lines))
        return "\n";
    return "\n" + lines;
}

bool isKnown(const LaunchWay& way) {
    const std::string line = wayLine(way);
    return !line.empty() && keptLines().find("\n" + line) != std::string::npos;
}

bool isOfThisHost(const LaunchLease& lease) {
    std::string boot;
    lease.launcher.getBootId(boot);
    return lease.isOwn && !boot.empty() && boot == process::processTable().bootId();
}

}  // namespace

void rememberWay(const LaunchWay& way) {
    const std::string line = wayLine(way);
    if (way.kind == LaunchWay::Kind::kHere || line.empty() || folder().empty() || isKnown(way) ||
        !HUTFile(folder()).mkDirRecursive())
        return;
    try {
        HUTFileUtils::replaceFile(file(), keptLines().substr(1) + line);
    } catch (const HEXUserException&) {
        // Known until this host is started anew, then.
    }
}

bool isKnownWay(const LaunchLease& lease) {
    return lease.way.kind == LaunchWay::Kind::kHere || isOfThisHost(lease) || isKnown(lease.way);
}

}  // namespace workbench
