// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPLaunchOptions.h"

#include <iostream>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/drained.h"
#include "tests/support/thrownText.h"

namespace {

using test::drained;
using test::thrownText;
using ::testing::ElementsAre;
using HostJobs = HAXPLaunchOptions::HostJobs;

// --- plain settings -----------------------------------------------------------------

TEST(LaunchOptionsTest, LaunchOneJobHereAtFirst) {
    const HAXPLaunchOptions options;
    EXPECT_EQ(options.getLaunchDir(), ".");
    EXPECT_EQ(options.getNumJobsSH(), 1);
    EXPECT_EQ(options.getLaunchMode(), 7);
    EXPECT_FALSE(options.getEmailEveryJobMH());
}

TEST(LaunchOptionsTest, NameNothingElseAtFirst) {
    const HAXPLaunchOptions options;
    for (const std::string& text :
         {options.getToStepId(), options.getPreHookScriptMH(), options.getPostHookScriptMH(),
          options.getJobCmdMH(), options.getClusterCmdLine(), options.getClusterName(),
          options.getUserRunScript("impl_1")})
        EXPECT_EQ(text, "");
    EXPECT_EQ(options.hostJobCountMH(), 0);
    EXPECT_TRUE(drained(options.createHostJobIterMH()).empty());
    EXPECT_EQ(options.emailCountMH(), 0);
    EXPECT_TRUE(drained(options.createEmailIterMH()).empty());
}

using Setter = void (HAXPLaunchOptions::*)(const std::string&);
using Getter = const std::string& (HAXPLaunchOptions::*)() const;

struct TextRow {
    const char* name;
    Setter set;
    Getter get;
};

std::ostream& operator<<(std::ostream& os, const TextRow& row) {
    return os << row.name;
}

class LaunchTextTest : public ::testing::TestWithParam<TextRow> {};

TEST_P(LaunchTextTest, IsKeptAsItIs) {
    HAXPLaunchOptions options;
    for (const std::string& text : {std::string(" a  b\n"), std::string()}) {
        (options.*GetParam().set)(text);
        EXPECT_EQ((options.*GetParam().get)(), text);
    }
}

TEST_P(LaunchTextTest, IsGivenByReference) {
    HAXPLaunchOptions options;
    const std::string& text = (options.*GetParam().get)();
    (options.*GetParam().set)("new");
    EXPECT_EQ(text, "new");
}

INSTANTIATE_TEST_SUITE_P(
    Each, LaunchTextTest,
    ::testing::Values(
        TextRow{"ToStepId", &HAXPLaunchOptions::setToStepId, &HAXPLaunchOptions::getToStepId},
        TextRow{"ClusterCmdLine", &HAXPLaunchOptions::setClusterCmdLine,
                &HAXPLaunchOptions::getClusterCmdLine},
        TextRow{"ClusterName", &HAXPLaunchOptions::setClusterName,
                &HAXPLaunchOptions::getClusterName},
        TextRow{"PreHook", &HAXPLaunchOptions::setPreHookScriptMH,
                &HAXPLaunchOptions::getPreHookScriptMH},
        TextRow{"PostHook", &HAXPLaunchOptions::setPostHookScriptMH,
                &HAXPLaunchOptions::getPostHookScriptMH},
        TextRow{"JobCmd", &HAXPLaunchOptions::setJobCmdMH, &HAXPLaunchOptions::getJobCmdMH}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LaunchOptionsTest, KeepAnyLaunchMode) {
    HAXPLaunchOptions options;
    for (const int mode : {0, 3, 7, 12, -1}) {
        options.setLaunchMode(static_cast<HAXPLaunchOptions::LaunchMode>(mode));
        EXPECT_EQ(options.getLaunchMode(), mode);
    }
}

TEST(LaunchOptionsTest, LaunchInTheCurrentFolderWhenToldNone) {
    HAXPLaunchOptions options;
    const std::string& dir = options.getLaunchDir();
    options.setLaunchDir("/w/impl_1");
    EXPECT_EQ(dir, "/w/impl_1");
    options.setLaunchDir("");
    EXPECT_EQ(dir, ".");
}

TEST(LaunchOptionsTest, TakeAnyNumberOfJobsAboveZero) {
    HAXPLaunchOptions options;
    for (const int jobs : {8, 1, std::numeric_limits<int>::max()}) {
        options.setNumJobsSH(jobs);
        EXPECT_EQ(options.getNumJobsSH(), jobs);
    }
}

TEST(LaunchOptionsTest, RefuseToLaunchNoJobs) {
    HAXPLaunchOptions options;
    options.setNumJobsSH(4);
    for (const int jobs : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(thrownText<HEXAlgException>([&] { options.setNumJobsSH(jobs); }),
                  "# jobs must be >= 0 for exp launch");
    EXPECT_EQ(options.getNumJobsSH(), 4);
}

TEST(LaunchOptionsTest, KeepHostsInOrderAndUnchecked) {
    HAXPLaunchOptions options;
    options.addHostMH("b", 2);
    options.addHostMH("a", 0);
    options.addHostMH("b", -7);
    options.addHostMH("", 1);
    EXPECT_EQ(options.hostJobCountMH(), 4);
    EXPECT_THAT(
        drained(options.createHostJobIterMH()),
        ElementsAre(HostJobs("b", 2), HostJobs("a", 0), HostJobs("b", -7), HostJobs("", 1)));
}

TEST(LaunchOptionsTest, KeepAddressesInOrderAndUnchecked) {
    HAXPLaunchOptions options;
    for (const char* address : {"b@x", "a", "b@x", ""})
        options.addEmailMH(address);
    EXPECT_EQ(options.emailCountMH(), 4);
    EXPECT_THAT(drained(options.createEmailIterMH()), ElementsAre("b@x", "a", "b@x", ""));
}

TEST(LaunchOptionsTest, MayBeWalkedInPart) {
    HAXPLaunchOptions options;
    options.addHostMH("a", 1);
    options.addHostMH("b", 2);
    const std::unique_ptr<HSTFwdIter<HostJobs>> hosts(options.createHostJobIterMH());
    EXPECT_EQ(hosts->next(), HostJobs("a", 1));
    EXPECT_TRUE(hosts->hasNext());
}

TEST(LaunchOptionsTest, NotifyAfterEveryJobWhenTold) {
    HAXPLaunchOptions options;
    options.setEmailEveryJobMH(true);
    EXPECT_TRUE(options.getEmailEveryJobMH());
    options.setEmailEveryJobMH(false);
    EXPECT_FALSE(options.getEmailEveryJobMH());
}

TEST(LaunchOptionsTest, ShareNothingWithTheirCopies) {
    HAXPLaunchOptions options;
    options.addHostMH("a", 1);
    HAXPLaunchOptions copy = options;
    copy.addHostMH("b", 2);
    EXPECT_EQ(options.hostJobCountMH(), 1);
    EXPECT_EQ(copy.hostJobCountMH(), 2);
}

// --- run scripts of the user --------------------------------------------------------

/// A map file "map" in a folder with scripts. Every message is expected.
class UserRunScriptTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(m_messages.summaries(), ElementsAre()); }

    void read(const std::string& content) {
        m_dir.mark("map", content);
        m_options.setUserRunScript(m_dir.path("map"));
        expectMessage("INFO 36-381(" + m_dir.path("map") + ")");
    }
    /// The script of `key`; what it prints goes to `m_printed`.
    std::string script(const std::string& key) {
        ::testing::internal::CaptureStdout();
        std::string path = m_options.getUserRunScript(key);
        m_printed = ::testing::internal::GetCapturedStdout();
        return path;
    }
    /// What the map holds for `key`, which names no file; "no entry" without one.
    std::string value(const std::string& key) {
        EXPECT_EQ(script(key), "");
        const std::string before = "User run script: ";
        if (m_printed.empty())
            return "no entry";
        EXPECT_EQ(m_printed.substr(0, before.size()), before);
        EXPECT_EQ(m_printed.back(), '\n');
        const std::string text = m_printed.substr(before.size());
        std::string found = text.substr(0, text.size() - 1);
        expectMessage("WARNING 36-377(" + found + ")");
        return found;
    }
    void expectMessage(const std::string& message) {
        EXPECT_THAT(m_messages.summaries(), ElementsAre("runs " + message));
        m_messages.clear();
    }

    test::RunDir m_dir;
    test::MessageRecorder m_messages;
    HAXPLaunchOptions m_options;
    std::string m_printed;
};

TEST_F(UserRunScriptTest, IsTheFileThatTheMapNames) {
    m_dir.mark("run.sh");
    read("impl_1: " + m_dir.path("run.sh") + "\n");
    EXPECT_EQ(script("impl_1"), m_dir.path("run.sh"));
    EXPECT_EQ(m_printed, "User run script: " + m_dir.path("run.sh") + "\n");
}

/// Standard output while it lives; knows what a reader would have seen of it so far.
class FlushedOutput final : public std::stringbuf {
public:
    FlushedOutput() : m_before(std::cout.rdbuf(this)) {}
    ~FlushedOutput() override { std::cout.rdbuf(m_before); }

