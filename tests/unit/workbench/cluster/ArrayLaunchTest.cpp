// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Many runs as one array of jobs.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "environment/cluster/HCClusterConfMgr.h"
#include "environment/files/HUTFile.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/workbench/TestBench.h"
#include "tests/unit/workbench/cluster/SchedulerBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/cluster/gridKill.h"
#include "workbench/cluster/jobArray.h"
#include "workbench/cluster/jobFiles.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/places/ClusterPlace.h"
#include "workbench/runFamily.h"
#include "workbench/runStop.h"

namespace {

using workbench::RunLife;

/// Three syntheses of a sweep, and a grid engine that takes an array as job 12 of which every
/// task waits.
class ArrayLaunchTest : public ::testing::Test {
public:
    ArrayLaunchTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        EXPECT_EQ(symlink("/bin/sh", m_clients.path("bin/sh").c_str()), 0);
        m_clients.program("qsub", "echo 'Your job-array 12.1-3:1 (\"x\") has been submitted'");
        m_clients.program("qdel", ": >\"$bench/deleted\"");
        m_options.setLaunchMode(HAXPLaunchOptions::kSgeCluster);
        m_options.setClusterCmdLine("qsub -q all.q");
        for (const char* name : {"a", "b", "c"}) {
            m_runs.push_back(
                &m_project->createRun(name, *OpenFlows::getSynthesis(), "Default", ""));
            m_project->setFamilyOf(*m_runs.back(), {"sweep", "family"});
        }
    }

    ~ArrayLaunchTest() override {
        HCClusterConfMgr::getInstance()->removeClusterConf(cluster::kSgeConfName);
        HPAParamMgr::getParamMgr()->setValueAsBool("project.enableLSFforRuns", false);
        HPAParamMgr::getParamMgr()->setValueAsBool("runs.enableClusterConf", false);
    }

protected:
    /// Launches `runs` with two at once; what happened at first.
    std::vector<LaunchQueue::Event> launch(const LaunchQueue::Runs& runs) {
        m_queue = std::make_unique<LaunchQueue>(*m_project, m_options);
        m_queue->setArrays(2);
        for (HAXPExpRun* run : runs)
            m_queue->add(*run);
        return m_queue->advance();
    }
    static workbench::LaunchLease leaseOf(const HAXPExpRun& run) {
        workbench::LaunchLease lease;
        EXPECT_TRUE(workbench::readLease(run.pathOf(workbench::kLeaseName), lease));
        return lease;
    }
    /// qstat lists those tasks of the array, each as "state queue tasks".
    void list(const std::vector<std::string>& tasks) {
        std::vector<std::string> jobs;
        jobs.reserve(tasks.size());
        for (const std::string& some : tasks)
            jobs.push_back("12 " + leaseOf(*m_runs[0]).way.jobName + " " + some);
        m_clients.program("qstat", "if [ -e \"$bench/deleted\" ]; then cat <<'END'\n" +
                                       test::SchedulerBench::qstatList({}) +
                                       "END\nelse cat <<'END'\n" +
                                       test::SchedulerBench::qstatList(jobs) + "END\nfi");
    }
    /// How qsub was called.
    std::string submission() const {
        const std::string calls = m_clients.calls();
        const std::string::size_type at = calls.find("qsub ");
        return at == std::string::npos ? "" : calls.substr(at, calls.find('\n', at) - at);
    }
    std::string jobId(const std::string& run) const {
        return m_bench.folder().read("proj/runs/" + run + "/job.id");
    }

    test::TestBench m_bench;
    test::SchedulerBench m_clients;
    std::unique_ptr<Project> m_project;
    HAXPLaunchOptions m_options;
    LaunchQueue::Runs m_runs;
    std::unique_ptr<LaunchQueue> m_queue;
    workbench::ClusterPlace m_place;
};

TEST_F(ArrayLaunchTest, SubmitsOneArrayWithAMaximumAtOnce) {
    launch(m_runs);
    const std::string name = leaseOf(*m_runs[0]).way.jobName;
    EXPECT_EQ(name.substr(0, 9), "xp_sweep_");
    EXPECT_EQ(m_clients.callCount("qsub"), 1);
    EXPECT_EQ(submission(), "qsub -q all.q -S /bin/sh -N " + name +
                                " -j y -o /dev/null -t 1-3 -tc 2 " +
                                m_bench.path("proj/.xperiment/arrays/" + name + ".sh"));
    EXPECT_EQ(m_queue->getRunning(), m_runs);
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
        const workbench::LaunchLease lease = leaseOf(*m_runs[i]);
        EXPECT_EQ(lease.way.jobName, name);
        EXPECT_EQ(lease.way.task, static_cast<long>(i) + 1);
        EXPECT_EQ(jobId(m_runs[i]->getName()), "12." + std::to_string(i + 1));
        EXPECT_EQ(m_runs[i]->getStatus()->getCode(), HDGUIStatus::statusQueued);
        EXPECT_EQ(m_runs[i]->getInfo().getClusterConfigurationName(), "sge");
    }
}

