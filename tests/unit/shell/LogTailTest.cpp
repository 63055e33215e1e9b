// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/logTail.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"

namespace {

using Lines = std::vector<std::string>;

class LogTailTest : public ::testing::Test {
protected:
    Lines last(const std::string& content, std::size_t count) {
        m_dir.mark("log", content);
        return shell::lastLines(m_dir.path("log"), count, m_reason);
    }

    Lines piecesOf(const std::string& content) {
        m_dir.mark("log", content);
        Lines pieces;
        shell::readPieces(
            m_dir.path("log"), [&pieces](const std::string& piece) { pieces.push_back(piece); },
            m_reason);
        return pieces;
    }

    static std::string joined(const Lines& pieces) {
        std::string all;
        for (const std::string& piece : pieces)
            all += piece;
        return all;
    }

    test::RunDir m_dir;
    std::string m_reason;
};

TEST_F(LogTailTest, GivesTheLastLinesInOrder) {
    EXPECT_EQ(last("a\nb\nc\n", 2), (Lines{"b", "c"}));
    EXPECT_EQ(last("a\nb\nc\n", 1), (Lines{"c"}));
    EXPECT_EQ(last("a\nb\nc\n", 9), (Lines{"a", "b", "c"}));
    EXPECT_EQ(m_reason, "");
}

TEST_F(LogTailTest, GivesAllLinesForACountOfZero) {
    EXPECT_EQ(last("a\nb\nc\n", 0), (Lines{"a", "b", "c"}));
}

TEST_F(LogTailTest, TakesALineWithoutItsEnd) {
    EXPECT_EQ(last("a\nb", 1), (Lines{"b"}));
}

TEST_F(LogTailTest, KeepsEmptyLines) {
    EXPECT_EQ(last("a\n\n\n", 2), (Lines{"", ""}));
}

TEST_F(LogTailTest, GivesNothingForAnEmptyFile) {
    EXPECT_EQ(last("", 3), Lines{});
}

TEST_F(LogTailTest, ReadsBackOverManyBlocks) {
    const std::string line(1000, 'x');
    std::string content;
    for (int i = 0; i < 1000; ++i)
        content += line + std::to_string(i) + "\n";
    const Lines lines = last(content, 900);
    ASSERT_EQ(lines.size(), 900U);
    EXPECT_EQ(lines.front(), line + "100");
    EXPECT_EQ(lines.back(), line + "999");
    EXPECT_EQ(last(content, 0).size(), 1000U);
}

TEST_F(LogTailTest, SaysWhyAFileCanNotBeRead) {
    EXPECT_EQ(shell::lastLines(m_dir.path("gone"), 3, m_reason), Lines{});
    EXPECT_EQ(m_reason, "No such file or directory");
    m_reason.clear();
    shell::readPieces(
        m_dir.path("gone"), [](const std::string&) { FAIL(); }, m_reason);
    EXPECT_EQ(m_reason, "No such file or directory");
}

/// Characters of one to four bytes, at every place of a piece's end.
TEST_F(LogTailTest, HandsOverPiecesOfWholeCharacters) {
    constexpr int kSpan = 200000;
    for (const std::string text : {"a", "\xC3\xB6", "\xE6\x97\xA5", "\xF0\x9F\x98\x80"}) {
        for (std::size_t shift = 0; shift < text.size(); ++shift) {
            std::string content(shift, '-');
            for (int i = 0; i < kSpan; ++i)
                content += text;
            const Lines pieces = piecesOf(content);
            EXPECT_GT(pieces.size(), 1U);
            for (const std::string& piece : pieces)
                EXPECT_EQ((piece.size() - (&piece == &pieces.front() ? shift : 0)) % text.size(),
                          0U);
            EXPECT_EQ(joined(pieces), content);
        }
    }
}

TEST_F(LogTailTest, HandsOverWhatIsNoText) {
    const std::string content = std::string(70000, '\xFF') + std::string(70000, '\x80') +
                                std::string(70000, '\0') + "\xF0\x9F";
    EXPECT_EQ(joined(piecesOf(content)), content);
    EXPECT_EQ(piecesOf(""), Lines{});
}

TEST(FailureLinesTest, BeginAtTheFirstError) {
    EXPECT_EQ(shell::failureLines({"a", "ERROR: x.v:3: no", "what to do"}, 9),
              (Lines{"ERROR: x.v:3: no", "what to do"}));
    EXPECT_EQ(shell::failureLines({"a", "x.v:3: ERROR: no"}, 9), (Lines{"x.v:3: ERROR: no"}));
}

TEST(FailureLinesTest, AreTheLastOnesWithoutAnError) {
    EXPECT_EQ(shell::failureLines({"a", "b", "", "c"}, 2), (Lines{"b", "c"}));
}

TEST(FailureLinesTest, LeaveOutTheWrapper) {
    EXPECT_EQ(shell::failureLines({"ERROR: no", "ZUMWrap.sh: step 'x' failed: status 1"}, 5),
              (Lines{"ERROR: no"}));
}

}  // namespace