    const std::string& seen() const { return m_seen; }

protected:
    int sync() override {
        m_seen = str();
        return 0;
    }

private:
    std::streambuf* m_before;
    std::string m_seen;
};

TEST_F(UserRunScriptTest, IsToldAtOnce) {
    read("impl_1: " + m_dir.path());
    const FlushedOutput output;
    EXPECT_EQ(m_options.getUserRunScript("impl_1"), m_dir.path());
    EXPECT_EQ(output.seen(), "User run script: " + m_dir.path() + "\n");
}

TEST_F(UserRunScriptTest, MayBeAnythingThatExists) {
    read("impl_1:" + m_dir.path());
    EXPECT_EQ(script("impl_1"), m_dir.path());
}

TEST_F(UserRunScriptTest, IsNoneForAKeyThatTheMapDoesntHave) {
    read("impl_1: default\n");
    EXPECT_EQ(script("impl_2"), "");
    EXPECT_EQ(m_printed, "");
    EXPECT_EQ(script("IMPL_1"), "");
    EXPECT_EQ(m_printed, "");
}

TEST_F(UserRunScriptTest, IsNoneWhenTheFileWentAfterReading) {
    m_dir.mark("run.sh");
    read("impl_1: " + m_dir.path("run.sh"));
    m_dir.unmark("run.sh");
    EXPECT_EQ(script("impl_1"), "");
    EXPECT_EQ(m_printed, "User run script: " + m_dir.path("run.sh") + "\n");
    expectMessage("WARNING 36-377(" + m_dir.path("run.sh") + ")");
}

TEST_F(UserRunScriptTest, IsTheGeneratedOneByDefault) {
    read("a: default\nb: DeFault\nc: defaults");
    for (const char* key : {"a", "b"}) {
        EXPECT_EQ(script(key), "");
        expectMessage("WARNING 36-377()");
    }
    EXPECT_EQ(m_printed, "User run script: DeFault\n");
    EXPECT_EQ(value("c"), "defaults");
}

TEST_F(UserRunScriptTest, IsNoneForAnEmptyEntry) {
    read("impl_1:\n");
    EXPECT_EQ(value("impl_1"), "");
}

TEST_F(UserRunScriptTest, TellsThatTheMapIsMissing) {
    read("impl_1: x\n");
    m_options.setUserRunScript(m_dir.path("other"));
    expectMessage("WARNING 36-382(" + m_dir.path("other") + ")");
    m_options.setUserRunScript("");
    expectMessage("WARNING 36-382()");
    EXPECT_EQ(value("impl_1"), "x");
}

TEST_F(UserRunScriptTest, PassesOverAMapThatCantBeOpened) {
    read("impl_1: x\n");
    // No one, root included, opens a socket as a file.
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = m_dir.path("map.socket");
    ASSERT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);
    m_options.setUserRunScript(path);
    EXPECT_EQ(value("impl_1"), "x");
}

