// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/SgeScheduler.h"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/unit/workbench/cluster/SchedulerBench.h"
#include "workbench/cluster/jobArray.h"

namespace {

using cluster::CancelAnswer;
using cluster::JobAnswer;
using cluster::Submission;

/// A grid engine that takes jobs as number 12 and has none.
class SgeSchedulerTest : public ::testing::Test {
protected:
    SgeSchedulerTest() {
        m_bench.program("qsub", "echo 'Your job 12 (\"xp_a\") has been submitted'");
        list({});
    }
    void list(const std::vector<std::string>& jobs) {
        m_bench.program("qstat", "cat <<'END'\n" + test::SchedulerBench::qstatList(jobs) + "END");
    }
    /// A qstat that lists the job only once the file `taken` is there.
    void listTakenJob() {
        m_bench.program("qstat", "if [ -e \"$bench/taken\" ]; then cat <<'END'\n" +
                                     test::SchedulerBench::qstatList({"12 xp_a qw -"}) +
                                     "END\nelse cat <<'END'\n" +
                                     test::SchedulerBench::qstatList({}) + "END\nfi");
    }
    Submission submit(const std::string& command = "qsub -q all.q") {
        m_job.name = "xp_a";
        m_job.runDir = m_bench.path();
        m_job.launchId = "1234";
        return cluster::SgeScheduler(command).submit(m_job);
    }
    JobAnswer look() const { return m_scheduler.look({"xp_a", "12", ""}); }
    CancelAnswer cancel() const { return m_scheduler.cancel({"xp_a", "12", ""}); }

    struct Bench : test::SchedulerBench {
        using SchedulerBench::path;
        std::string path() const { return folder().path(); }
    };
    Bench m_bench;
    cluster::Job m_job;
    cluster::SgeScheduler m_scheduler{"qsub -q all.q"};
};

TEST_F(SgeSchedulerTest, SubmitsTheRunsScriptByTheWordsOfTheUser) {
    submit("qsub -q 'a b' -l h=\"x;y\"");
    EXPECT_EQ(m_bench.calls(), "qsub -q a b -l h=x;y -S /bin/sh -wd " + m_bench.path() +
                                   " -N xp_a -j y -o runme.log -v XPERIMENT_LAUNCH=1234 " +
                                   m_bench.path() + "/runme.sh\n");
}

TEST_F(SgeSchedulerTest, GivesTheIdentifierOfAJobThatWasTaken) {
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kTaken);
    EXPECT_EQ(submission.id, "12");
    EXPECT_EQ(submission.log, "Your job 12 (\"xp_a\") has been submitted\n");
    EXPECT_TRUE(m_bench.clock().pauses().empty());
}

TEST_F(SgeSchedulerTest, SetsTheIdentityForAUserWhoTakesAllVariablesAlong) {
    m_bench.program("qsub", "echo \"$XPERIMENT_LAUNCH\" >\"$bench/identity\"\necho 7");
    submit("qsub -V");
    EXPECT_EQ(m_bench.folder().read("identity"), "1234\n");
}

/// What qsub says with status 0, and the identifier in it.
struct SaidCase {
    const char* name;
    const char* said;
    const char* id;
};

std::ostream& operator<<(std::ostream& os, const SaidCase& row) {
    return os << row.name;
}

class SgeIdentifierTable : public SgeSchedulerTest,
                           public ::testing::WithParamInterface<SaidCase> {};

