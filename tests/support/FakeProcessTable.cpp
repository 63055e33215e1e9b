// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/FakeProcessTable.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace test {

FakeProcessTable::FakeProcessTable() {
    process::setProcessTable(this);
}

FakeProcessTable::~FakeProcessTable() {
    process::setProcessTable(nullptr);
}

void FakeProcessTable::add(long pid, long group, unsigned long long startTicks, Nature nature) {
    Process& made = m_processes[pid];
    made.entry.pid = pid;
    made.entry.group = group;
    made.entry.user = 1000;
    made.entry.state = 'S';
    made.entry.startTicks = startTicks;
    made.nature = nature;
}

bool FakeProcessTable::hasSignalled(long pid) const {
    return std::any_of(m_signals.begin(), m_signals.end(),
                       [pid](const auto& sent) { return sent.first == pid; });
}

bool FakeProcessTable::look(long pid, process::Entry& entry) {
    const auto found = m_processes.find(pid);
    if (found == m_processes.end())
        return false;
    entry = found->second.entry;
    return true;
}

std::vector<process::Entry> FakeProcessTable::members(long group) {
    std::vector<process::Entry> found;
    for (const auto& [pid, made] : m_processes) {
        if (made.entry.group == group)
            found.push_back(made.entry);
    }
    return found;
}

bool FakeProcessTable::worksIn(long pid, const std::string& folder) {
    const auto found = m_processes.find(pid);
    return found != m_processes.end() && !folder.empty() && found->second.folder == folder;
}

int FakeProcessTable::signal(const process::Entry& entry, int number) {
    const auto found = m_processes.find(entry.pid);
    if (found == m_processes.end() || found->second.entry.startTicks != entry.startTicks)
        return ESRCH;
    m_signals.emplace_back(entry.pid, number);
    if (found->second.nature == Nature::kForeign)
        return EPERM;
    const bool ends = found->second.nature == Nature::kObedient ||
                      (found->second.nature == Nature::kStubborn && number == SIGKILL);
    if (ends)
        m_processes.erase(found);
    return 0;
}

}  // namespace test
