// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <vector>

class HAXPExpRun;

namespace shell {

class Interrupt;
class ProgressLine;

/// Follows runs at work, and tells on standard error how far they are.
class RunWatch {
public:
    /// How watching ended.
    enum End { kAllEnded, kInterrupted };

    /// Between two looks at the runs.
    static constexpr int kPollMs = 100;

    explicit RunWatch(ProgressLine& line) : m_line(line) {}

    /// What stands in front of the line that changes, such as "[2/3]".
    void setCount(const std::string& count) { m_count = count; }

    /// Polls `runs` until none of them is at work, or Ctrl-C is pressed. Each that ends
    /// is told at once.
    End watch(const std::vector<HAXPExpRun*>& runs, const Interrupt& interrupt);

    /// Tells what is new about `running`, which are up to date, and draws the line.
    void show(const std::vector<HAXPExpRun*>& running);
    /// Tells that a run has ended, and how.
    void tellEnd(const HAXPExpRun& run);

private:
    void tellSteps_(const HAXPExpRun& run);
    std::string lineFor_(const HAXPExpRun& run, std::size_t others) const;

    ProgressLine& m_line;
    std::string m_count;
    /// How many steps of a run were told to have begun.
    std::map<const HAXPExpRun*, std::size_t> m_told;
};

}  // namespace shell
