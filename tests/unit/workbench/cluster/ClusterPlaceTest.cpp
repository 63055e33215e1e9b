// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/ClusterPlace.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "environment/cluster/HCClusterConf.h"
#include "environment/cluster/HCClusterConfMgr.h"
#include "environment/errors/HEXError.h"
#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "tests/unit/workbench/cluster/SchedulerBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/cluster/gridKill.h"
#include "workbench/cluster/jobFiles.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/runReset.h"
#include "workbench/runStop.h"

namespace {

using workbench::Evidence;
using workbench::LaunchWay;
using workbench::RunLife;

/// A synthesis that was launched on a grid engine, whose job 12 qstat lists.
class ClusterPlaceTest : public ::testing::Test {
protected:
    ClusterPlaceTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_run(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_run.setRunDir(m_bench.path("proj/runs/synth_1"), false);
        m_run.setRunMode(HAXPExpRun::kLaunched);
        m_run.getInfo().setLaunch(1000, "synth");
        m_lease = workbench::makeLease();
        m_lease.way.kind = LaunchWay::Kind::kSge;
        m_lease.way.command = "qsub -q all.q";
        m_place.complete(m_run, m_lease);
        workbench::writeLease(m_run.pathOf(workbench::kLeaseName), m_lease);
        mark("job.id.log");
        m_clients.program("qsub", "echo 'Your job 12 (\"x\") has been submitted'");
        m_clients.program("qdel", ": >\"$bench/deleted\"");
        list("qw -");
    }
    /// The job shows in that state and queue, until qdel is called.
    void list(const std::string& stateAndQueue) {
        m_clients.program("qstat", "if [ -e \"$bench/deleted\" ]; then cat <<'END'\n" +
                                       test::SchedulerBench::qstatList({}) +
                                       "END\nelse cat <<'END'\n" +
                                       test::SchedulerBench::qstatList(
                                           {"12 " + m_lease.way.jobName + " " + stateAndQueue}) +
                                       "END\nfi");
    }
    void listNothing() const { m_clients.folder().mark("deleted"); }
    void queueMarker() const { workbench::writeLease(m_run.queueMarkerPath(), m_lease); }
    void mark(const std::string& name, const std::string& content = "") const {
        m_bench.folder().mark("proj/runs/synth_1/" + name, content);
    }
    bool has(const std::string& name) const {
        return m_bench.folder().has("proj/runs/synth_1/" + name);
    }
    std::string read(const std::string& name) const {
        return m_bench.folder().read("proj/runs/synth_1/" + name);
    }
    std::string status() const {
        m_run.updateStatus();
        return m_run.getStatus()->getText();
    }
    Evidence look() const { return m_place.look(m_run, m_lease); }
    std::string refusal() const {
        return test::thrownText<HEXError>([this] { m_place.start(m_run, m_lease); });
    }

