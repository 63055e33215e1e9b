// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestFlowStep.h"
#include "tests/support/TestInstallation.h"

namespace {

constexpr int kNotStarted = 0;
constexpr int kRunning = 2;
constexpr int kDone = 3;
constexpr int kFailed = 5;

/// A step "synth" over an empty run directory, in a program that isn't "tarnel". No
/// message is expected.
class StepStatusTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(m_messages.ids().empty()); }

    int poll() {
        m_step.updateStatus(&m_status, &m_handle, m_dir.path());
        return m_status.getCode();
    }

    /// Polls so often; how often the handle was read.
    int attemptsIn(int polls) {
        for (int i = 0; i < polls; ++i)
            poll();
        return m_handle.parseAttemptsCount();
    }

    /// A marker with a time of its own.
    void markAt(const std::string& name, long seconds) {
        m_dir.mark(name);
        m_dir.touch(name, seconds);
    }

    test::MessageRecorder m_messages;
    test::TestInstallation m_installation;
    test::RunDir m_dir;
    test::TestFlowStep m_step{"synth"};
    HDGUIStatus m_status;
    HUTProcessHandle m_handle;
};

TEST_F(StepStatusTest, IsNotStartedInAnEmptyDirectory) {
    m_status.setCode(kRunning);
    m_handle.setStartStamp(7);
    m_handle.setEndStamp(8);
    EXPECT_EQ(poll(), kNotStarted);
    EXPECT_EQ(m_handle.getStartStamp(), 0);
    EXPECT_EQ(m_handle.getEndStamp(), 0);
}

TEST_F(StepStatusTest, FollowsTheMarkersAsTheToolWritesThem) {
    m_dir.mark(".synth.begin.rst");
    EXPECT_EQ(poll(), kRunning);
    m_dir.mark(".synth.end.rst");
    EXPECT_EQ(poll(), kDone);
    EXPECT_TRUE(m_step.resetStep(m_dir.path(), nullptr));
    EXPECT_EQ(poll(), kNotStarted);
}

TEST_F(StepStatusTest, LeavesTheTextsOfTheStatusAlone) {
    m_status.setText("Not Started");
    m_status.setDetailText("Not Started");
    m_dir.mark(".synth.begin.rst");
    poll();
    EXPECT_EQ(m_status.getText(), "Not Started");
    EXPECT_EQ(m_status.getDetailText(), "Not Started");
}

TEST_F(StepStatusTest, IgnoresTheMarkersOfAStepWhoseNameItBegins) {
    m_dir.mark(".synth_post.begin.rst");
    m_dir.mark(".synth_post.error.rst");
    EXPECT_EQ(poll(), kNotStarted);
}

TEST_F(StepStatusTest, IgnoresAFolderInThePlaceOfAMarker) {
    m_dir.folder(".synth.begin.rst");
    EXPECT_EQ(poll(), kNotStarted);
    m_dir.mark(".synth.begin.stp");
    EXPECT_EQ(poll(), kRunning);
}

TEST_F(StepStatusTest, TakesMarkerNamesFromTheTrackingString) {
    m_step.setStatusTrackingStr("tracked");
    m_dir.mark(".synth.begin.rst");
    EXPECT_EQ(poll(), kNotStarted);
    m_dir.mark(".tracked.begin.rst");
    EXPECT_EQ(poll(), kRunning);
}

TEST_F(StepStatusTest, TakesMarkerNamesFromTheInvokeStringWithoutTrackingString) {
    m_step.setInvokeStr("synth_design");
    m_dir.mark(".synth_design.begin.rst");
    EXPECT_EQ(poll(), kRunning);
}

TEST_F(StepStatusTest, WorksInADirectoryWithALongNameWithBlanks) {
    const std::string folder =
        std::string(200, 'a') + "/b c/" + std::string(200, 'd') + "/" + std::string(200, 'e');
    m_dir.folder(folder);
    m_dir.mark(folder + "/.synth.begin.rst");
    m_dir.mark(folder + "/.synth.error.stp");
    m_step.updateStatus(&m_status, &m_handle, m_dir.path(folder));
    EXPECT_EQ(m_status.getCode(), kFailed);
}

