// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgr.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/ComMsgMgrLogSink.h"
#include "environment/messages/ComMsgMgrSink.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/messages/ComMsgMgrTerminalSink.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"

namespace {

using Texts = std::vector<std::string>;

/// A sink that does what the test says.
class CallSink : public ComMsgMgrSink {
public:
    using Call = std::function<void(const ComMsgMgrInstance&, const ComMsgMgrOrigin&)>;

    explicit CallSink(const Call& call) : m_call(call) {}

    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) override {
        m_call(message, origin);
    }

private:
    Call m_call;
};

/// Plugs a sink in for a scope.
class Plugged {
public:
    explicit Plugged(const std::shared_ptr<ComMsgMgrSink>& sink) : m_sink(sink) {
        ComMsgMgr::addSink(m_sink);
    }
    ~Plugged() { ComMsgMgr::removeSink(m_sink); }

    Plugged(const Plugged&) = delete;
    Plugged& operator=(const Plugged&) = delete;

private:
    std::shared_ptr<ComMsgMgrSink> m_sink;
};

std::shared_ptr<ComMsgMgrSink> calling(const CallSink::Call& call) {
    return std::make_shared<CallSink>(call);
}

/// "Run scripts are taken from <path>."
void sendInfo(const std::string& path) {
    ComMsgMgr::sendMsg::eval(3, "source.cpp", 12, "runs", ComMsgMgr::kInfo, "@36-381@%s", path);
}

void sendWarning(const std::string& reportName) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-372@%s",
                             reportName);
}

TEST(SendMessageTest, ReachesEverySinkInTheOrderOfPlugging) {
    Texts heard;
    const Plugged first(
        calling([&](auto& message, auto&) { heard.push_back("1 " + message.getId()); }));
    const Plugged second(
        calling([&](auto& message, auto&) { heard.push_back("2 " + message.getId()); }));
    sendInfo("a");
    EXPECT_EQ(heard, (Texts{"1 36-381", "2 36-381"}));
}

TEST(SendMessageTest, HandsTheOriginOn) {
    Texts heard;
    const Plugged sink(calling([&](auto&, auto& origin) {
        heard.push_back(std::to_string(origin.ordinal) + " " + origin.file + ":" +
                        std::to_string(origin.line));
    }));
    sendInfo("a");
    EXPECT_EQ(heard, Texts{"3 source.cpp:12"});
}