TEST_P(SgeIdentifierTable, GivesTheIdentifier) {
    m_bench.program("qsub", std::string("printf '") + GetParam().said + "'");
    const Submission submission = submit();
    EXPECT_EQ(submission.id, GetParam().id);
    EXPECT_EQ(submission.result,
              *GetParam().id == '\0' ? Submission::kRefused : Submission::kTaken);
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Qsub, SgeIdentifierTable,
    ::testing::Values(
        SaidCase{"Sentence", "Your job 7 (\"a b\") has been submitted\\n", "7"},
        SaidCase{"Terse", "4711\\n", "4711"}, SaidCase{"WithoutLineEnd", "4711", "4711"},
        SaidCase{"BehindAWarning",
                 "qsub: warning: 5 slots\\nYour job 8 (\"x\") has been submitted\\n", "8"},
        SaidCase{"Nothing", "", ""}, SaidCase{"AnArray", "Your job-array 9.1-3:1 (\"x\")\\n", ""},
        SaidCase{"NoNumber", "Your job twelve (\"x\") has been submitted\\n", ""},
        SaidCase{"ANegativeNumber", "Your job -1 (\"x\") has been submitted\\n", ""},
        SaidCase{"AHugeNumber", "Your job 1234567890123456789 (\"x\") has been submitted\\n", ""},
        SaidCase{"ANumberInAWord", "12abc\\n", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SgeSchedulerTest, GivesTheNumberOfAnArrayAndOfNothingElse) {
    const std::vector<std::pair<const char*, const char*>> said = {
        {"Your job-array 9.1-3:1 (\"x\") has been submitted", "9"},
        {"qsub: warning\n9.1-3:1", "9"},
        {"Your job 9 (\"x\") has been submitted", ""},
        {"9", ""},
        {"Your job-array nine", ""},
        {"Your job-array 9.1-3x (\"x\")", ""}};
    for (const auto& row : said) {
        m_bench.program("qsub", "cat <<'END'\n" + std::string(row.first) + "\nEND");
        EXPECT_EQ(cluster::SgeScheduler("qsub").submitArray({"xp_a", "/a.sh", 3, 2}).id, row.second)
            << row.first;
    }
    EXPECT_NE(
        m_bench.calls().find("qsub -S /bin/sh -N xp_a -j y -o /dev/null -t 1-3 -tc 2 /a.sh\n"),
        std::string::npos);
}

TEST_F(SgeSchedulerTest, LeavesTheNumberAtOnceOfAnArrayToTheWorkbench) {
    std::string reason;
    EXPECT_TRUE(m_scheduler.checkArrays(reason));
    EXPECT_FALSE(cluster::SgeScheduler("qsub -tc 3").checkArrays(reason));
    EXPECT_EQ(reason, "The switch -tc can't be used with -j, which says how many runs work at "
                      "once.");
}

TEST_F(SgeSchedulerTest, FindsATaskAmongThoseOfItsArray) {
    list({"12 xp_a r all.q@node7 2", "12 xp_a qw - 3-5:1,9", "13 xp_b r all.q@node7 4"});
    EXPECT_EQ(m_scheduler.look({"xp_a", "", "", 2}).told, "job 12.2 runs on node7");
    EXPECT_EQ(m_scheduler.look({"xp_a", "", "", 9}).state, JobAnswer::kQueued);
    EXPECT_EQ(m_scheduler.look({"xp_a", "", "", 9}).id, "12.9");
    EXPECT_EQ(m_bench.callCount("qstat"), 2);
    EXPECT_EQ(m_scheduler.look({"xp_a", "", "", 1}).state, JobAnswer::kGone);
    EXPECT_EQ(m_scheduler.look({"xp_a", "", ""}).id, "12");
}

TEST_F(SgeSchedulerTest, ClaimsNothingOfATaskInAListThatItDoesNotUnderstand) {
    list({"12 xp_a qw - 3..."});
    const JobAnswer answer = m_scheduler.look({"xp_a", "", "", 7});
    EXPECT_EQ(answer.state, JobAnswer::kUnknown);
    EXPECT_EQ(answer.told, "the grid engine lists the tasks of job 12 as \"3...\"");
    m_bench.program("qdel", "");
    EXPECT_EQ(m_scheduler.cancel({"xp_a", "", "", 7}).result, CancelAnswer::kFailed);
    EXPECT_EQ(m_bench.callCount("qdel"), 0);
}

TEST_F(SgeSchedulerTest, TriesARefusalThreeTimesWithPatience) {
    m_bench.program("qsub", "echo 'Unable to run job: job rejected: no such queue'; exit 1");
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kRefused);
    EXPECT_EQ(submission.told, "Unable to run job: job rejected: no such queue");
    EXPECT_EQ(m_bench.callCount("qsub"), 3);
    EXPECT_EQ(m_bench.clock().pauses(), (std::vector<long>{1000, 4000}));
}

TEST_F(SgeSchedulerTest, TakesTheJobThatALaterTryGets) {
    m_bench.program("qsub",
                    "[ -e \"$bench/again\" ] || { : >\"$bench/again\"; echo full; exit 25; }\n"
                    "echo 'Your job 13 (\"xp_a\") has been submitted'");
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kTaken);
    EXPECT_EQ(submission.id, "13");
    EXPECT_EQ(submission.log, "full\nYour job 13 (\"xp_a\") has been submitted\n");
}

