// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/LsfScheduler.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/cluster/SchedulerBench.h"
#include "workbench/cluster/jobArray.h"

namespace {

using cluster::CancelAnswer;
using cluster::JobAnswer;
using cluster::Submission;

/// LSF with the job 12 of a run, and no other.
class LsfSchedulerTest : public ::testing::Test {
protected:
    LsfSchedulerTest() : m_script(m_bench.path("runme.sh")) {
        m_bench.program("bsub", "echo 'Job <12> is submitted to queue <medium>.'");
        m_bench.program("bkill", "echo 'Job <12> is being terminated'");
        show("RUN", "node7");
    }
    void show(const std::string& state, const std::string& host) {
        m_bench.program("bjobs", "echo 'JOBID   USER    STAT  QUEUE   FROM_HOST   EXEC_HOST   "
                                 "JOB_NAME   SUBMIT_TIME'\necho '12 jane " +
                                     state + " medium a.host " + host + " " + m_script +
                                     " Nov 21 17:00'");
    }
    void showNone() { m_bench.program("bjobs", "echo \"Job <$4> is not found\" >&2; exit 255"); }
    Submission submit(const std::string& command = "bsub -q medium") {
        return cluster::LsfScheduler(command).submit({m_script, m_bench.folder().path(), "1234"});
    }
    JobAnswer look() const { return m_scheduler.look({m_script, "12", ""}); }

    test::SchedulerBench m_bench;
    std::string m_script;
    cluster::LsfScheduler m_scheduler{"bsub -q medium"};
};

TEST_F(LsfSchedulerTest, SubmitsThePathOfTheScriptAsTheOnlyWordOfTheCommand) {
    m_bench.program("bsub", "echo \"$XPERIMENT_LAUNCH\" >\"$bench/identity\"; pwd >\"$bench/pwd\"\n"
                            "echo 'Job <12> is submitted to default queue <normal>.'");
    const Submission submission = submit("bsub -R select[type=X86_64] -N -q medium");
    EXPECT_EQ(submission.id, "12");
    EXPECT_EQ(m_bench.calls(), "bsub -R select[type=X86_64] -N -q medium " + m_script + "\n");
    EXPECT_EQ(m_bench.folder().read("identity"), "1234\n");
    EXPECT_EQ(m_bench.folder().read("pwd"), m_bench.folder().path() + "\n");
}

TEST_F(LsfSchedulerTest, CallsTheJobByItsScript) {
    EXPECT_EQ(m_scheduler.nameFor("run", "/a/run", "1234"), "/a/run/runme.sh");
}

/// LSF with the tasks 2, which runs, and 3, which waits, of the array xp_a, job 12.
class LsfArrayTest : public LsfSchedulerTest {
protected:
    LsfArrayTest() {
        m_bench.program("bjobs",
                        "case $3 in *'[2]') state='RUN q a.host node7';; *'[3]') state='PEND q "
                        "a.host -';; *) echo \"Job <$3> is not found\" >&2; exit 255;; esac\n"
                        "echo 'JOBID USER STAT QUEUE FROM_HOST EXEC_HOST JOB_NAME SUBMIT_TIME'\n"
                        "echo \"12 jane $state $3 Nov 21 17:00\"");
    }
    JobAnswer lookAt(long task) const { return m_scheduler.look({"xp_a", "", "", task}); }
};

TEST_F(LsfArrayTest, SubmitsItByNameAndNumbers) {
    EXPECT_EQ(m_scheduler.submitArray({"xp_a", "/a.sh", 3, 2}).id, "12");
    EXPECT_EQ(m_bench.calls(), "bsub -q medium -J xp_a[1-3]%2 /a.sh\n");
}

TEST_F(LsfArrayTest, FindsEachTask) {
    EXPECT_EQ(lookAt(2).told, "LSF shows job 12[2] as RUN on node7");
    EXPECT_EQ(lookAt(3).state, JobAnswer::kQueued);
    EXPECT_EQ(lookAt(3).id, "12[3]");
    EXPECT_EQ(lookAt(1).state, JobAnswer::kGone);
}

TEST_F(LsfArrayTest, PassesOverATaskOfAnotherName) {
    m_bench.program("bjobs", "echo '12 jane RUN q a.host node7 xp_a[20] Nov 21 17:00'");
    EXPECT_EQ(lookAt(2).state, JobAnswer::kUnknown);
    EXPECT_EQ(m_scheduler.cancel({"xp_a", "", "", 2}).result, CancelAnswer::kFailed);
    EXPECT_EQ(m_bench.callCount("bkill"), 0);
}

TEST_F(LsfArrayTest, EndsATaskByItsNumber) {
    EXPECT_EQ(m_scheduler.cancel({"xp_a", "", "", 3}).result, CancelAnswer::kAsked);
    EXPECT_NE(m_bench.calls().find("bkill 12[3]\n"), std::string::npos);
    EXPECT_EQ(m_scheduler.cancel({"xp_a", "", "", 1}).result, CancelAnswer::kGone);
    EXPECT_EQ(m_bench.callCount("bkill"), 1);
}

TEST_F(LsfArrayTest, NeedsBjobs) {
    std::string reason;
    EXPECT_TRUE(m_scheduler.checkArrays(reason));
    m_bench.removeProgram("bjobs");
    EXPECT_FALSE(m_scheduler.checkArrays(reason));
    EXPECT_EQ(reason, "Without bjobs no task of an array can be found; leave -j out.");
}

TEST_F(LsfSchedulerTest, TriesARefusalThreeTimesAndTellsItsWords) {
    m_bench.program("bsub", "echo 'nono: No such queue. Job not submitted.' >&2; exit 255");
    showNone();
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kRefused);
    EXPECT_EQ(submission.told, "nono: No such queue. Job not submitted.");
    EXPECT_EQ(m_bench.callCount("bsub"), 3);
}