    test::TestBench m_bench;
    test::SchedulerBench m_clients;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_run;
    workbench::LaunchLease m_lease;
    workbench::ClusterPlace m_place;
};

TEST_F(ClusterPlaceTest, IsThePlaceOfItsLeases) {
    for (const LaunchWay::Kind kind : {LaunchWay::Kind::kSge, LaunchWay::Kind::kLsf}) {
        m_lease.way.kind = kind;
        const auto place = workbench::RunPlace::of(m_lease);
        EXPECT_NE(dynamic_cast<const workbench::ClusterPlace*>(place.get()), nullptr);
    }
}

TEST_F(ClusterPlaceTest, NamesTheJobBeforeItIsSubmitted) {
    EXPECT_EQ(m_lease.way.jobName, "xp_synth_1_" + m_lease.id.substr(0, 13));
    m_lease.way.kind = LaunchWay::Kind::kLsf;
    m_place.complete(m_run, m_lease);
    EXPECT_EQ(m_lease.way.jobName, m_run.pathOf("runme.sh"));
}

TEST_F(ClusterPlaceTest, WritesTheBareIdentifierAndWhatTheSchedulerSaid) {
    const test::MessageRecorder messages;
    mark("job.id", "11");
    m_place.start(m_run, m_lease);
    EXPECT_EQ(read("job.id"), "12");
    EXPECT_EQ(read("job.id.log"), "Your job 12 (\"x\") has been submitted\n");
    EXPECT_TRUE(messages.ids().empty());
}

TEST_F(ClusterPlaceTest, TellsOfARefusalInTheSchedulersWordsAndLeavesNoLaunch) {
    m_clients.program("qsub", "echo 'Unable to run job: unknown queue \"x\".'; exit 1");
    mark("job.id", "11");
    listNothing();
    EXPECT_EQ(refusal(), "Run synth_1 isn't launched, as the grid engine refuses its job: Unable "
                         "to run job: unknown queue \"x\".");
    EXPECT_FALSE(has("job.id"));
    EXPECT_FALSE(has(workbench::kLeaseName));
    EXPECT_EQ(m_clients.callCount("qsub"), 3);
}

TEST_F(ClusterPlaceTest, RefusesACommandThatCanNotSubmit) {
    m_lease.way.command = "bsub";
    EXPECT_EQ(refusal(), "Runs can't be launched on the grid engine: bsub is not a valid SGE "
                         "executable. 'qsub' is the only SGE executable supported by launch_runs");
    EXPECT_EQ(m_clients.calls(), "");
}

TEST_F(ClusterPlaceTest, RefusesAPathThatLsfWouldTakeApart) {
    m_clients.program("bsub", "");
    m_lease.way = {LaunchWay::Kind::kLsf, "", "bsub", ""};
    m_bench.folder().folder("a b");
    m_run.setRunDir(m_bench.path("a b"), false);
    EXPECT_EQ(refusal(), "Run synth_1 isn't launched: LSF can't take the path " +
                             m_bench.path("a b") +
                             ", as it holds a blank or a sign that a shell takes as its own. "
                             "Move the project to another folder.");
    EXPECT_EQ(m_clients.calls(), "");
}

TEST_F(ClusterPlaceTest, WarnsOfASubmissionOfWhichNobodyKnows) {
    const test::MessageRecorder messages;
    m_clients.program("qsub", test::SchedulerBench::kHang);
    m_clients.program("qstat", "exit 1");
    m_place.start(m_run, m_lease);
    EXPECT_EQ(messages.ids(), std::vector<std::string>{"60-112"});
    EXPECT_FALSE(has("job.id"));
    EXPECT_TRUE(has(workbench::kLeaseName));
}

TEST_F(ClusterPlaceTest, FindsAJobLaterWhoseIdentifierWasLost) {
    EXPECT_EQ(look().life, RunLife::kAlive);
    EXPECT_EQ(read("job.id"), "12");
}

TEST_F(ClusterPlaceTest, WarnsOfAnIdentifierThatCanNotBeWritten) {
    const test::MessageRecorder messages;
    m_bench.folder().folder("proj/runs/synth_1/job.id");
    m_place.start(m_run, m_lease);
    EXPECT_EQ(messages.ids(), std::vector<std::string>{"60-113"});
}

TEST_F(ClusterPlaceTest, DoesNotWriteTheIdentifierThroughALink) {
    m_bench.folder().mark("mine", "text");
    ASSERT_EQ(symlink(m_bench.path("mine").c_str(), m_run.pathOf("job.id").c_str()), 0);
    m_place.start(m_run, m_lease);
    EXPECT_EQ(m_bench.folder().read("mine"), "text");
    EXPECT_EQ(read("job.id"), "12");
}

TEST_F(ClusterPlaceTest, SeesAJobThatWaitsAndOneThatRuns) {
    EXPECT_EQ(look().lines, std::vector<std::string>{"job 12 waits in the queue, in state qw"});
    list("r all.q@node7");
    EXPECT_EQ(look().life, RunLife::kAlive);
    EXPECT_EQ(look().lines, std::vector<std::string>{"job 12 runs on node7"});
}

TEST_F(ClusterPlaceTest, SeesThatAJobIsGone) {
    mark("job.id", "12");
    listNothing();
    const Evidence evidence = look();
    EXPECT_EQ(evidence.life, RunLife::kGone);
    EXPECT_EQ(evidence.lines, std::vector<std::string>{"job 12 isn't in the grid engine's queue"});
}

TEST_F(ClusterPlaceTest, NeitherMissesNorStopsAJobThatIsJustBeingSubmitted) {
    m_bench.folder().unmark("proj/runs/synth_1/job.id.log");
    queueMarker();
    listNothing();
    EXPECT_EQ(look().life, RunLife::kAlive);
    EXPECT_EQ(look().lines, std::vector<std::string>{"its job is being submitted"});
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(m_run); }),
              "Run synth_1 isn't stopped: its job is being submitted right now. See to its job in "
              "the queue, then try again.");
    EXPECT_FALSE(has(".stop.rst"));
}

TEST_F(ClusterPlaceTest, MissesAJobWhoseLauncherDiedBeforeItWasSubmitted) {
    m_bench.folder().unmark("proj/runs/synth_1/job.id.log");
    m_lease.launcher.setStartTicks(1);
    listNothing();
    EXPECT_EQ(look().life, RunLife::kGone);
}