TEST_F(SgeSchedulerTest, DoesNotSubmitAgainWhatWasTakenDespiteItsStatus) {
    m_bench.program("qsub", ": >\"$bench/taken\"; echo 'got no ack'; exit 1");
    listTakenJob();
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kTaken);
    EXPECT_EQ(submission.id, "12");
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

TEST_F(SgeSchedulerTest, BelievesARefusalWhereTheQueueCanNotBeAsked) {
    m_bench.program("qsub", "echo 'unable to contact qmaster'; exit 1");
    m_bench.program("qstat", "echo 'unable to contact qmaster'; exit 1");
    EXPECT_EQ(submit().result, Submission::kRefused);
    EXPECT_EQ(m_bench.callCount("qsub"), 3);
}

TEST_F(SgeSchedulerTest, FindsTheJobOfASubmissionThatHung) {
    m_bench.program("qsub", ": >\"$bench/taken\"\n" + std::string(test::SchedulerBench::kHang));
    listTakenJob();
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kTaken);
    EXPECT_EQ(submission.id, "12");
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

TEST_F(SgeSchedulerTest, FindsTheJobOfASubmissionThatWasKilled) {
    m_bench.program("qsub", ": >\"$bench/taken\"; kill -9 $$");
    listTakenJob();
    EXPECT_EQ(submit().id, "12");
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

TEST_F(SgeSchedulerTest, LooksThreeTimesForAJobThatMayStillCome) {
    m_bench.program("qsub", "kill -9 $$");
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kRefused);
    EXPECT_EQ(submission.told, "it was killed by signal 9");
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
    EXPECT_EQ(m_bench.callCount("qstat"), 3);
}

TEST_F(SgeSchedulerTest, IsUnsureOfASubmissionThatHungWhenTheQueueCanNotBeAsked) {
    m_bench.program("qsub", test::SchedulerBench::kHang);
    m_bench.program("qstat", "exit 1");
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kUnsure);
    EXPECT_EQ(submission.told, "it gave no answer in time");
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

TEST_F(SgeSchedulerTest, IsUnsureOfAnAnswerWithoutIdentifierWhenTheQueueCanNotBeAsked) {
    m_bench.program("qsub", "echo welcome");
    m_bench.program("qstat", "exit 1");
    EXPECT_EQ(submit().result, Submission::kUnsure);
    EXPECT_EQ(m_bench.callCount("qsub"), 1);
}

TEST_F(SgeSchedulerTest, IsRefusedWithoutAProgram) {
    m_bench.removeProgram("qsub");
    const Submission submission = submit();
    EXPECT_EQ(submission.result, Submission::kRefused);
    EXPECT_EQ(submission.told, "qsub: No such file or directory");
    EXPECT_EQ(m_bench.callCount("qstat"), 0);
}

TEST_F(SgeSchedulerTest, ChecksTheCommandOfTheUser) {
    std::string reason;
    EXPECT_TRUE(m_scheduler.check(reason));
    EXPECT_EQ(reason, "");
    EXPECT_FALSE(cluster::SgeScheduler("/opt/sge/bin/qsub").check(reason));
    EXPECT_EQ(reason, "/opt/sge/bin/qsub is not a valid SGE executable. 'qsub' is the only SGE "
                      "executable supported by launch_runs");
    EXPECT_FALSE(cluster::SgeScheduler("qsub -t 1-3").check(reason));
    EXPECT_EQ(reason, "The switch -t can't be used when launching runs.");
    EXPECT_FALSE(cluster::SgeScheduler("qsub -sync y").check(reason));
    m_bench.removeProgram("qsub");
    EXPECT_FALSE(m_scheduler.check(reason));
    EXPECT_EQ(reason, "qsub could not be found. Please make sure 'qsub' is in path or provide "
                      "the correct full path.");
}

TEST_F(SgeSchedulerTest, NamesAJobAfterItsRunAndItsLaunch) {
    EXPECT_EQ(m_scheduler.nameFor("impl+1", "/a", "0f3a5b7c-1d2e-4f60-8a9b-0c1d2e3f4a5b"),
              "xp_impl_1_0f3a5b7c-1d2e");
}