TEST_F(StepStatusTest, IsNotStartedInADirectoryThatIsGone) {
    m_step.updateStatus(&m_status, &m_handle, m_dir.path("gone"));
    EXPECT_EQ(m_status.getCode(), kNotStarted);
}

TEST_F(StepStatusTest, IsNotStartedWithoutADirectory) {
    m_status.setCode(kRunning);
    m_step.updateStatus(&m_status, &m_handle, "");
    EXPECT_EQ(m_status.getCode(), kNotStarted);
    EXPECT_TRUE(m_step.resetStep("", nullptr));
}

/// The markers found in a directory, each with its place in the list as its time in
/// thousands of seconds, and what they give.
struct MarkerCase {
    const char* name;
    const char* program;
    std::vector<std::string> markers;
    int code;
    long startStamp;
    long endStamp;
};

std::ostream& operator<<(std::ostream& os, const MarkerCase& row) {
    return os << row.name;
}

class StepStatusTable : public StepStatusTest, public ::testing::WithParamInterface<MarkerCase> {};

TEST_P(StepStatusTable, GivesCodeAndStamps) {
    m_installation.setProgramName(GetParam().program);
    long seconds = 0;
    for (const std::string& marker : GetParam().markers)
        markAt(marker, seconds += 1000);
    EXPECT_EQ(poll(), GetParam().code);
    EXPECT_EQ(m_handle.getStartStamp(), GetParam().startStamp);
    EXPECT_EQ(m_handle.getEndStamp(), GetParam().endStamp);
}

const char* const kBegin = ".synth.begin.rst";
const char* const kEnd = ".synth.end.rst";
const char* const kError = ".synth.error.rst";
const char* const kBeginStp = ".synth.begin.stp";
const char* const kEndStp = ".synth.end.stp";
const char* const kErrorStp = ".synth.error.stp";
const char* const kTarnelError = ".tarnel.error.rst";
const char* const kOtherError = ".ridgeLine.error.rst";

