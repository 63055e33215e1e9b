// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/doctor.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/exitStatus.h"
#include "tests/support/RunDir.h"

using namespace shell;

namespace {

struct VersionCase {
    const char* name;
    const char* one;
    const char* other;
    bool isOlder;
};

std::ostream& operator<<(std::ostream& os, const VersionCase& row) {
    return os << row.name;
}

class VersionTable : public ::testing::TestWithParam<VersionCase> {};

TEST_P(VersionTable, TellsTheOlder) {
    EXPECT_EQ(isOlderVersion(GetParam().one, GetParam().other), GetParam().isOlder);
}

INSTANTIATE_TEST_SUITE_P(
    All, VersionTable,
    ::testing::Values(VersionCase{"ByNumber", "Yosys 0.9 (git 1979)", "0.10", true},
                      VersionCase{"Same", "Yosys 0.23 (git sha1 7ce)", "0.23", false},
                      VersionCase{"Newer", "Yosys 0.37", "0.23", false},
                      VersionCase{"WithAnotherPart", "0.23+4", "0.23", false},
                      VersionCase{"NumberInTheName", "nextpnr-ice40 0.3-1", "0.4", true},
                      VersionCase{"NumberInTheNameNewer", "nextpnr-ice40 0.4-1", "0.4", false},
                      VersionCase{"Major", "1.0", "0.23", false},
                      VersionCase{"NoOldest", "0.1", "", false}),
    [](const auto& row) { return std::string(row.param.name); });

ToolFacts goodTool() {
    return {"yosys", "yosys", "/usr/bin/yosys", true, "Yosys 0.23", "0.10", "0.23"};
}

TEST(JudgeToolTest, IsContentWithAGoodTool) {
    const Check check = judgeTool(goodTool());
    EXPECT_EQ(check.health, Health::kOk);
    EXPECT_EQ(check.text, "Yosys 0.23 in /usr/bin/yosys");
    EXPECT_EQ(check.advice, "");
}

TEST(JudgeToolTest, NamesThePackageOfAMissingTool) {
    ToolFacts tool = goodTool();
    tool.path.clear();
    const Check check = judgeTool(tool);
    EXPECT_EQ(check.health, Health::kBad);
    EXPECT_EQ(check.advice, "apt-get install yosys, or add its folder to PATH");
}

TEST(JudgeToolTest, DoesntTakeSilenceForAVersion) {
    ToolFacts tool = goodTool();
    tool.version = "usage: yosys";
    EXPECT_EQ(judgeTool(tool).health, Health::kBad);
    tool.isAsked = false;
    EXPECT_EQ(judgeTool(tool).health, Health::kOk);
}

FolderFacts goodFolder() {
    FolderFacts folder;
    folder.path = "/p";
    folder.system = "ext";
    folder.freeBytes = std::uint64_t{50} << 30;
    folder.freeFiles = 1000000;
    folder.countsFiles = true;
    return folder;
}

Health healthOf(const FolderFacts& folder, const std::string& name) {
    for (const Check& check : judgeFolder(folder))
        if (check.name == name) {
            EXPECT_EQ(check.advice.empty(), check.health == Health::kOk) << check.text;
            return check.health;
        }
    ADD_FAILURE() << "no check " << name;
    return Health::kOk;
}

TEST(JudgeFolderTest, IsContentWithAGoodFolder) {
    for (const Check& check : judgeFolder(goodFolder()))
        EXPECT_EQ(check.health, Health::kOk) << check.name;
}

TEST(JudgeFolderTest, RefusesOneThatCantBeWritten) {
    FolderFacts folder = goodFolder();
    folder.writeError = "Permission denied";
    EXPECT_EQ(healthOf(folder, "writable"), Health::kBad);
    // Without a file there is no time to compare.
    EXPECT_EQ(judgeFolder(folder).size(), 3U);
}

TEST(JudgeFolderTest, WarnsOfLittleSpaceAndRefusesNone) {
    FolderFacts folder = goodFolder();
    folder.freeBytes = std::uint64_t{100} << 20;
    EXPECT_EQ(healthOf(folder, "space"), Health::kWarn);
    folder.freeBytes = 4096;
    EXPECT_EQ(healthOf(folder, "space"), Health::kBad);
    folder = goodFolder();
    folder.freeFiles = 3;
    EXPECT_EQ(healthOf(folder, "space"), Health::kBad);
    folder.countsFiles = false;
    EXPECT_EQ(healthOf(folder, "space"), Health::kOk);
}

TEST(JudgeFolderTest, KnowsFileSystemsThatDontLastOrDontFit) {
    FolderFacts folder = goodFolder();
    folder.system = "tmpfs";
    EXPECT_EQ(healthOf(folder, "file system"), Health::kWarn);
    folder.system = "fat";
    EXPECT_EQ(healthOf(folder, "file system"), Health::kBad);
    folder.system = "";
    EXPECT_EQ(healthOf(folder, "file system"), Health::kOk);
}

TEST(JudgeFolderTest, WarnsOfAClockThatIsOffEitherWay) {
    FolderFacts folder = goodFolder();
    for (const double ahead : {-2.5, 2.5}) {
        folder.aheadSec = ahead;
        EXPECT_EQ(healthOf(folder, "clock"), Health::kWarn);
    }
    folder.aheadSec = 1.9;
    EXPECT_EQ(healthOf(folder, "clock"), Health::kOk);
}

TEST(LookAtFolderTest, LeavesNothingBehind) {
    const test::RunDir dir;
    const FolderFacts facts = lookAtFolder(dir.path());
    EXPECT_EQ(facts.writeError, "");
    EXPECT_GT(facts.freeBytes, 0U);
    EXPECT_EQ(lookAtFolder(dir.path("nosuch")).writeError, "No such file or directory");
}

TEST(DoctorStatusTest, IsThatOfTheWorst) {
    EXPECT_EQ(exitStatusOf({}), kExitDone);
    EXPECT_EQ(exitStatusOf({{"tools", "a", Health::kWarn, "", ""}}), kExitDone);
    const Check folder{"folder", "a", Health::kBad, "", ""};
    EXPECT_EQ(exitStatusOf({folder}), kExitRefused);
    EXPECT_EQ(exitStatusOf({folder, {"grid", "a", Health::kBad, "", ""}}), kExitToolMissing);
    EXPECT_EQ(exitStatusOf({{"tools", "a", Health::kBad, "", ""}, folder}), kExitToolMissing);
}

}  // namespace
