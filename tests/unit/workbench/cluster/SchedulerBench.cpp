// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/cluster/SchedulerBench.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>

#include <unistd.h>

#include "environment/files/HUTFileUtils.h"

namespace test {

PatientClock::PatientClock(std::string hangFile) : m_hangFile(std::move(hangFile)) {
    process::setClock(this);
}

PatientClock::~PatientClock() {
    process::setClock(nullptr);
}

void PatientClock::sleepMs(long ms) {
    constexpr long kLongestNapMs = 50;
    constexpr long kSecondMs = 1000;
    if (ms > kLongestNapMs) {
        m_pauses.push_back(ms);
        m_now += ms;
        return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    m_now += access(m_hangFile.c_str(), F_OK) == 0 ? kSecondMs : 1;
}

const char* const SchedulerBench::kHang =
    "mkfifo \"$bench/never.$$\"\n: >\"$bench/hang\"\nread -r x <\"$bench/never.$$\"\n";

SchedulerBench::SchedulerBench() : m_clock(m_folder.path("hang")) {
    m_folder.folder("bin");
    m_environment.set("PATH", m_folder.path("bin"));
}

void SchedulerBench::program(const std::string& name, const std::string& commands) {
    m_clock.pass(60000);
    HUTFileUtils::rewriteFile(m_folder.path("bin/" + name),
                              "#!/bin/sh\nbench='" + m_folder.path() + "'\necho \"" + name +
                                  " $*\" >>\"$bench/calls\"\n" + commands + "\n",
                              true);
}

void SchedulerBench::removeProgram(const std::string& name) const {
    unlink(m_folder.path("bin/" + name).c_str());
}

std::string SchedulerBench::calls() const {
    return m_folder.has("calls") ? m_folder.read("calls") : std::string();
}

int SchedulerBench::callCount(const std::string& name) const {
    std::istringstream lines(calls());
    int count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.compare(0, name.size() + 1, name + " ") == 0 ? 1 : 0;
    return count;
}

std::string SchedulerBench::qstatList(const std::vector<std::string>& jobs) {
    std::string text = "<?xml version='1.0'?>\n<job_info xmlns:xsd=\"http://a.host/qstat.xsd\">\n"
                       "<queue_info>\n";
    for (const std::string& job : jobs) {
        std::istringstream words(job);
        std::string id;
        std::string name;
        std::string state;
        std::string queue;
        std::string tasks;
        words >> id >> name >> state >> queue >> tasks;
        text += "<job_list state=\"x\"><JB_job_number>" + id + "</JB_job_number><JB_name>" + name +
                "</JB_name><state>" + state + "</state><queue_name>" + (queue == "-" ? "" : queue) +
                "</queue_name>" + (tasks.empty() ? "" : "<tasks>" + tasks + "</tasks>") +
                "</job_list>\n";
    }
    return text + "</queue_info>\n<job_info>\n</job_info>\n</job_info>\n";
}

}  // namespace test
