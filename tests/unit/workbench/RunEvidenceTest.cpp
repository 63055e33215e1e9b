// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runEvidence.h"

#include <ctime>
#include <optional>
#include <ostream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"

namespace {

using Life = HUTProcessHandle::Life;
using Verdict = workbench::RunEvidence::Verdict;
using workbench::LifeSigns;
using workbench::RunLife;

constexpr bool kHere = true;
constexpr bool kElsewhere = false;
constexpr RunLife kLives = RunLife::kAlive;
constexpr RunLife kIsGone = RunLife::kGone;
constexpr RunLife kDoubt = RunLife::kUnknown;
const std::optional<long> kUntold;

struct SignsCase {
    const char* name;
    LifeSigns signs;
    Verdict verdict;
};

std::ostream& operator<<(std::ostream& os, const SignsCase& row) {
    return os << row.name;
}

class LifeSignsTable : public ::testing::TestWithParam<SignsCase> {};

TEST_P(LifeSignsTable, GiveTheVerdict) {
    EXPECT_EQ(workbench::judge(GetParam().signs), GetParam().verdict);
}

INSTANTIATE_TEST_SUITE_P(
    Here, LifeSignsTable,
    ::testing::Values(
        SignsCase{"AllAlive", {kHere, kLives, kLives, Life::kAlive, 5}, Verdict::kAlive},
        SignsCase{"BetweenTwoSteps", {kHere, kLives, kLives, Life::kGone, 5}, Verdict::kAlive},
        SignsCase{"LockHeldByAStrayGrandchild",
                  {kHere, kLives, kLives, Life::kGone, 60},
                  Verdict::kUnknown},
        SignsCase{
            "ProcessThatClosedTheLock", {kHere, kLives, kIsGone, Life::kAlive, 0}, Verdict::kAlive},
        SignsCase{"LongSilenceOfALivingRun",
                  {kHere, kLives, kLives, Life::kAlive, 90000},
                  Verdict::kAlive},
        SignsCase{"AllGone", {kHere, kIsGone, kIsGone, Life::kGone, 0}, Verdict::kLost},
        SignsCase{"AllGoneWithoutALock", {kHere, kIsGone, kDoubt, Life::kGone, 0}, Verdict::kLost},
        SignsCase{"HostStartedAnew", {kHere, kIsGone, kIsGone, Life::kEarlier, 0}, Verdict::kLost},
        SignsCase{"BeforeTheFirstStep",
                  {kHere, kIsGone, kIsGone, Life::kUnknown, kUntold},
                  Verdict::kLost}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Elsewhere, LifeSignsTable,
    ::testing::Values(SignsCase{"JobIsThere",
                                {kElsewhere, kLives, kIsGone, Life::kUnknown, 900},
                                Verdict::kAlive},
                      SignsCase{"LockIsHeldByAnotherHost",
                                {kElsewhere, kDoubt, kLives, Life::kUnknown, 900},
                                Verdict::kAlive},
                      SignsCase{"LockIsHeldThoughTheQueueDeniesTheJob",
                                {kElsewhere, kIsGone, kLives, Life::kUnknown, 900},
                                Verdict::kUnknown},
                      SignsCase{"JobIsGoneAndAllIsSilent",
                                {kElsewhere, kIsGone, kIsGone, Life::kUnknown, 60},
                                Verdict::kLost},
                      SignsCase{"JobIsGoneButJustWrote",
                                {kElsewhere, kIsGone, kIsGone, Life::kUnknown, 59},
                                Verdict::kAlive},
                      SignsCase{"JobIsGoneWithoutAClockToAsk",
                                {kElsewhere, kIsGone, kIsGone, Life::kUnknown, kUntold},
                                Verdict::kUnknown},
                      SignsCase{"FreeLockProvesNothing",
                                {kElsewhere, kDoubt, kIsGone, Life::kUnknown, 90000},
                                Verdict::kUnknown},
                      SignsCase{"PlaceCanNotBeAskedButTheLogGrows",
                                {kElsewhere, kDoubt, kDoubt, Life::kUnknown, 3},
                                Verdict::kAlive},
                      SignsCase{"NothingIsKnown",
                                {kElsewhere, kDoubt, kDoubt, Life::kUnknown, kUntold},
                                Verdict::kUnknown}),
    [](const auto& row) { return std::string(row.param.name); });

class SilenceTest : public ::testing::Test {
protected:
    std::optional<long> silence() const {
        return workbench::secondsOfSilence(m_dir.path(), {"runme.log", ".launch.xml"});
    }
    /// Makes `name`, written so many seconds ago.
    void write(const std::string& name, long secondsAgo) const {
        m_dir.mark(name, "text");
        m_dir.touch(name, static_cast<long>(std::time(nullptr)) - secondsAgo);
    }

    test::RunDir m_dir;
};

TEST_F(SilenceTest, IsCountedFromTheFileThatWasWrittenLast) {
    write("runme.log", 900);
    write(".launch.xml", 3000);
    ASSERT_TRUE(silence());
    EXPECT_NEAR(*silence(), 900, 60);
}

TEST_F(SilenceTest, IsNotToldWithoutAnyFile) {
    EXPECT_FALSE(silence());
}

TEST_F(SilenceTest, IsNotToldOfAFileAheadOfTheClock) {
    write("runme.log", -3600);
    EXPECT_FALSE(silence());
    write(".launch.xml", 900);
    EXPECT_FALSE(silence());
}

TEST_F(SilenceTest, IsNotToldWhenTheFolderIsGone) {
    EXPECT_FALSE(workbench::secondsOfSilence(m_dir.path("gone"), {"runme.log"}));
}

TEST_F(SilenceTest, LeavesNothingBehind) {
    write("runme.log", 900);
    silence();
    m_dir.unmark("runme.log");
    EXPECT_EQ(rmdir(m_dir.path().c_str()), 0);
    mkdir(m_dir.path().c_str(), 0755);
}

TEST(DurationTest, IsToldInTheUnitThatPeopleUse) {
    EXPECT_EQ(workbench::roughDuration(0), "0 s");
    EXPECT_EQ(workbench::roughDuration(119), "119 s");
    EXPECT_EQ(workbench::roughDuration(120), "2 min");
    EXPECT_EQ(workbench::roughDuration(7199), "119 min");
    EXPECT_EQ(workbench::roughDuration(7200), "2 h");
    EXPECT_EQ(workbench::roughDuration(400000), "4 days");
}

}  // namespace
