// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "environment/process/processTable.h"

namespace test {

/// How a made-up process takes signals.
enum class Nature {
    kObedient,  ///< ends at any
    kStubborn,  ///< ends at KILL only
    kImmortal,  ///< hangs in the host and never ends
    kForeign,   ///< belongs to someone else: the host refuses
};

/// Made-up processes on the host "here", unless it is told another name, in use while the object
/// lives. The program itself has pid 100 in group 100.
class FakeProcessTable final : public process::ProcessTable {
public:
    FakeProcessTable();
    ~FakeProcessTable() override;

    FakeProcessTable(const FakeProcessTable&) = delete;
    FakeProcessTable& operator=(const FakeProcessTable&) = delete;

    /// Adds a process of user 1000, or changes the one of that pid.
    void add(long pid, long group, unsigned long long startTicks,
             Nature nature = Nature::kObedient);
    void makeZombie(long pid) { m_processes.at(pid).entry.state = 'Z'; }
    void setHostName(const std::string& name) { m_hostName = name; }
    void remove(long pid) { m_processes.erase(pid); }
    void setUser(long pid, long user) { m_processes.at(pid).entry.user = user; }
    void letWorkIn(long pid, const std::string& folder) { m_processes.at(pid).folder = folder; }

    bool has(long pid) const { return m_processes.count(pid) != 0; }
    /// Whom which signal was sent, in order.
    const std::vector<std::pair<long, int>>& signals() const { return m_signals; }
    bool hasSignalled(long pid) const;

    std::string hostName() override { return m_hostName; }
    std::string bootId() override { return "6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11"; }
    std::string pidNamespace() override { return "4026531836"; }
    long ownPid() override { return 100; }
    long ownGroup() override { return 100; }
    bool look(long pid, process::Entry& entry) override;
    std::vector<process::Entry> members(long group) override;
    bool worksIn(long pid, const std::string& folder) override;
    int signal(const process::Entry& entry, int number) override;

private:
    struct Process {
        process::Entry entry;
        Nature nature = Nature::kObedient;
        std::string folder;
    };

    std::string m_hostName = "here";
    std::map<long, Process> m_processes;
    std::vector<std::pair<long, int>> m_signals;
};

}  // namespace test
