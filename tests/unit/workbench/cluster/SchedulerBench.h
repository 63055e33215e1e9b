// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/process/clock.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/RunDir.h"

namespace test {

/// A clock for programs that run beside the test: short naps take a millisecond of
/// the host's time, long pauses pass at once. When the file `hang` appears, naps count as
/// seconds: whoever made it means to stay.
class PatientClock final : public process::Clock {
public:
    explicit PatientClock(std::string hangFile);
    ~PatientClock() override;

    PatientClock(const PatientClock&) = delete;
    PatientClock& operator=(const PatientClock&) = delete;

    long nowMs() override { return m_now; }
    void sleepMs(long ms) override;

    /// Lets time pass.
    void pass(long ms) { m_now += ms; }

    /// The long pauses so far, in milliseconds.
    const std::vector<long>& pauses() const { return m_pauses; }

private:
    std::string m_hangFile;
    std::vector<long> m_pauses;
    long m_now = 0;
};

/// The client programs of a scheduler as scripts, alone in PATH. A script finds its folder
/// in `$bench`, and writes what it was called with to the file `calls`.
class SchedulerBench {
public:
    SchedulerBench();

    /// Makes or replaces a program; nobody remembers what the old one said.
    void program(const std::string& name, const std::string& commands);
    void removeProgram(const std::string& name) const;
    /// The calls so far, one a line: the program's name and its words.
    std::string calls() const;
    int callCount(const std::string& name) const;

    const RunDir& folder() const { return m_folder; }
    std::string path(const std::string& name) const { return m_folder.path(name); }
    const PatientClock& clock() const { return m_clock; }

    /// Commands of a script that stays until it is killed.
    static const char* const kHang;

    /// What qstat lists: each job as "id name state queue", with "-" for no queue, and
    /// behind it the tasks of an array.
    static std::string qstatList(const std::vector<std::string>& jobs);

private:
    RunDir m_folder;
    FakeEnvironment m_environment;
    PatientClock m_clock;
};

}  // namespace test