TEST_F(SgeSchedulerTest, FindsAJobThatWaits) {
    list({"9 xp_other r all.q@a", "12 xp_a qw -"});
    const JobAnswer answer = look();
    EXPECT_EQ(answer.state, JobAnswer::kQueued);
    EXPECT_EQ(answer.id, "12");
    EXPECT_EQ(answer.told, "job 12 waits in the queue, in state qw");
}

TEST_F(SgeSchedulerTest, TellsOfAJobThatCanNotStart) {
    list({"12 xp_a Eqw -"});
    EXPECT_EQ(look().told, "job 12 waits in the queue, in state Eqw: the grid engine couldn't "
                           "start it; see \"qstat -j 12\"");
}

TEST_F(SgeSchedulerTest, FindsAJobThatRunsAndItsHost) {
    list({"12 xp_a r all.q@node7"});
    const JobAnswer answer = look();
    EXPECT_EQ(answer.state, JobAnswer::kRunning);
    EXPECT_EQ(answer.host, "node7");
    EXPECT_EQ(answer.told, "job 12 runs on node7");
}

TEST_F(SgeSchedulerTest, DoesNotKnowOfAJobOnAHostThatIsSilent) {
    m_bench.program("qstat",
                    "case $1 in -f) echo '<?xml version=\"1.0\"?><job_info><queue_info><Queue-List>"
                    "<name>all.q@node7</name><state>au</state></Queue-List></queue_info>"
                    "</job_info>'; exit;; esac\ncat <<'END'\n" +
                        test::SchedulerBench::qstatList({"12 xp_a r all.q@node7"}) + "END");
    const JobAnswer answer = look();
    EXPECT_EQ(answer.state, JobAnswer::kUnknown);
    EXPECT_EQ(answer.id, "12");
    EXPECT_EQ(answer.told, "job 12 runs on node7, as far as the grid engine knows, which doesn't "
                           "hear of that host");
}

TEST_F(SgeSchedulerTest, FindsAJobByItsNameWhateverTheIdentifierSays) {
    list({"12 xp_stranger r all.q@node7", "13 xp_a qw -"});
    EXPECT_EQ(look().id, "13");
}

TEST_F(SgeSchedulerTest, AsksOnceForManyJobsThatAreThere) {
    list({"12 xp_a qw -", "13 xp_b qw -"});
    EXPECT_EQ(look().state, JobAnswer::kQueued);
    EXPECT_EQ(cluster::SgeScheduler("qsub").look({"xp_b", "", ""}).id, "13");
    EXPECT_EQ(m_bench.callCount("qstat"), 1);
    // Not for one that isn't there: it may have come since.
    EXPECT_EQ(m_scheduler.look({"xp_c", "", ""}).state, JobAnswer::kGone);
    EXPECT_EQ(m_bench.callCount("qstat"), 2);
}

TEST_F(SgeSchedulerTest, AsksAgainAfterAWhile) {
    list({"12 xp_a qw -"});
    look();
    process::clock().sleepMs(3000);
    look();
    EXPECT_EQ(m_bench.callCount("qstat"), 2);
}

TEST_F(SgeSchedulerTest, TellsThatAJobIsGone) {
    list({"12 xp_stranger r all.q@node7"});
    const JobAnswer answer = look();
    EXPECT_EQ(answer.state, JobAnswer::kGone);
    EXPECT_EQ(answer.told, "job 12 isn't in the grid engine's queue");
}

TEST_F(SgeSchedulerTest, SeesTheListBehindAWarning) {
    m_bench.program("qstat", "echo 'warning: <old> client' >&2; cat <<'END'\n" +
                                 test::SchedulerBench::qstatList({"12 xp_a qw -"}) + "END");
    EXPECT_EQ(look().state, JobAnswer::kQueued);
}

TEST_F(SgeSchedulerTest, AsksTheClientsBesideTheSubmitProgram) {
    m_bench.folder().folder("other");
    m_bench.program("../other/qsub", "");
    m_bench.program("../other/qstat",
                    "cat <<'END'\n" + test::SchedulerBench::qstatList({"12 xp_a qw -"}) + "END");
    const cluster::SgeScheduler scheduler(m_bench.path("other/qsub"));
    EXPECT_EQ(scheduler.look({"xp_a", "", ""}).state, JobAnswer::kQueued);
}