INSTANTIATE_TEST_SUITE_P(
    Plain, StepStatusTable,
    ::testing::Values(MarkerCase{"Nothing", "xp", {}, kNotStarted, 0, 0},
                      MarkerCase{"End", "xp", {kEnd}, kNotStarted, 0, 0},
                      MarkerCase{"Error", "xp", {kError}, kNotStarted, 0, 0},
                      MarkerCase{"EndError", "xp", {kEnd, kError}, kNotStarted, 0, 0},
                      MarkerCase{"Begin", "xp", {kBegin}, kRunning, 1000, 0},
                      MarkerCase{"BeginEnd", "xp", {kBegin, kEnd}, kDone, 1000, 2000},
                      MarkerCase{"BeginError", "xp", {kBegin, kError}, kFailed, 1000, 2000},
                      MarkerCase{"All", "xp", {kBegin, kError, kEnd}, kDone, 1000, 3000}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    OtherSuffix, StepStatusTable,
    ::testing::Values(MarkerCase{"Begin", "xp", {kBeginStp}, kRunning, 1000, 0},
                      MarkerCase{"BeginEnd", "xp", {kBeginStp, kEndStp}, kDone, 1000, 2000},
                      MarkerCase{"BeginError", "xp", {kBeginStp, kErrorStp}, kFailed, 1000, 2000},
                      MarkerCase{"End", "xp", {kEndStp}, kNotStarted, 0, 0},
                      MarkerCase{"BothBegins", "xp", {kBeginStp, kBegin}, kRunning, 2000, 0},
                      MarkerCase{"BothEnds", "xp", {kBegin, kEndStp, kEnd}, kDone, 1000, 3000},
                      MarkerCase{
                          "EndBeatsError", "xp", {kBegin, kError, kEndStp}, kDone, 1000, 3000}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    WholeProcess, StepStatusTable,
    ::testing::Values(
        MarkerCase{"TarnelFailed", "tarnel", {kBegin, kTarnelError}, kFailed, 1000, 2000},
        MarkerCase{"TarnelFailedAsZbk", "ZBK", {kBegin, kTarnelError}, kFailed, 1000, 2000},
        MarkerCase{"OtherFailed", "xp", {kBegin, kOtherError}, kFailed, 1000, 2000},
        MarkerCase{"TarnelFailedSeenByOther", "xp", {kBegin, kTarnelError}, kRunning, 1000, 0},
        MarkerCase{"OtherFailedSeenByTarnel", "tarnel", {kBegin, kOtherError}, kRunning, 1000, 0},
        MarkerCase{"FailedWithoutBegin", "tarnel", {kTarnelError}, kNotStarted, 0, 0},
        MarkerCase{"FailedAfterTheEnd", "tarnel", {kBegin, kEnd, kTarnelError}, kDone, 1000, 2000},
        MarkerCase{
            "OwnErrorFirst", "tarnel", {kBegin, kTarnelError, kErrorStp}, kFailed, 1000, 3000},
        MarkerCase{"ProcessBeginIsNoStep", "tarnel", {".tarnel.begin.rst"}, kNotStarted, 0, 0},
        MarkerCase{"ProcessEndIsNoStep", "tarnel", {kBegin, ".tarnel.end.rst"}, kRunning, 1000, 0},
        MarkerCase{
            "ProcessErrorAsStp", "tarnel", {kBegin, ".tarnel.error.stp"}, kRunning, 1000, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StepStatusTest, CountsAProcessByTheInstallationToo) {
    Installation installation = m_installation.get();
    installation.isTarnel = true;
    m_installation.set(installation);
    m_dir.mark(kBegin);
    m_dir.mark(kTarnelError);
    EXPECT_EQ(poll(), kFailed);
}

/// Reading the process from the begin marker.
using StepHandleTest = StepStatusTest;

/// What a wrapper writes into its begin marker.
constexpr const char* kRecord =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<ProcessHandle Version=\"1\" Minor=\"0\">\n"
    "  <Process Host=\"node7\" Owner=\"jane\" Uid=\"1000\" Pid=\"4242\" Pgid=\"4243\" "
    "StartTicks=\"918273\" BootId=\"6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11\"/>\n"
    "  <Command>/bin/synth</Command>\n"
    "</ProcessHandle>\n";

TEST_F(StepHandleTest, IsReadOnceFromAWholeRecord) {
    m_dir.mark(kBegin, kRecord);
    m_dir.touch(kBegin, 5000);
    EXPECT_EQ(attemptsIn(5), 1);
    EXPECT_TRUE(m_handle.isComplete());
    EXPECT_EQ(m_handle.getPid(), 4242);
    EXPECT_EQ(m_handle.getStartStamp(), 5000);
}

TEST_F(StepHandleTest, IsCompletedByALaterPoll) {
    m_dir.mark(kBegin, std::string(kRecord).substr(0, 120));
    EXPECT_EQ(attemptsIn(2), 2);
    EXPECT_FALSE(m_handle.isComplete());
    m_dir.mark(kBegin, kRecord);
    EXPECT_EQ(attemptsIn(2), 3);
    EXPECT_TRUE(m_handle.isComplete());
}

TEST_F(StepHandleTest, IsReadAtEachPollTenTimesAtMost) {
    m_dir.mark(kBegin, "torn record");
    EXPECT_EQ(attemptsIn(3), 3);
    EXPECT_EQ(attemptsIn(20), 10);
    EXPECT_EQ(poll(), kRunning);
}

TEST_F(StepHandleTest, IsReadAlsoWhenTheStepHasEnded) {
    m_dir.mark(kBegin, "torn record");
    m_dir.mark(kEnd);
    EXPECT_EQ(attemptsIn(1), 1);
}

TEST_F(StepHandleTest, IsNotReadOnceComplete) {
    m_dir.mark(kBegin, "torn record");
    m_handle.setComplete(true);
    EXPECT_EQ(attemptsIn(3), 0);
    EXPECT_EQ(poll(), kRunning);
}

TEST_F(StepHandleTest, IsNotReadFromAnEmptyMarkerUntilItHasContent) {
    m_dir.mark(kBegin);
    EXPECT_EQ(attemptsIn(3), 0);
    EXPECT_EQ(poll(), kRunning);
    m_dir.mark(kBegin, "torn record");
    EXPECT_EQ(attemptsIn(1), 1);
}

TEST_F(StepHandleTest, IsNotReadUnderTheOtherSuffix) {
    m_dir.mark(kBeginStp, "torn record");
    m_dir.mark(kEndStp);
    EXPECT_EQ(attemptsIn(3), 0);
    EXPECT_EQ(poll(), kDone);
}

TEST_F(StepHandleTest, IsNotReadWithoutABeginMarker) {
    m_dir.mark(kEnd, "torn record");
    EXPECT_EQ(attemptsIn(3), 0);
}

/// The operations on one marker.
using StepMarkerTest = StepStatusTest;

TEST_F(StepMarkerTest, LeavesThePathAloneWhenAbsent) {
    std::string path = "before";
    for (const char* kind : {"begin", "end", "error"})
        EXPECT_FALSE(m_step.getStatusFile_(m_dir.path(), kind, path));
    EXPECT_EQ(path, "before");
}

TEST_F(StepMarkerTest, PrefersThePlainSuffix) {
    std::string path;
    m_dir.mark(kEndStp);
    EXPECT_TRUE(m_step.getStatusFile_(m_dir.path(), "end", path));
    EXPECT_EQ(path, m_dir.path(kEndStp));
    m_dir.mark(kEnd);
    EXPECT_TRUE(m_step.getStatusFile_(m_dir.path(), "end", path));
    EXPECT_EQ(path, m_dir.path(kEnd));
}

TEST_F(StepMarkerTest, FindsTheErrorOfTheProcess) {
    std::string path;
    m_dir.mark(kOtherError);
    EXPECT_TRUE(m_step.getStatusFile_(m_dir.path(), "error", path));
    EXPECT_EQ(path, m_dir.path(kOtherError));
}

TEST_F(StepMarkerTest, IsShieldedFromTheProcessByThePlainEndMarkerAlone) {
    std::string path = "before";
    m_dir.mark(kOtherError);
    m_dir.mark(kEndStp);
    EXPECT_TRUE(m_step.getStatusFile_(m_dir.path(), "error", path));
    EXPECT_EQ(path, m_dir.path(kOtherError));
    path = "before";
    m_dir.mark(kEnd);
    EXPECT_FALSE(m_step.getStatusFile_(m_dir.path(), "error", path));
    EXPECT_EQ(path, "before");
}

TEST_F(StepMarkerTest, GivesTheTimeOfTheMarkerThatCounts) {
    long stamp = 7;
    EXPECT_FALSE(m_step.statusExists_(m_dir.path(), "error", stamp));
    EXPECT_EQ(stamp, 7);
    markAt(kOtherError, 3000);
    EXPECT_TRUE(m_step.statusExists_(m_dir.path(), "error", stamp));
    EXPECT_EQ(stamp, 3000);
    markAt(kErrorStp, 4000);
    EXPECT_TRUE(m_step.statusExists_(m_dir.path(), "error", stamp));
    EXPECT_EQ(stamp, 4000);
}

TEST_F(StepMarkerTest, HasItsNamesInOnePlace) {
    EXPECT_EQ(xperiment::stepMarker("synth", xperiment::beginMarker), kBegin);
    EXPECT_EQ(xperiment::stepMarker("synth", xperiment::endMarker), kEnd);
    EXPECT_EQ(xperiment::stepMarker(xperiment::tarnelProcess, xperiment::errorMarker),
              kTarnelError);
    EXPECT_EQ(xperiment::queueMarker("My Flow"), ".My Flow.queue.rst");
    EXPECT_STREQ(xperiment::stopMarker, ".stop.rst");
    EXPECT_EQ(xperiment::markerPath("/runs/a b", xperiment::stopMarker), "/runs/a b/.stop.rst");
}

/// Removing the markers of a step.
class StepResetTest : public StepStatusTest {
protected:
    bool reset() { return m_step.resetStep(m_dir.path(), nullptr); }

    std::vector<std::string> left(const std::vector<std::string>& names) const {
        std::vector<std::string> found;
        for (const std::string& name : names)
            if (m_dir.has(name))
                found.push_back(name);
        return found;
    }

    void mark(const std::vector<std::string>& names) {
        for (const std::string& name : names)
            m_dir.mark(name);
    }
};

using Names = std::vector<std::string>;

const Names kPlainMarkers = {kBegin, kEnd, kError};
const Names kOtherMarkers = {kBeginStp, kEndStp, kErrorStp};
const Names kTarnelMarkers = {".tarnel.begin.rst", ".tarnel.end.rst", ".tarnel.error.rst"};

TEST_F(StepResetTest, WorksWithoutMarkers) {
    EXPECT_TRUE(reset());
}

TEST_F(StepResetTest, RemovesEachKindAndNothingElse) {
    const Names others = {".place.begin.rst", ".My_Flow.queue.rst", ".stop.rst", "synth.log"};
    mark(kPlainMarkers);
    mark(others);
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kPlainMarkers), Names());
    EXPECT_EQ(left(others), others);
}

TEST_F(StepResetTest, RemovesOneSuffixAtATime) {
    mark(kPlainMarkers);
    mark(kOtherMarkers);
    poll();
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kPlainMarkers), Names());
    EXPECT_EQ(left(kOtherMarkers), kOtherMarkers);
    EXPECT_EQ(poll(), kDone);
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kOtherMarkers), Names());
}