TEST_F(LsfSchedulerTest, FindsTheJobOfASubmissionThatHung) {
    m_bench.program("bsub", test::SchedulerBench::kHang);
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kTaken);
    EXPECT_EQ(submission.id, "12");
    EXPECT_EQ(m_bench.callCount("bsub"), 1);
}

TEST_F(LsfSchedulerTest, IsUnsureOfASubmissionThatHungWithoutBjobs) {
    m_bench.program("bsub", test::SchedulerBench::kHang);
    m_bench.removeProgram("bjobs");
    EXPECT_EQ(submit().result, Submission::kUnsure);
    EXPECT_EQ(m_bench.callCount("bsub"), 1);
}

TEST_F(LsfSchedulerTest, DoesNotTakeALieForAnIdentifier) {
    showNone();
    for (const char* said : {"Job <12>", "Job <> is submitted to queue <a>.", "submitted 12",
                             "Job <12 13> is submitted to queue <a>.",
                             "Job <1234567890123456789> is submitted to queue <a>."}) {
        m_bench.program("bsub", std::string("echo '") + said + "'");
        EXPECT_EQ(submit().result, Submission::kRefused) << said;
    }
}

TEST_F(LsfSchedulerTest, ChecksTheCommandOfTheUser) {
    std::string reason;
    EXPECT_TRUE(m_scheduler.check(reason));
    EXPECT_EQ(reason, "");
    EXPECT_FALSE(cluster::LsfScheduler("bsub -Is").check(reason));
    EXPECT_EQ(reason, "Interactive mode switches -I,-Ip,-Is,-IS,-ISp,-IX cannot be used when "
                      "launching runs with LSF.");
    EXPECT_FALSE(cluster::LsfScheduler("bsub -J mine").check(reason));
    EXPECT_EQ(reason, "The switch -J can't be used when launching runs.");
    EXPECT_FALSE(cluster::LsfScheduler("gone/bsub").check(reason));
    EXPECT_EQ(reason, "gone/bsub could not be found. Please make sure 'bsub' is in path or "
                      "provide the correct full path.");
}