/// What qstat may do in the place of a list.
struct LieCase {
    const char* name;
    std::string commands;
};

std::ostream& operator<<(std::ostream& os, const LieCase& row) {
    return os << row.name;
}

class SgeLieTable : public SgeSchedulerTest, public ::testing::WithParamInterface<LieCase> {};

TEST_P(SgeLieTable, LeavesTheJobUnknownAndAlone) {
    m_bench.program("qstat", GetParam().commands);
    m_bench.program("qdel", "");
    EXPECT_EQ(look().state, JobAnswer::kUnknown);
    EXPECT_EQ(look().told.substr(0, 32), "the grid engine can't be asked: ");
    EXPECT_EQ(cancel().result, CancelAnswer::kFailed);
    EXPECT_EQ(m_bench.callCount("qdel"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Qstat, SgeLieTable,
    ::testing::Values(
        LieCase{"Fails", "echo 'error: commlib error'; exit 1"}, LieCase{"SaysNothing", ""},
        LieCase{"Hangs", test::SchedulerBench::kHang}, LieCase{"Dies", "kill -9 $$"},
        LieCase{"SaysNoXml", "echo 'job-ID prior name'"},
        LieCase{"CutsItsAnswer", "echo '<?xml version=\"1.0\"?><job_info><queue_info>'"},
        LieCase{"GivesAnotherDocument", "echo '<?xml version=\"1.0\"?><html/>'"},
        LieCase{"ListsAJobWithoutNumber",
                "echo '<?xml version=\"1.0\"?><job_info><job_list><JB_name>xp_a</JB_name>"
                "</job_list></job_info>'"},
        LieCase{"ListsAnOption", "echo '<?xml version=\"1.0\"?><job_info><job_list>"
                                 "<JB_job_number>-f</JB_job_number><JB_name>xp_a</JB_name>"
                                 "</job_list></job_info>'"},
        LieCase{"NestsWithoutEnd", "echo '<?xml version=\"1.0\"?>'; i=0; while [ $i -lt 5000 ]; do "
                                   "echo '<job_info>'; i=$((i + 1)); done"},
        LieCase{"NeverStops", "while :; do echo '<job_list>12 12 12 12 12 12 12 12'; done"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SgeSchedulerTest, IsUnknownWithoutQstat) {
    m_bench.removeProgram("qstat");
    EXPECT_EQ(look().state, JobAnswer::kUnknown);
}

TEST_F(SgeSchedulerTest, CancelsTheJobByItsNumber) {
    list({"12 xp_a r all.q@node7"});
    m_bench.program("qdel", "");
    EXPECT_EQ(cancel().result, CancelAnswer::kAsked);
    EXPECT_NE(m_bench.calls().find("qdel 12\n"), std::string::npos);
}

TEST_F(SgeSchedulerTest, NeverCancelsTheJobOfAnother) {
    list({"12 xp_stranger r all.q@node7"});
    m_bench.program("qdel", "");
    EXPECT_EQ(cancel().result, CancelAnswer::kGone);
    EXPECT_EQ(m_bench.callCount("qdel"), 0);
}

TEST_F(SgeSchedulerTest, TellsWhyAJobIsNotCancelled) {
    list({"12 xp_a r all.q@node7"});
    m_bench.program("qdel", "echo 'denied: job \"12\" is not yours'; exit 1");
    const CancelAnswer answer = cancel();
    EXPECT_EQ(answer.result, CancelAnswer::kFailed);
    EXPECT_EQ(answer.told, "qdel of job 12 failed: denied: job \"12\" is not yours");
}

/// A job 12 called xp_a that goes when qdel was called and `looks` more looks were had.
class SgeEndTest : public SgeSchedulerTest {
protected:
    void job(const std::string& name, int looks) {
        m_bench.program("qdel", ": >\"$bench/deleted\"");
        m_bench.program("qstat",
                        "[ -e \"$bench/deleted\" ] && echo x >>\"$bench/looks\"\n"
                        "if [ -e \"$bench/looks\" ] && [ \"$(wc -l <\"$bench/looks\")\" -gt " +
                            std::to_string(looks) + " ]; then cat <<'END'\n" +
                            test::SchedulerBench::qstatList({}) + "END\nelse cat <<'END'\n" +
                            test::SchedulerBench::qstatList({"12 " + name + " qw -"}) + "END\nfi");
    }
    bool endJob(const std::string& id) { return m_scheduler.endJob(id, 30000, m_reason); }

    std::string m_reason;
};

TEST_F(SgeEndTest, WaitsUntilTheJobIsGone) {
    job("xp_a", 3);
    EXPECT_TRUE(m_scheduler.end({"xp_a", "12", ""}, 30000, m_reason));
    EXPECT_EQ(m_reason, "");
    EXPECT_EQ(m_bench.callCount("qdel"), 1);
}

TEST_F(SgeEndTest, AJobThatEndsBeforeItsCancelIsGone) {
    job("xp_a", 0);
    m_bench.program("qdel",
                    ": >\"$bench/deleted\"; echo 'denied: job \"12\" does not exist'; exit 1");
    EXPECT_TRUE(m_scheduler.end({"xp_a", "12", ""}, 30000, m_reason));
    EXPECT_EQ(m_reason, "");
}

TEST_F(SgeEndTest, GivesUpOnAJobThatStays) {
    list({"12 xp_a dr all.q@node7"});
    m_bench.program("qdel", "");
    EXPECT_FALSE(m_scheduler.end({"xp_a", "12", ""}, 30000, m_reason));
    EXPECT_EQ(m_reason, "job 12 is to end on node7");
}

TEST_F(SgeEndTest, AsksOnceForTheEndOfAJobOnAHostThatIsSilent) {
    m_bench.program("qdel", "");
    m_bench.program("qstat",
                    "case $1 in -f) echo '<?xml version=\"1.0\"?><job_info><queue_info><Queue-List>"
                    "<name>all.q@node7</name><state>au</state></Queue-List></queue_info>"
                    "</job_info>'; exit;; esac\ncat <<'END'\n" +
                        test::SchedulerBench::qstatList({"12 xp_a dr all.q@node7"}) + "END");
    EXPECT_FALSE(m_scheduler.end({"xp_a", "12", ""}, 30000, m_reason));
    EXPECT_EQ(m_reason, "job 12 is to end on node7, as far as the grid engine knows, which doesn't "
                        "hear of that host");
    EXPECT_EQ(m_bench.callCount("qdel"), 1);
}

TEST_F(SgeEndTest, EndsAJobOfARunByItsNumber) {
    job("xp_a", 0);
    EXPECT_TRUE(endJob("12"));
    EXPECT_NE(m_bench.calls().find("qdel 12\n"), std::string::npos);
}

TEST_F(SgeEndTest, RefusesAJobThatIsNoneOfARun) {
    job("thesis", 0);
    EXPECT_FALSE(endJob("12"));
    EXPECT_EQ(m_reason, "job 12 is called thesis and isn't one of a run");
    EXPECT_EQ(m_bench.callCount("qdel"), 0);
}

TEST_F(SgeEndTest, RefusesAJobOfAnotherUser) {
    m_bench.program("qdel", "");
    EXPECT_FALSE(endJob("99"));
    EXPECT_EQ(m_reason.substr(0, 17), "job 99 isn't one ");
    EXPECT_EQ(m_bench.callCount("qdel"), 0);
}

TEST_F(SgeEndTest, IsDoneWithAJobThatTheGridEngineDoesNotKnow) {
    m_bench.program("qstat", "case $1 in -j) echo '<?xml version=\"1.0\"?><unknown_jobs>"
                             "<ST_name>99</ST_name></unknown_jobs>'; exit;; esac\ncat <<'END'\n" +
                                 test::SchedulerBench::qstatList({}) + "END");
    EXPECT_TRUE(endJob("99"));
}

TEST_F(SgeEndTest, RefusesWhatIsNoNumber) {
    for (const char* id : {"", "12\n", " 12", "-u", "12 13", "1e3", "1234567890123456789", "*"}) {
        m_reason.clear();
        EXPECT_FALSE(endJob(id)) << id;
        EXPECT_NE(m_reason.find("is no identifier of a job"), std::string::npos) << id;
    }
    EXPECT_EQ(m_bench.calls(), "");
}

}  // namespace