TEST_F(ArrayLaunchTest, EachRunHasAnIdentityOfItsOwn) {
    launch(m_runs);
    const std::string script =
        m_bench.folder().read("proj/.xperiment/arrays/" + leaseOf(*m_runs[0]).way.jobName + ".sh");
    for (const HAXPExpRun* run : m_runs) {
        const workbench::LaunchLease lease = leaseOf(*run);
        EXPECT_NE(script.find(std::to_string(lease.way.task) + ") xp_launch='" + lease.id +
                              "' xp_dir='" + run->getDir() + "' ;;\n"),
                  std::string::npos)
            << run->getName();
    }
    EXPECT_NE(leaseOf(*m_runs[0]).id, leaseOf(*m_runs[1]).id);
}

TEST_F(ArrayLaunchTest, OneRunAloneIsAJobOfItsOwn) {
    m_clients.program("qsub", "echo 'Your job 13 (\"x\") has been submitted'");
    launch({m_runs[1]});
    EXPECT_EQ(jobId("b"), "13");
    EXPECT_EQ(leaseOf(*m_runs[1]).way.task, 0);
    EXPECT_EQ(submission().find(" -t "), std::string::npos);
}

TEST_F(ArrayLaunchTest, WhatWaitsForItsSynthesisIsNoneOfIt) {
    HAXPExpRun& impl =
        m_project->createRun("impl", *OpenFlows::getImplementation(), "Default", "a");
    launch({m_runs[0], m_runs[1], &impl});
    EXPECT_EQ(m_queue->getRunning(), (LaunchQueue::Runs{m_runs[0], m_runs[1]}));
    EXPECT_EQ(m_queue->getWaiting(), LaunchQueue::Runs{&impl});
    EXPECT_NE(submission().find(" -t 1-2 "), std::string::npos);
}

TEST_F(ArrayLaunchTest, ARunThatCanNotBeLaunchedIsLeftOutAndItsNumberIsNobodys) {
    m_bench.folder().folder("proj/runs");
    m_bench.folder().mark("proj/runs/b");
    m_runs[1]->setRunDir(m_bench.path("proj/runs/b"), false);
    const std::vector<LaunchQueue::Event> events = launch(m_runs);
    EXPECT_EQ(m_queue->getRunning(), (LaunchQueue::Runs{m_runs[0], m_runs[2]}));
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].kind, LaunchQueue::Event::kRefused);
    EXPECT_EQ(events[0].run, m_runs[1]);
    EXPECT_NE(submission().find(" -t 1-3 "), std::string::npos);
    EXPECT_EQ(jobId("a"), "12.1");
    EXPECT_EQ(jobId("c"), "12.3");
}

TEST_F(ArrayLaunchTest, ARefusalIsToldOnceAndLaunchesNone) {
    m_clients.program("qsub", "echo 'unknown queue'; exit 1");
    m_clients.program("qstat", "cat <<'END'\n" + test::SchedulerBench::qstatList({}) + "END");
    const std::vector<LaunchQueue::Event> events = launch(m_runs);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].text, "Runs a, b, c aren't launched, as the grid engine refuses their "
                              "array of jobs: unknown queue");
    EXPECT_EQ(events[1].text, "");
    EXPECT_TRUE(m_queue->isOver());
    m_queue.reset();
    m_project.reset();
    m_project = Project::open(m_bench.path("proj"), Project::kRead);
    for (HAXPExpRun* run : m_project->getRuns()) {
        EXPECT_EQ(run->getInfo().getLaunchTime(), 0);
        EXPECT_EQ(run->getRunMode(), HAXPExpRun::kNotLaunched);
        EXPECT_FALSE(HUTFile::exists(run->queueMarkerPath()));
        EXPECT_FALSE(HUTFile::exists(run->pathOf(workbench::kLeaseName)));
    }
    EXPECT_EQ(m_clients.callCount("qsub"), 3);
}

TEST_F(ArrayLaunchTest, AnUnclearAnswerIsNeverRepeatedAndTheTasksAreFoundLater) {
    const test::MessageRecorder messages;
    m_clients.program("qsub", "kill -9 $$");
    m_clients.program("qstat", "exit 1");
    launch(m_runs);
    EXPECT_EQ(m_clients.callCount("qsub"), 1);
    const std::vector<std::string> ids = messages.ids();
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "60-112"), 1);
    EXPECT_EQ(m_queue->getRunning(), m_runs);
    list({"qw - 2,3", "r all.q@node7 1"});
    for (HAXPExpRun* run : m_runs)
        EXPECT_EQ(m_place.look(*run, leaseOf(*run)).life, RunLife::kAlive);
    EXPECT_EQ(jobId("a"), "12.1");
    EXPECT_EQ(jobId("c"), "12.3");
}