TEST_F(StepResetTest, StopsAtTheFirstMarkerThatStays) {
    mark(kPlainMarkers);
    test::FaultyDisk disk;
    disk.failOnce(2, EACCES);
    EXPECT_FALSE(reset());
    EXPECT_EQ(disk.calls(), 2);
    EXPECT_EQ(left(kPlainMarkers), (Names{kEnd, kError}));
}

TEST_F(StepResetTest, LeavesTheMarkersOfTheProcessWhenTheStepsOwnStays) {
    m_installation.setProgramName("tarnel");
    mark({kBegin});
    mark(kTarnelMarkers);
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    EXPECT_FALSE(reset());
    EXPECT_EQ(disk.calls(), 1);
    EXPECT_EQ(left(kTarnelMarkers), kTarnelMarkers);
}

TEST_F(StepResetTest, IgnoresMarkersOfTheProcessThatStay) {
    m_installation.setProgramName("tarnel");
    mark({".tarnel.begin.rst", ".tarnel.end.rst"});
    test::FaultyDisk disk;
    disk.failAll("unlinkAt", EACCES);
    EXPECT_TRUE(reset());
    EXPECT_EQ(disk.calls(), 2);
}

TEST_F(StepResetTest, RemovesTheMarkersOfTheProcessFromTarnel) {
    m_installation.setProgramName("tarnel");
    mark(kTarnelMarkers);
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kTarnelMarkers), Names());
}

TEST_F(StepResetTest, RemovesTheMarkersOfTheProcessBesideTheStepsOwn) {
    m_installation.setProgramName("zbk");
    mark(kPlainMarkers);
    mark(kTarnelMarkers);
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kPlainMarkers), Names());
    EXPECT_EQ(left(kTarnelMarkers), Names());
}

TEST_F(StepResetTest, LeavesTheMarkersOfTarnelToTarnel) {
    mark(kTarnelMarkers);
    EXPECT_TRUE(reset());
    EXPECT_EQ(left(kTarnelMarkers), kTarnelMarkers);
}

TEST_F(StepResetTest, RemovesTheErrorOfAnotherProcessThatItCharges) {
    mark({kOtherError, ".ridgeLine.begin.rst"});
    EXPECT_TRUE(reset());
    EXPECT_EQ(left({kOtherError, ".ridgeLine.begin.rst"}), Names{".ridgeLine.begin.rst"});
}

TEST_F(StepResetTest, LeavesTheErrorOfAnotherProcessInTarnel) {
    m_installation.setProgramName("tarnel");
    mark({kOtherError});
    EXPECT_TRUE(reset());
    EXPECT_EQ(left({kOtherError}), Names{kOtherError});
}

}  // namespace
