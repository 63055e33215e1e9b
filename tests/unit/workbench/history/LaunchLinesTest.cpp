// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/launchLines.h"

#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/history/LaunchedProject.h"

namespace {

using test::LaunchedProject;
using workbench::LaunchLines;
using workbench::LaunchRecord;

/// A file "l" of launches.
class LaunchLinesTest : public ::testing::Test {
protected:
    std::string path() const { return m_dir.path("l"); }
    LaunchLines read() const {
        LaunchLines lines;
        std::string reason;
        EXPECT_TRUE(workbench::readLaunches(path(), lines, reason)) << reason;
        return lines;
    }
    std::vector<std::string> launches() const {
        std::vector<std::string> ids;
        for (const LaunchRecord& record : read().records)
            ids.push_back(record.launch);
        return ids;
    }
    bool add(const std::string& id) const {
        return workbench::addLaunch(path(), LaunchedProject::record("impl_1", id, 1000));
    }
    using Ids = std::vector<std::string>;

    test::RunDir m_dir;
};

TEST_F(LaunchLinesTest, GiveBackWhatWasWritten) {
    LaunchRecord record = LaunchedProject::record("impl_1", "l1", 1000);
    record.sweep = "s";
    record.family = "f";
    record.options["place_design.more"] = "a \"b\"\n\\ ä";
    record.figures["icetime_mhz"] = 48.123456789012345;
    LaunchRecord back;
    std::string reason;
    ASSERT_TRUE(workbench::parseLine(workbench::lineOf(record), back, reason)) << reason;
    EXPECT_EQ(workbench::lineOf(back), workbench::lineOf(record));
    EXPECT_EQ(back.options, record.options);
    EXPECT_EQ(back.figures, record.figures);
    EXPECT_EQ(back.steps[1].seconds, 5);
    EXPECT_EQ(back.family, "f");
}

TEST_F(LaunchLinesTest, AreOfOneLineWhateverTheTexts) {
    LaunchRecord record = LaunchedProject::record("impl_1", "l1", 1000);
    record.options["o"] = "a\nb\r\xff";
    EXPECT_EQ(workbench::lineOf(record).find('\n'), std::string::npos);
    LaunchRecord back;
    std::string reason;
    EXPECT_TRUE(workbench::parseLine(workbench::lineOf(record), back, reason));
}

TEST_F(LaunchLinesTest, AreNoneOfAMissingFile) {
    EXPECT_TRUE(read().records.empty());
}

TEST_F(LaunchLinesTest, KeepTheirOrder) {
    EXPECT_TRUE(add("l1"));
    EXPECT_TRUE(add("l2"));
    EXPECT_EQ(launches(), (Ids{"l1", "l2"}));
}

TEST_F(LaunchLinesTest, HoldALaunchOnce) {
    EXPECT_TRUE(add("l1"));
    EXPECT_FALSE(add("l1"));
    EXPECT_EQ(launches(), Ids{"l1"});
}

TEST_F(LaunchLinesTest, LoseOnlyTheLastOneWhereverTheFileIsCut) {
    add("l1");
    const std::string first = m_dir.read("l");
    add("l2");
    const std::string both = m_dir.read("l");
    for (std::size_t size = first.size(); size < both.size(); ++size) {
        m_dir.mark("l", both.substr(0, size));
        // All but the end of the line is a whole one.
        const bool isWhole = size + 1 == both.size();
        EXPECT_EQ(launches(), (isWhole ? Ids{"l1", "l2"} : Ids{"l1"})) << size;
        EXPECT_EQ(read().badCount, 0U) << size;
        EXPECT_TRUE(add("l3")) << size;
        EXPECT_EQ(launches(), (isWhole ? Ids{"l1", "l2", "l3"} : Ids{"l1", "l3"})) << size;
        EXPECT_EQ(read().badCount, 0U) << size;
    }
}

TEST_F(LaunchLinesTest, ThatAreNoneArePassedOverAndCounted) {
    add("l1");
    const std::string good = m_dir.read("l");
    m_dir.mark("l", "what\n[1]\n\n{\"format\":1}\n{\"format\":2,\"launch\":\"x\"}\n" + good);
    const LaunchLines lines = read();
    EXPECT_EQ(launches(), Ids{"l1"});
    EXPECT_EQ(lines.badCount, 4U);
    EXPECT_EQ(lines.reason, "a line is no JSON object");
}

TEST_F(LaunchLinesTest, PassOverMembersOfOtherKinds) {
    m_dir.mark("l", "{\"format\":1,\"launch\":\"l1\",\"run\":7,\"launched\":\"x\",\"ended\":-1,"
                    "\"began\":1e300,\"steps\":[1,{\"step\":[]}],\"options\":[],"
                    "\"figures\":{\"fmax\":\"x\",\"luts\":3}}\n");
    const LaunchRecord record = read().records.at(0);
    EXPECT_EQ(record.run, "");
    EXPECT_EQ(record.launched, 0);
    EXPECT_EQ(record.ended, 0);
    EXPECT_EQ(record.began, 0);
    EXPECT_EQ(record.steps.size(), 1U);
    EXPECT_EQ(record.figures, (std::map<std::string, double>{{"luts", 3}}));
}

TEST_F(LaunchLinesTest, OfDeepNestingAreRefusedLikeOthers) {
    m_dir.mark("l", std::string(100000, '[') + "\n");
    EXPECT_EQ(read().badCount, 1U);
}

TEST_F(LaunchLinesTest, OfAHugeFileAreThoseOfItsEnd) {
    add("l1");
    const std::string good = m_dir.read("l");
    m_dir.mark("l", std::string(workbench::kLargestLaunches, 'x') + "\n" + good);
    const LaunchLines lines = read();
    EXPECT_TRUE(lines.isCut);
    EXPECT_EQ(lines.badCount, 0U);
    EXPECT_EQ(launches(), Ids{"l1"});
    EXPECT_TRUE(add("l2"));
    EXPECT_EQ(launches(), (Ids{"l1", "l2"}));
}

TEST_F(LaunchLinesTest, AreNotReadThroughALink) {
    m_dir.mark("other", workbench::lineOf(LaunchedProject::record("r", "l1", 1)) + "\n");
    ASSERT_EQ(::symlink(m_dir.path("other").c_str(), path().c_str()), 0);
    LaunchLines lines;
    std::string reason;
    EXPECT_FALSE(workbench::readLaunches(path(), lines, reason));
    EXPECT_EQ(reason, "it is a link");
    const std::string before = m_dir.read("other");
    EXPECT_THAT(test::thrownText<HEXUserException>([this] { add("l2"); }),
                ::testing::HasSubstr("it is a link"));
    EXPECT_EQ(m_dir.read("other"), before);
}

TEST_F(LaunchLinesTest, AreNotWaitedForInAPipe) {
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    LaunchLines lines;
    std::string reason;
    EXPECT_FALSE(workbench::readLaunches(path(), lines, reason));
    EXPECT_EQ(reason, "it is no regular file");
}

TEST_F(LaunchLinesTest, AreWholeWhicheverSystemCallFails) {
    const std::string one = workbench::lineOf(LaunchedProject::record("impl_1", "l1", 1000)) + "\n";
    int failures = 0;
    for (int call = 1; call < 50; ++call) {
        m_dir.mark("l", one + one.substr(0, one.size() / 2));
        bool isClean = false;
        bool isRefused = false;
        {
            test::FaultyDisk disk;
            disk.failOnce(call, EIO);
            try {
                EXPECT_TRUE(add("new")) << call;
            } catch (const HEXUserException&) {
                isRefused = true;
            }
            isClean = !disk.hasFailed();
        }
        EXPECT_EQ(launches().front(), "l1") << call;
        EXPECT_TRUE(isRefused || launches().back() == "new") << call;
        // What couldn't be synced may be there; added again it stands once.
        add("new");
        EXPECT_EQ(launches(), (Ids{"l1", "new"})) << call;
        if (isClean)
            break;
        ++failures;
    }
    EXPECT_GT(failures, 3);
}

}  // namespace