/// A state as bjobs shows it, and what it means.
struct StateCase {
    const char* state;
    JobAnswer::State meaning;
};

std::ostream& operator<<(std::ostream& os, const StateCase& row) {
    return os << row.state;
}

class LsfStateTable : public LsfSchedulerTest, public ::testing::WithParamInterface<StateCase> {};

TEST_P(LsfStateTable, HasAMeaning) {
    show(GetParam().state, "node7");
    EXPECT_EQ(look().state, GetParam().meaning);
    EXPECT_EQ(look().id, "12");
}

INSTANTIATE_TEST_SUITE_P(
    Bjobs, LsfStateTable,
    ::testing::Values(StateCase{"PEND", JobAnswer::kQueued}, StateCase{"PSUSP", JobAnswer::kQueued},
                      StateCase{"RUN", JobAnswer::kRunning},
                      StateCase{"SSUSP", JobAnswer::kRunning}, StateCase{"DONE", JobAnswer::kGone},
                      StateCase{"EXIT", JobAnswer::kGone}, StateCase{"UNKWN", JobAnswer::kUnknown},
                      StateCase{"ZOMBI", JobAnswer::kUnknown},
                      StateCase{"lies", JobAnswer::kUnknown}),
    [](const auto& row) { return std::string(row.param.state); });

TEST_F(LsfSchedulerTest, TellsWhereAJobRuns) {
    EXPECT_EQ(look().host, "node7");
    EXPECT_EQ(look().told, "LSF shows job 12 as RUN on node7");
}

TEST_F(LsfSchedulerTest, TellsThatAJobIsGone) {
    showNone();
    EXPECT_EQ(look().state, JobAnswer::kGone);
    EXPECT_EQ(look().told, "LSF has no unfinished job of this run");
}

TEST_F(LsfSchedulerTest, DoesNotKnowWhereNobodyAnswers) {
    for (const std::string& commands :
         {std::string(), std::string("exit 1"), std::string("echo 'JOBID USER'"),
          std::string("kill -9 $$"), std::string(test::SchedulerBench::kHang)}) {
        m_bench.program("bjobs", commands);
        EXPECT_EQ(look().state, JobAnswer::kUnknown) << commands;
    }
    m_bench.removeProgram("bjobs");
    EXPECT_EQ(look().state, JobAnswer::kUnknown);
}

TEST_F(LsfSchedulerTest, CancelsByThePathOfTheScript) {
    EXPECT_EQ(m_scheduler.cancel({m_script, "12", ""}).result, CancelAnswer::kAsked);
    EXPECT_EQ(m_bench.calls(), "bkill -J " + m_script + "\n");
}

TEST_F(LsfSchedulerTest, TellsWhyAJobIsNotCancelled) {
    m_bench.program("bkill", "echo 'Job <12>: Operation not permitted' >&2; exit 255");
    const CancelAnswer answer = m_scheduler.cancel({m_script, "12", ""});
    EXPECT_EQ(answer.result, CancelAnswer::kFailed);
    EXPECT_EQ(answer.told, "bkill failed: Job <12>: Operation not permitted");
}

TEST_F(LsfSchedulerTest, KnowsByBkillAloneThatAJobIsGone) {
    m_bench.removeProgram("bjobs");
    m_bench.program("bkill",
                    "[ -e \"$bench/asked\" ] || { : >\"$bench/asked\"; echo 'Job <12> is being "
                    "terminated'; exit 0; }\necho \"Job <$2> is not found\" >&2; exit 255");
    std::string reason;
    EXPECT_TRUE(m_scheduler.end({m_script, "12", ""}, 30000, reason));
    EXPECT_EQ(m_bench.callCount("bkill"), 2);
}

}  // namespace