TEST(SendMessageTest, WritesNothingToTheTerminalWithoutASink) {
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
    sendWarning("report_drc");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(SendMessageTest, HearsAMessageOnceThoughTheSinkWasPluggedTwice) {
    int count = 0;
    const auto sink = calling([&](auto&, auto&) { ++count; });
    const Plugged first(sink);
    const Plugged second(sink);
    sendInfo("a");
    EXPECT_EQ(count, 1);
}

TEST(SendMessageTest, IgnoresANullSinkAndAStranger) {
    test::MessageRecorder messages;
    ComMsgMgr::addSink(nullptr);
    ComMsgMgr::removeSink(calling([](auto&, auto&) {}));
    sendInfo("a");
    EXPECT_EQ(messages.ids(), Texts{"36-381"});
}

TEST(SendMessageTest, ReachesTheNextSinkWhenOneThrows) {
    const Plugged broken(calling([](auto&, auto&) { throw std::runtime_error("broken sink"); }));
    const test::MessageRecorder messages;
    sendInfo("a");
    EXPECT_EQ(messages.ids(), Texts{"36-381"});
}

TEST(SendMessageTest, LetsASinkSendAMessageOfItsOwn) {
    const Plugged echo(calling([](auto& message, auto&) {
        if (message.getId() == "36-381")
            sendWarning("echo");
    }));
    const test::MessageRecorder messages;
    sendInfo("a");
    EXPECT_EQ(messages.ids(), (Texts{"36-372", "36-381"}));
}

TEST(SendMessageTest, LetsASinkUnplugItself) {
    int count = 0;
    std::shared_ptr<ComMsgMgrSink> sink;
    sink = calling([&](auto&, auto&) {
        ++count;
        ComMsgMgr::removeSink(sink);
    });
    ComMsgMgr::addSink(sink);
    sendInfo("a");
    sendInfo("b");
    EXPECT_EQ(count, 1);
}

TEST(SendMessageTest, LosesNoMessageOfManyThreads) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kEach = 200;
    const test::MessageRecorder messages;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back([] {
            for (std::size_t k = 0; k < kEach; ++k) {
                const Plugged other(calling([](auto&, auto&) {}));
                sendInfo("a");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(messages.ids().size(), kThreads * kEach);
}

TEST(SendMessageTest, SendsAMessageThatWasMadeBefore) {
    const test::MessageRecorder messages;
    ComMsgMgr::send(ComMsgMgrInstance("runs", ComMsgMgr::kInfo, "@36-381@%s", "a"));
    EXPECT_EQ(messages.summaries(), Texts{"runs INFO 36-381(a)"});
}

TEST(MessageRecorderTest, HearsOnlyWhileItLives) {
    { const test::MessageRecorder earlier; }
    sendInfo("before");
    test::MessageRecorder messages;
    EXPECT_TRUE(messages.ids().empty());
    sendInfo("now");
    EXPECT_TRUE(messages.has("36-381"));
    EXPECT_EQ(messages.texts(), Texts{"Run scripts are taken from now."});
    messages.clear();
    EXPECT_FALSE(messages.has("36-381"));
}

TEST(MessageRecorderTest, FailsTheTestThatSendsWhatTheCatalogueHasNot) {
    const test::MessageRecorder messages;
    EXPECT_NONFATAL_FAILURE(
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-381@%s", 7),
        "not as the catalogue has it: runs ERROR 36-381(7)");
}

/// A terminal sink over a stream in memory.
class TerminalSinkTest : public ::testing::Test {
public:
    ~TerminalSinkTest() override {
        std::fclose(m_stream);
        std::free(m_buffer);
    }

protected:
    /// What a sink writes while `send` runs.
    template <class Send> std::string written(ComMsgMgr::MsgMask leastMask, const Send& send) {
        const Plugged sink(std::make_shared<ComMsgMgrTerminalSink>(leastMask, m_stream));
        send();
        return std::string(m_buffer, m_size);
    }

private:
    char* m_buffer = nullptr;
    std::size_t m_size = 0;
    std::FILE* const m_stream = open_memstream(&m_buffer, &m_size);
};

TEST_F(TerminalSinkTest, WritesALineForEachMessage) {
    EXPECT_EQ(written(ComMsgMgr::kInfo,
                      [] {
                          sendInfo("a");
                          sendInfo("b");
                      }),
              "INFO [36-381] Run scripts are taken from a.\n"
              "INFO [36-381] Run scripts are taken from b.\n");
}

TEST_F(TerminalSinkTest, PassesOverWhatIsLessSevereThanAsked) {
    EXPECT_EQ(
        written(ComMsgMgr::kWarning,
                [] {
                    sendInfo("a");
                    sendWarning("report_x");
                }),
        "WARNING [36-372] The report catalogue has no report report_x. Check the spelling, or "
        "list the reports that there are.\n");
}

TEST_F(TerminalSinkTest, LetsNoControlCharacterReachTheTerminal) {
    EXPECT_EQ(written(ComMsgMgr::kInfo, [] { sendInfo("\x1b[2J\x7f\r\t\xc3\xa4"); }),
              "INFO [36-381] Run scripts are taken from ?[2J??\t\xc3\xa4.\n");
}

TEST_F(TerminalSinkTest, SetsFurtherLinesOfATextIn) {
    EXPECT_EQ(written(ComMsgMgr::kInfo, [] { sendInfo("a\nERROR fake"); }),
              "INFO [36-381] Run scripts are taken from a\n  ERROR fake.\n");
}

/// A run directory with a log in it.
class LogSinkTest : public ::testing::Test {
protected:
    std::string log() const { return m_dir.path("session.log"); }

    test::RunDir m_dir;
};

TEST_F(LogSinkTest, AppendsToWhatTheLogHolds) {
    m_dir.mark("session.log", "INFO [36-381] earlier\n");
    const Plugged sink(std::make_shared<ComMsgMgrLogSink>(log()));
    sendInfo("a");
    EXPECT_EQ(m_dir.read("session.log"),
              "INFO [36-381] earlier\nINFO [36-381] Run scripts are taken from a.\n");
}

TEST_F(LogSinkTest, WritesWhatAMessageSourceReads) {
    const auto sink = std::make_shared<ComMsgMgrLogSink>(log());
    EXPECT_EQ(sink->getFile(), log());
    const Plugged plugged(sink);
    sendInfo("a\n\n  b\nERROR c");
    sendWarning("report_x");
    const ComMsgMgrSrcHandle handle = ComMsgMgr::loadMsgSrc(log(), "log");
    ASSERT_EQ(handle.getMessages().size(), 2U);
    EXPECT_EQ(handle.getMessages()[0].text, "Run scripts are taken from a\n\n  b\nERROR c.");
    EXPECT_EQ(handle.getMessages()[1].mask, ComMsgMgr::kWarning);
}

TEST_F(LogSinkTest, RefusesALogThatCannotBeOpened) {
    const std::string path = m_dir.path("missing/session.log");
    try {
        const ComMsgMgrLogSink sink(path);
        FAIL() << "opened";
    } catch (const HEXUserException& error) {
        EXPECT_EQ(std::string(error.what()),
                  "The log file " + path +
                      " can't be opened: No such file or directory. "
                      "Choose a file in a folder that you may write to.");
    }
}

TEST_F(LogSinkTest, SaysOnceThatTheDiskIsFull) {
    const test::MessageRecorder messages;
    const Plugged sink(std::make_shared<ComMsgMgrLogSink>("/dev/full"));
    sendInfo("a");
    sendInfo("b");
    EXPECT_EQ(messages.summaries(),
              (Texts{"runs INFO 36-381(a)",
                     "environment WARNING 12-2(/dev/full, No space left on device)",
                     "runs INFO 36-381(b)"}));
}

/// The file of messages of a step.
class MessageSourceTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(m_messages.summaries(), m_expected); }

    ComMsgMgrSrcHandle load(const std::string& content) {
        m_dir.mark("step.msg", content);
        return ComMsgMgr::loadMsgSrc(m_dir.path("step.msg"), "synth_design");
    }

    /// "line severity id text" of each message.
    Texts loaded(const std::string& content) {
        Texts messages;
        const ComMsgMgrSrcHandle handle = load(content);
        for (const ComMsgMgrSrcMsg& message : handle.getMessages())
            messages.push_back(std::to_string(message.line) + " " +
                               ComMsgMgr::getSeverityName(message.mask) + " " + message.id + " " +
                               message.text);
        return messages;
    }

    /// Expects that the file can't be read, for this reason.
    void expectUnreadable(const std::string& path, const std::string& reason) {
        EXPECT_EQ(ComMsgMgr::loadMsgSrc(path, "synth_design").getFile(), "");
        m_expected.push_back("environment WARNING 12-1(" + path + ", " + reason + ")");
    }

    test::RunDir m_dir;
    test::MessageRecorder m_messages;
    Texts m_expected;
};

TEST_F(MessageSourceTest, IsEmptyUntilItIsLoaded) {
    const ComMsgMgrSrcHandle handle("empty");
    EXPECT_EQ(handle.getName(), "empty");
    EXPECT_EQ(handle.getFile(), "");
    EXPECT_TRUE(handle.getMessages().empty());
}

TEST_F(MessageSourceTest, KnowsNameAndFileOnceLoaded) {
    const ComMsgMgrSrcHandle handle = load("");
    EXPECT_EQ(handle.getName(), "synth_design");
    EXPECT_EQ(handle.getFile(), m_dir.path("step.msg"));
}

TEST_F(MessageSourceTest, GivesTheMessagesInFileOrder) {
    EXPECT_EQ(loaded("INFO [8-1] Start.\nCRITICAL WARNING [8-2] Odd.\nERROR [8-3] Bad.\n"),
              (Texts{"1 INFO 8-1 Start.", "2 CRITICAL WARNING 8-2 Odd.", "3 ERROR 8-3 Bad."}));
}

TEST_F(MessageSourceTest, TakesMessagesWithoutAnId) {
    EXPECT_EQ(loaded("WARNING: No clock.\nERROR [see log] Failed.\n"),
              (Texts{"1 WARNING  No clock.", "2 ERROR  [see log] Failed."}));
}

TEST_F(MessageSourceTest, PassesOverOtherLines) {
    EXPECT_EQ(loaded("ERRORS 0\n\nerror: x\n  set in\nINFO\nINFO [8-1] a\n"),
              Texts{"6 INFO 8-1 a"});
}

TEST_F(MessageSourceTest, JoinsLinesThatAreSetIn) {
    EXPECT_EQ(loaded("INFO [8-1] a\n  b\n    c\n\td\nother\n  e\n"),
              Texts{"1 INFO 8-1 a\nb\n  c\nd"});
}

TEST_F(MessageSourceTest, ReadsLineEndsOfEitherHost) {
    EXPECT_EQ(loaded("INFO [8-1] a\r\n  b\r\nERROR [8-2] c"),
              (Texts{"1 INFO 8-1 a\nb", "3 ERROR 8-2 c"}));
}

TEST_F(MessageSourceTest, SurvivesAFileThatIsCutAnywhere) {
    const std::string whole = "INFO [8-1] a\n  b\nCRITICAL WARNING [8-2] c\n";
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_LE(load(whole.substr(0, size)).getMessages().size(), 2U) << size;
}

TEST_F(MessageSourceTest, IsReadOnceAndKeptWhenTheFileChanges) {
    const ComMsgMgrSrcHandle handle = load("INFO [8-1] a\n");
    m_dir.mark("step.msg", "");
    EXPECT_EQ(handle.getMessages().size(), 1U);
}

TEST_F(MessageSourceTest, HasNoFileAnyMoreOnceUnloaded) {
    ComMsgMgrSrcHandle handle = load("INFO [8-1] a\n");
    ComMsgMgr::unloadMsgSrc(handle);
    EXPECT_EQ(handle.getName(), "synth_design");
    EXPECT_EQ(handle.getFile(), "");
    EXPECT_TRUE(handle.getMessages().empty());
    ComMsgMgr::unloadMsgSrc(handle);
    EXPECT_EQ(handle.getFile(), "");
}

TEST_F(MessageSourceTest, KeepsACopyWhenTheFirstIsUnloaded) {
    ComMsgMgrSrcHandle handle = load("INFO [8-1] a\n");
    const ComMsgMgrSrcHandle copy = handle;
    ComMsgMgr::unloadMsgSrc(handle);
    EXPECT_EQ(copy.getMessages().size(), 1U);
}

TEST_F(MessageSourceTest, WarnsOfAMissingFile) {
    expectUnreadable(m_dir.path("none.msg"), "No such file or directory");
}

TEST_F(MessageSourceTest, WarnsOfAFolderInPlaceOfTheFile) {
    expectUnreadable(m_dir.path(), "it is no regular file");
}

TEST_F(MessageSourceTest, WarnsOfAFileThatIsTooLarge) {
    m_dir.mark("large.msg", std::string(16 * 1024 * 1024 + 1, 'x'));
    expectUnreadable(m_dir.path("large.msg"), "it is larger than 16 MB");
}

}  // namespace
