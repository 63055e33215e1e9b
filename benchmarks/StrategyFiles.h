// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "benchmarks/BenchFolder.h"

class HAXPFlow;

namespace bench {

/// The flow of all strategies here: 5 steps with 20 options, which can be switched off.
HAXPFlow& strategyFlow();

/// What the file of a strategy of that flow holds: a quarter of the options is set.
std::string strategyText(const std::string& name);

/// A catalogue of `reports` reports, with eight options and two output options each.
std::string catalogueText(int reports);

/// What the file of a report strategy of that flow holds: 10 reports of a catalogue of at
/// least that many, two options of each set.
std::string reportStrategyText(const std::string& name);

/// Makes a catalogue of 200 reports that of the process, at the first call.
void installCatalogue();

/// A folder with `count` files that `textOf` makes from the names of strategies.
class StrategyFiles {
public:
    StrategyFiles(int count, std::string (*textOf)(const std::string&));

    const std::string& path() const { return m_folder.path(); }
    /// The paths, in the order of their numbers.
    const std::vector<std::string>& paths() const { return m_paths; }

private:
    BenchFolder m_folder;
    std::vector<std::string> m_paths;
};

/// Has the XML library read and parse every file of `folder` with empty handlers. Gives how
/// many there were.
int parseFolder(const std::string& folder);

/// The same where the files are read as fast as they can be, and parsed from memory.
int parseFolderFromMemory(const std::string& folder);

}  // namespace bench
