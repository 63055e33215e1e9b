// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/history/launchRecord.h"

/// Files of launches: one JSON object a line, in the order of their ends.
namespace workbench {

/// The file in a run directory. Resets and launches keep it.
inline constexpr char kLaunchesName[] = ".launches.jsonl";

/// Of a longer file the end is read, and a longer line isn't. Bytes.
inline constexpr std::size_t kLargestLaunches = 16U << 20U;
inline constexpr std::size_t kLongestLaunch = 1U << 20U;

/// `record` as a line, without its end.
WORKBENCH_API std::string lineOf(const LaunchRecord& record);

/// Reads what lineOf() wrote; what it doesn't know is passed over. On refusal `reason` tells
/// what is wrong with the line, and `record` stays as it was.
WORKBENCH_API bool parseLine(const std::string& line, LaunchRecord& record, std::string& reason);

/// What a file of launches holds.
struct LaunchLines {
    std::vector<LaunchRecord> records;
    /// How many lines couldn't be read, and why the first of them couldn't. A last one that
    /// isn't whole doesn't count: whoever wrote it was killed, or is at it.
    std::size_t badCount = 0;
    std::string reason;
    /// Whether the file is longer than what was read.
    bool isCut = false;
};

/// Reads the file `path`; a missing one holds nothing. Never waits, follows no link. False,
/// with `reason` and nothing read, when something else stands there or it can't be read.
WORKBENCH_API bool readLaunches(const std::string& path, LaunchLines& lines, std::string& reason);

/// Adds `record` to the file `path`, which is made if it isn't there, and waits until it is on
/// the disk; a last line that isn't whole goes. False, with nothing changed, when the file has
/// that launch already. Of several processes that add one launch at a time one adds it.
/// @throws HEXUserException that names the file and the cause: it can't be written.
WORKBENCH_API bool addLaunch(const std::string& path, const LaunchRecord& record);

}  // namespace workbench
