// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/remoteCall.h"

#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "environment/process/commandLine.h"
#include "tests/support/FakeClock.h"
#include "tests/support/RunDir.h"

namespace {

using process::RemoteAnswer;
using End = process::RemoteAnswer::End;

constexpr long kMinuteMs = 60000;

/// The command "remote" stands for the way to host "node7". At first it runs what it is
/// given in a shell, as a login there would.
class RemoteCallTest : public ::testing::Test {
protected:
    RemoteCallTest() {
        remote("echo \"$1\" >'" + m_dir.path("host") + "'; shift; exec sh -c \"$*\"");
    }

    void remote(const std::string& body) const {
        m_dir.mark("remote", "#!/bin/sh\n" + body + "\n");
        EXPECT_EQ(::chmod(m_dir.path("remote").c_str(), 0755), 0);
    }
    RemoteAnswer call(const std::string& word, long limitMs = kMinuteMs) const {
        return process::callHost(m_dir.path("remote"), "node7", word, limitMs);
    }

    test::RunDir m_dir;
};

TEST_F(RemoteCallTest, GivesStatusAndOutputOfWhatRanThere) {
    const RemoteAnswer answer = call("echo out; echo err >&2; exit 3");
    EXPECT_EQ(answer.end, End::kEnded);
    EXPECT_EQ(answer.status, 3);
    EXPECT_EQ(answer.output, "out\nerr\n");
    EXPECT_EQ(m_dir.read("host"), "node7\n");
}

TEST_F(RemoteCallTest, PassesEveryArgumentAsItIs) {
    const std::string odd = "a 'b' \"c\" $d `e` \\f * ; & | < > ( ) # ~ ! {g} %h ^ \xC3\xA4";
    const RemoteAnswer answer = call(process::remoteWord(
        "for a in \"$@\"; do\n  printf \"<%s>\" \"$a\";\ndone", {odd, "", "-n"}));
    EXPECT_EQ(answer.output, "<" + odd + "><><-n>");
}

TEST_F(RemoteCallTest, SendsOneLine) {
    EXPECT_EQ(process::remoteWord("a;\nb", {"c"}), "exec sh -c 'a; b' xp 'c'");
}

TEST_F(RemoteCallTest, SaysWhyTheCommandDidNotStart) {
    const RemoteAnswer answer =
        process::callHost(m_dir.path("missing"), "node7", "true", kMinuteMs);
    EXPECT_EQ(answer.end, End::kNotStarted);
    EXPECT_EQ(answer.status, -1);
    EXPECT_EQ(answer.output, m_dir.path("missing") + ": No such file or directory");
}

TEST_F(RemoteCallTest, EndsACommandThatHangs) {
    test::FakeClock clock;
    remote("trap '' TERM HUP; echo asking; while :; do read -r x <'" + m_dir.path("never") +
           "'; done");
    ASSERT_EQ(::mkfifo(m_dir.path("never").c_str(), 0600), 0);
    const RemoteAnswer answer = call("true");
    EXPECT_EQ(answer.end, End::kTimedOut);
    EXPECT_EQ(answer.status, -1);
    EXPECT_GE(clock.nowMs(), kMinuteMs);
    EXPECT_LT(clock.nowMs(), kMinuteMs + 100);
}

TEST_F(RemoteCallTest, EndsACommandThatWritesWithoutEnd) {
    remote("exec yes");
    const RemoteAnswer answer = call("true");
    EXPECT_EQ(answer.end, End::kTimedOut);
    EXPECT_EQ(answer.output.size(), 1000000U);
}

TEST_F(RemoteCallTest, WaitsAsLongAsItTakesWithoutALimit) {
    test::FakeClock clock;
    const std::string gate = m_dir.path("gate");
    clock.onSleep([&] {
        if (clock.nowMs() > 2 * kMinuteMs)
            m_dir.mark("gate");
    });
    const RemoteAnswer answer =
        call("while [ ! -e '" + gate + "' ]; do :; done; exit 4", process::kNoLimit);
    EXPECT_EQ(answer.end, End::kEnded);
    EXPECT_EQ(answer.status, 4);
}

TEST_F(RemoteCallTest, FindsTheLastLineThatSaysSomething) {
    RemoteAnswer answer;
    EXPECT_EQ(answer.lastLine(), "");
    answer.output = "banner\r\nnode7: Connection refused \r\n\n";
    EXPECT_EQ(answer.lastLine(), "node7: Connection refused");
}

TEST_F(RemoteCallTest, TellsAHostFromASwitchAndFromWordsOfAShell) {
    for (const char* good : {"node7", "a.b-c_d", "10.0.0.1", "fe80::1"})
        EXPECT_TRUE(process::isHostName(good)) << good;
    for (const char* bad : {"", "-oProxyCommand=x", "a b", "a;b", "$(x)", "a\nb"})
        EXPECT_FALSE(process::isHostName(bad)) << bad;
}

}  // namespace