TEST_F(UserRunScriptTest, FindsNothingInAFolder) {
    m_options.setUserRunScript(m_dir.path());
    expectMessage("INFO 36-381(" + m_dir.path() + ")");
    EXPECT_EQ(value("impl_1"), "no entry");
}

TEST_F(UserRunScriptTest, AddsWhatALaterMapSays) {
    read("a: 1\nb: 2\n");
    read("b: 3\nc: 4\n");
    EXPECT_EQ(value("a"), "1");
    EXPECT_EQ(value("b"), "3");
    EXPECT_EQ(value("c"), "4");
}

TEST_F(UserRunScriptTest, StaysWhenAMapHoldsOnlyComments) {
    read("a: 1\n");
    read("# a: 2\n#a: 3\n\n");
    EXPECT_EQ(value("a"), "1");
    EXPECT_EQ(value("# a"), "no entry");
}

/// A map file, and what it then holds for a key.
struct LineRow {
    const char* name;
    std::string content;
    std::string key;
    std::string value;
};

std::ostream& operator<<(std::ostream& os, const LineRow& row) {
    return os << row.name;
}

class MapLineTest : public UserRunScriptTest, public ::testing::WithParamInterface<LineRow> {};

TEST_P(MapLineTest, IsTakenApart) {
    read(GetParam().content);
    EXPECT_EQ(value(GetParam().key), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Each, MapLineTest,
    ::testing::Values(
        LineRow{"Plain", "impl_1: /home/me/run.sh", "impl_1", "/home/me/run.sh"},
        LineRow{"BlanksAtEachEnd", "  a  :  b  \n", "a", "b"},
        LineRow{"AnyWhiteSpaceAtEachEnd", "\t\v\f\r a\r\f:\t b\t\v\f\r\n", "a", "b"},
        LineRow{"BlanksInside", "my run: my script.sh\n", "my run", "my script.sh"},
        LineRow{"LineEndsOfWindows", "a: b\r\nc: d\r\n", "a", "b"},
        LineRow{"TwoColons", "a:b:c", "a:b", "c"},
        LineRow{"Drive", "a: C:\\run.bat", "a: C", "\\run.bat"},
        LineRow{"ColonAtTheEnd", "a:b:", "a:b", ""}, LineRow{"EmptyKey", ":b\n", "", "b"},
        LineRow{"BlankKey", "  : b\n", "", "b"}, LineRow{"OnlyAColon", ":", "", ""},
        LineRow{"LaterLineHolds", "a: 1\na: 2\n", "a", "2"},
        LineRow{"NoColon", "a b\nc\n", "a b", "no entry"},
        LineRow{"BehindALineWithoutColon", "nonsense\n\na: b\n", "a", "b"},
        LineRow{"SignOfACommentInside", "a#: b\n", "a#", "b"},
        LineRow{"SignOfACommentBehindABlank", " # a: b\n", "# a", "b"},
        LineRow{"NoLineEnd", "x: y\na: b", "a", "b"},
        LineRow{"BytesAboveAscii", "gr\xc3\xbc\xc3\x9f: b\n", "gr\xc3\xbc\xc3\x9f", "b"},
        LineRow{"ZeroByte", std::string("a\0z: b\n", 7), std::string("a\0z", 3), "b"}),
    [](const auto& row) { return std::string(row.param.name); });

/// Lines that would take a careless matcher for ever, or its stack.
TEST_F(UserRunScriptTest, IsFoundInAMapOfHugeLines) {
    constexpr std::size_t kLength = 4U << 20U;
    read(std::string(kLength, 'x') + "\n" + std::string(kLength, ':') + "\n" +
         std::string(kLength, ' ') + "\na: b\n");
    EXPECT_EQ(value("a"), "b");
    EXPECT_EQ(value(std::string(kLength - 1, ':')), "");
}

}  // namespace