TEST_F(ArrayLaunchTest, AnArrayIsFoundByItsNameWhenItsAnswerWasLost) {
    m_clients.program("qsub", "while [ \"$1\" != -N ]; do shift; done; echo \"$2\" "
                              ">\"$bench/name\"; kill -9 $$");
    m_clients.program("qstat", "read -r name <\"$bench/name\"; echo \"<?xml version='1.0'?>"
                               "<job_info><job_list><JB_job_number>14</JB_job_number><JB_name>$name"
                               "</JB_name><state>qw</state><queue_name></queue_name><tasks>1-3:1"
                               "</tasks></job_list></job_info>\"");
    launch(m_runs);
    EXPECT_EQ(jobId("b"), "14.2");
    EXPECT_EQ(m_clients.callCount("qsub"), 1);
}

TEST_F(ArrayLaunchTest, EachTaskIsSeenByItself) {
    launch(m_runs);
    list({"r all.q@node7 1", "qw - 3"});
    const auto told = [this](std::size_t i) {
        return m_place.look(*m_runs[i], leaseOf(*m_runs[i])).lines.front();
    };
    EXPECT_EQ(told(0), "job 12.1 runs on node7");
    EXPECT_EQ(told(2), "job 12.3 waits in the queue, in state qw");
    EXPECT_EQ(told(1), "job 12.2 isn't in the grid engine's queue");
    EXPECT_EQ(m_place.look(*m_runs[1], leaseOf(*m_runs[1])).life, RunLife::kGone);
}

TEST_F(ArrayLaunchTest, AStopEndsOneTaskAlone) {
    launch(m_runs);
    list({"qw - 1-3:1"});
    EXPECT_FALSE(m_place.stop(*m_runs[1], leaseOf(*m_runs[1])).wasIdle);
    EXPECT_NE(m_clients.calls().find("qdel 12 -t 2\n"), std::string::npos);
    EXPECT_EQ(m_clients.callCount("qdel"), 1);
}

TEST_F(ArrayLaunchTest, ScriptsOfArraysThatNoRunNamesGoWithTheNextArray) {
    cluster::writeArrayScript(m_bench.path("proj"), "xp_old", "");
    launch({m_runs[0], m_runs[1]});
    m_queue.reset();
    EXPECT_FALSE(m_bench.folder().has("proj/.xperiment/arrays/xp_old.sh"));
    const std::string first = leaseOf(*m_runs[0]).way.jobName;
    HAXPExpRun& more = m_project->createRun("d", *OpenFlows::getSynthesis(), "Default", "");
    launch({m_runs[2], &more});
    // Its runs are still of it.
    EXPECT_TRUE(m_bench.folder().has("proj/.xperiment/arrays/" + first + ".sh"));
    EXPECT_EQ(leaseOf(more).way.task, 2);
    EXPECT_EQ(leaseOf(more).way.jobName.substr(0, 5), "xp_c_");
}

TEST_F(ArrayLaunchTest, TheKillCommandEndsOneTask) {
    launch(m_runs);
    list({"qw - 1-3:1"});
    EXPECT_EQ(cluster::gridKillMain({"12.3"}), cluster::kGridKillDone);
    EXPECT_NE(m_clients.calls().find("qdel 12 -t 3\n"), std::string::npos);
}

TEST_F(ArrayLaunchTest, LsfTakesAnArrayByNameAndNumbers) {
    m_clients.program("bsub", "echo 'Job <12> is submitted to queue <medium>.'");
    m_clients.program("bjobs", "exit 1");
    m_options.setLaunchMode(HAXPLaunchOptions::kLsfCluster);
    m_options.setClusterCmdLine("bsub -q medium");
    launch(m_runs);
    const std::string name = leaseOf(*m_runs[0]).way.jobName;
    EXPECT_NE(m_clients.calls().find("bsub -q medium -J " + name + "[1-3]%2 " +
                                     m_bench.path("proj/.xperiment/arrays/" + name + ".sh\n")),
              std::string::npos);
    EXPECT_EQ(jobId("c"), "12[3]");
    EXPECT_NE(m_bench.folder()
                  .read("proj/.xperiment/arrays/" + name + ".sh")
                  .find("\"${LSB_JOBINDEX-}\""),
              std::string::npos);
}

}  // namespace