TEST_F(ClusterPlaceTest, ClaimsNothingOfAJobThatAnotherHostMayBeAboutToSubmit) {
    m_bench.folder().unmark("proj/runs/synth_1/job.id.log");
    m_lease.launcher.setHostname("a.host");
    listNothing();
    EXPECT_EQ(look().life, RunLife::kUnknown);
}

TEST_F(ClusterPlaceTest, ClaimsNothingWhenTheSchedulerIsAway) {
    m_clients.program("qstat", "echo 'unable to contact qmaster'; exit 1");
    const Evidence evidence = look();
    EXPECT_EQ(evidence.life, RunLife::kUnknown);
    EXPECT_EQ(evidence.lines, std::vector<std::string>{
                                  "the grid engine can't be asked: unable to contact qmaster"});
}

/// Contents of "job.id" that can't be an identifier.
struct IdCase {
    const char* name;
    std::string content;
};

std::ostream& operator<<(std::ostream& os, const IdCase& row) {
    return os << row.name;
}

class BadJobIdTable : public ClusterPlaceTest, public ::testing::WithParamInterface<IdCase> {};

TEST_P(BadJobIdTable, IsPassedOverAndPutRight) {
    mark("job.id", GetParam().content);
    EXPECT_EQ(cluster::readJobId(m_bench.path("proj/runs/synth_1")), "");
    EXPECT_EQ(look().life, RunLife::kAlive);
    EXPECT_EQ(read("job.id"), "12");
}

INSTANTIATE_TEST_SUITE_P(Content, BadJobIdTable,
                         ::testing::Values(IdCase{"Empty", ""}, IdCase{"LineEnd", "12\n"},
                                           IdCase{"Huge", std::string(1U << 20U, '1')},
                                           IdCase{"ManyDigits", std::string(60, '1')},
                                           IdCase{"Option", "-u"}, IdCase{"Two", "12 13"},
                                           IdCase{"Zero", std::string("1\0002", 3)}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ClusterPlaceTest, StopsAJobThatWaits) {
    queueMarker();
    EXPECT_EQ(status(), "Queued");
    const workbench::StopResult result = workbench::stopRun(m_run);
    EXPECT_FALSE(result.wasIdle);
    EXPECT_TRUE(m_clients.folder().has("deleted"));
    EXPECT_EQ(status(), "Not started");
    EXPECT_TRUE(has(".stop.rst"));
}

TEST_F(ClusterPlaceTest, StopsAJobThatRunsOnAnotherHostAndSaysWhereTheRunStopped) {
    list("r all.q@a.host");
    mark(".ice40_synth.begin.rst", test::TestBench::handleText());
    EXPECT_EQ(status(), "Running");
    workbench::stopRun(m_run);
    EXPECT_TRUE(m_clients.folder().has("deleted"));
    EXPECT_EQ(status(), "Stopped in");
    EXPECT_EQ(read(".ice40_synth.error.rst"), "its job was ended\nlaunch: " + m_lease.id + "\n");
}

TEST_F(ClusterPlaceTest, LetsARunningJobEndByItselfFirst) {
    list("r all.q@a.host");
    mark(".ice40_synth.begin.rst", test::TestBench::handleText());
    m_clients.program("qdel", "ls -a '" + m_bench.path("proj/runs/synth_1") +
                                  "' >\"$bench/then\"; : >\"$bench/deleted\"");
    workbench::stopRun(m_run);
    EXPECT_NE(m_clients.folder().read("then").find(".stop.rst"), std::string::npos);
}

TEST_F(ClusterPlaceTest, LeavesARunAloneThatIsDone) {
    mark(".ice40_synth.begin.rst", test::TestBench::handleText());
    mark(".ice40_synth.end.rst");
    EXPECT_TRUE(workbench::stopRun(m_run).wasIdle);
    EXPECT_EQ(m_clients.calls(), "");
    EXPECT_FALSE(has(".stop.rst"));
}

TEST_F(ClusterPlaceTest, TellsWhyAJobCanNotBeStopped) {
    queueMarker();
    m_clients.program("qdel", "echo 'denied: not yours'; exit 1");
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(m_run); }),
              "Run synth_1 isn't stopped: qdel of job 12 failed: denied: not yours. See to its "
              "job in the queue, then try again.");
    EXPECT_EQ(status(), "Queued");
}

