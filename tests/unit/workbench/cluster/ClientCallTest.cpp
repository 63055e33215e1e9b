// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/clientCall.h"

#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/workbench/cluster/SchedulerBench.h"

namespace {

using cluster::ClientAnswer;

/// Whether the process is there and has not ended.
bool lives(long pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number;
    std::string name;
    std::string state;
    return (file >> number >> name >> state) && state != "Z" && state != "X";
}

class ClientCallTest : public ::testing::Test {
protected:
    ClientAnswer call(const std::string& commands) {
        m_bench.program("client", commands);
        m_call.words.insert(m_call.words.begin(), "client");
        return cluster::callClient(m_call);
    }

    test::SchedulerBench m_bench;
    cluster::ClientCall m_call;
};

TEST_F(ClientCallTest, GivesOutputErrorsAndStatus) {
    const ClientAnswer answer = call("echo out; echo err >&2; exit 7");
    EXPECT_EQ(answer.end, ClientAnswer::kEnded);
    EXPECT_EQ(answer.status, 7);
    EXPECT_EQ(answer.text, "out\nerr\n");
    EXPECT_TRUE(answer.isRefusal());
    EXPECT_FALSE(answer.isGood());
}

TEST_F(ClientCallTest, PassesWordsVariablesAndTheFolderOn) {
    m_call.words = {"a b", "$HOME", ";"};
    m_call.variables.emplace_back("COLOUR", "green");
    m_call.workingDir = m_bench.path("bin");
    EXPECT_EQ(call("for word; do echo \"<$word>\"; done; echo $COLOUR; pwd").text,
              "<a b>\n<$HOME>\n<;>\ngreen\n" + m_bench.path("bin") + "\n");
}

TEST_F(ClientCallTest, ThatIsNotThereIsNotStarted) {
    m_call.words = {"gone"};
    const ClientAnswer answer = cluster::callClient(m_call);
    EXPECT_EQ(answer.end, ClientAnswer::kNotStarted);
    EXPECT_EQ(answer.told(), "gone: No such file or directory");
    EXPECT_FALSE(answer.isRefusal());
}

TEST_F(ClientCallTest, ThatHangsIsKilledWithWhatItStarted) {
    const ClientAnswer answer =
        call("sh -c 'echo $$ >\"$0/child\"; while :; do read -r x <\"$0\"; done' \"$bench\" &\n"
             "while ! [ -s \"$bench/child\" ]; do :; done\necho started\n" +
             std::string(test::SchedulerBench::kHang));
    EXPECT_EQ(answer.end, ClientAnswer::kOverTime);
    EXPECT_EQ(answer.told(), "it didn't end in time: started");
    EXPECT_FALSE(answer.isGood());
    EXPECT_FALSE(answer.isRefusal());
    const long child = std::stol(m_bench.folder().read("child"));
    while (lives(child))
        std::this_thread::yield();
}

TEST_F(ClientCallTest, ThatSaysTooMuchIsKilled) {
    m_call.mostBytes = 1000;
    const ClientAnswer answer =
        call("while :; do echo 'Your job 12 (\"a\") has been submitted'; done");
    EXPECT_EQ(answer.end, ClientAnswer::kTooMuch);
    EXPECT_LE(answer.text.size(), 1000U);
    EXPECT_EQ(answer.told(), "it said more than an answer can be");
}

TEST_F(ClientCallTest, ThatSaysTooMuchAndEndsIsNotBelievedEither) {
    m_call.mostBytes = 3;
    EXPECT_EQ(call("echo 12345").end, ClientAnswer::kTooMuch);
}

TEST_F(ClientCallTest, ThatDiesOfASignalProvesNothing) {
    const ClientAnswer answer = call("kill -9 $$");
    EXPECT_EQ(answer.end, ClientAnswer::kEnded);
    EXPECT_FALSE(answer.isRefusal());
    EXPECT_EQ(answer.told(), "it was killed by signal 9");
}

TEST_F(ClientCallTest, IsToldInItsOwnWordsOnOneLine) {
    EXPECT_EQ(call("printf '\\n  Unable to run job:\\tno \\033[31m such queue  \\n\\n "
                   "Exiting.\\n'; exit 1")
                  .told(),
              "Unable to run job:\\tno \\x1b[31m such queue; Exiting.");
}

TEST_F(ClientCallTest, IsToldByItsStatusWhenItIsSilent) {
    EXPECT_EQ(call("exit 25").told(), "it ended with status 25");
}

TEST_F(ClientCallTest, IsToldAtABoundedLength) {
    const std::string told =
        call("i=0; while [ $i -lt 500 ]; do echo word; i=$((i + 1)); done").told();
    EXPECT_EQ(told.size(), 403U);
    EXPECT_EQ(told.substr(told.size() - 3), "...");
}

}  // namespace