TEST_F(ClusterPlaceTest, NeverSaysStoppedWhenTheSchedulerIsAway) {
    queueMarker();
    m_clients.program("qstat", "exit 1");
    EXPECT_EQ(test::thrownText<HEXError>([this] { workbench::stopRun(m_run); }),
              "Run synth_1 isn't stopped: the grid engine can't be asked: it ended with status 1. "
              "See to its job in the queue, then try again.");
    EXPECT_EQ(status(), "Queued");
    EXPECT_EQ(m_clients.callCount("qdel"), 0);
}

TEST_F(ClusterPlaceTest, AResetOfARunThatWaitsTakesItsJobBackFirst) {
    queueMarker();
    mark("job.id", "12");
    HSTVector<std::string> errors;
    EXPECT_TRUE(workbench::resetRun(*m_project, m_run, "", true, errors));
    EXPECT_TRUE(m_clients.folder().has("deleted"));
    EXPECT_FALSE(has("job.id"));
    EXPECT_FALSE(has(workbench::kLeaseName));
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRun::kNotLaunched);
}

/// What a launch on a grid engine leaves for those who kill without this workbench.
class GridKillTest : public ClusterPlaceTest {
protected:
    ~GridKillTest() override {
        HCClusterConfMgr::getInstance()->removeClusterConf(cluster::kSgeConfName);
        HPAParamMgr::getParamMgr()->setValueAsBool("project.enableLSFforRuns", false);
        HPAParamMgr::getParamMgr()->setValueAsBool("runs.enableClusterConf", false);
    }
};

TEST_F(GridKillTest, IsNamedAndPermittedForAGridAlone) {
    cluster::nameConfiguration(m_run.getInfo(), LaunchWay());
    EXPECT_EQ(m_run.getInfo().getClusterConfigurationName(), "");
    EXPECT_EQ(HCClusterConfMgr::getInstance()->getClusterConf("sge"), nullptr);
    cluster::nameConfiguration(m_run.getInfo(), m_lease.way);
    EXPECT_EQ(m_run.getInfo().getClusterConfigurationName(), "sge");
    ASSERT_NE(HCClusterConfMgr::getInstance()->getClusterConf("sge"), nullptr);
    EXPECT_EQ(HCClusterConfMgr::getInstance()->getClusterConf("sge")->getKillCmd(), "xp_qdel");
    HPAParamMgr& params = *HPAParamMgr::getParamMgr();
    EXPECT_TRUE(params.getValueIfExistAsBool("project.enableLSFforRuns", false));
    EXPECT_TRUE(params.getValueIfExistAsBool("runs.enableClusterConf", false));
}

TEST_F(GridKillTest, StandsInTheProject) {
    cluster::nameConfiguration(m_run.getInfo(), m_lease.way);
    m_project->save();
    m_project.reset();
    HCClusterConfMgr::getInstance()->removeClusterConf("sge");
    const auto project = Project::open(m_bench.path("proj"), Project::kRead);
    EXPECT_EQ(project->findRun("synth_1")->getInfo().getClusterConfigurationName(), "sge");
    EXPECT_NE(HCClusterConfMgr::getInstance()->getClusterConf("sge"), nullptr);
}

TEST_F(GridKillTest, LetsAResetKillTheJobOfAnotherHost) {
    cluster::nameConfiguration(m_run.getInfo(), m_lease.way);
    m_clients.program("xp_qdel", "exit 0");
    mark("job.id", "12");
    mark(".ice40_synth.begin.rst", test::TestBench::handleText());
    mark("blinky.json");
    ASSERT_EQ(status(), "Running");
    HSTVector<std::string> errors;
    EXPECT_TRUE(m_run.resetRun(errors, false, true, false));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(m_clients.calls(), "xp_qdel 12\n");
    EXPECT_FALSE(has("job.id"));
}

TEST_F(GridKillTest, ThatFailsKeepsTheOutputs) {
    cluster::nameConfiguration(m_run.getInfo(), m_lease.way);
    m_clients.program("xp_qdel", "exit 1");
    mark("job.id", "12");
    mark(".ice40_synth.begin.rst", test::TestBench::handleText());
    mark("blinky.json");
    ASSERT_EQ(status(), "Running");
    HSTVector<std::string> errors;
    EXPECT_FALSE(m_run.resetRun(errors, true, true, false));
    EXPECT_TRUE(has("blinky.json"));
    EXPECT_TRUE(has("job.id"));
}

TEST_F(GridKillTest, CommandEndsAJobOfARunAndNoOther) {
    EXPECT_EQ(cluster::gridKillMain({"13"}), cluster::kGridKillFailed);
    EXPECT_FALSE(m_clients.folder().has("deleted"));
    EXPECT_EQ(cluster::gridKillMain({"12"}), cluster::kGridKillDone);
    EXPECT_TRUE(m_clients.folder().has("deleted"));
}

TEST_F(GridKillTest, CommandTakesOneNumber) {
    EXPECT_EQ(cluster::gridKillMain({}), cluster::kGridKillUsage);
    EXPECT_EQ(cluster::gridKillMain({"12", "13"}), cluster::kGridKillUsage);
    EXPECT_EQ(cluster::gridKillMain({"12\n"}), cluster::kGridKillFailed);
    EXPECT_TRUE(cluster::isGridKill("/opt/bin/xp_qdel"));
    EXPECT_FALSE(cluster::isGridKill("/opt/xp_qdel/xp"));
}

/// A launch of many runs.
class ClusterQueueTest : public ::testing::Test {
protected:
    ClusterQueueTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        EXPECT_EQ(symlink("/bin/sh", m_clients.path("bin/sh").c_str()), 0);
        m_clients.program("qsub",
                          "n=$(wc -l <\"$bench/calls\"); echo \"Your job $n (\\\"x\\\") has "
                          "been submitted\"");
        m_options.setLaunchMode(HAXPLaunchOptions::kSgeCluster);
        m_options.setClusterCmdLine("qsub -q all.q");
    }

    test::TestBench m_bench;
    test::SchedulerBench m_clients;
    std::unique_ptr<Project> m_project;
    HAXPLaunchOptions m_options;
};

TEST_F(ClusterQueueTest, GivesTheClusterEveryRunWhoseTurnItIs) {
    HAXPExpRun& one = m_project->createRun("one", *OpenFlows::getSynthesis(), "Default", "");
    HAXPExpRun& two = m_project->createRun("two", *OpenFlows::getSynthesis(), "Default", "");
    HAXPExpRun& impl =
        m_project->createRun("impl", *OpenFlows::getImplementation(), "Default", "one");
    LaunchQueue queue(*m_project, m_options);
    for (HAXPExpRun* run : {&one, &two, &impl})
        queue.add(*run);
    queue.advance();
    EXPECT_EQ(queue.getRunning(), (LaunchQueue::Runs{&one, &two}));
    EXPECT_EQ(queue.getWaiting(), LaunchQueue::Runs{&impl});
    EXPECT_EQ(m_clients.callCount("qsub"), 2);
    for (const HAXPExpRun* run : {&one, &two, &impl})
        EXPECT_EQ(run->getStatus()->getText(), "Queued") << run->getName();
    EXPECT_EQ(m_bench.folder().read("proj/runs/two/job.id"), "2");
    EXPECT_EQ(two.getInfo().getClusterConfigurationName(), "sge");
}

TEST_F(ClusterQueueTest, ShowsARunAsQueuedHoweverLongTheClusterTakes) {
    HAXPExpRun& run = m_project->createRun("one", *OpenFlows::getSynthesis(), "Default", "");
    LaunchQueue queue(*m_project, m_options);
    queue.add(run);
    queue.advance();
    m_bench.folder().touch("proj/runs/one/" +
                               run.queueMarkerPath().substr(run.queueMarkerPath().rfind('/') + 1),
                           1000);
    run.updateStatus();
    EXPECT_EQ(run.getStatus()->getCode(), HDGUIStatus::statusQueued);
    m_bench.folder().mark("proj/runs/one/.ice40_synth.begin.rst", test::TestBench::handleText());
    run.updateStatus();
    EXPECT_EQ(run.getStatus()->getCode(), HDGUIStatus::statusRunning);
}

TEST_F(ClusterQueueTest, TakesARefusedRunOutOfTheLaunch) {
    m_clients.program("qsub", "echo full; exit 25");
    m_clients.program("qstat", "cat <<'END'\n" + test::SchedulerBench::qstatList({}) + "END");
    HAXPExpRun& run = m_project->createRun("one", *OpenFlows::getSynthesis(), "Default", "");
    LaunchQueue queue(*m_project, m_options);
    queue.add(run);
    const std::vector<LaunchQueue::Event> events = queue.advance();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].kind, LaunchQueue::Event::kRefused);
    EXPECT_EQ(events[0].text, "Run one isn't launched, as the grid engine refuses its job: full");
    EXPECT_EQ(run.getRunMode(), HAXPExpRun::kNotLaunched);
    EXPECT_FALSE(HUTFile::exists(run.queueMarkerPath()));
    EXPECT_TRUE(queue.isOver());
}

}  // namespace
