// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/pageAnswers.h"

#include <memory>
#include <ostream>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"

namespace {

using shell::HttpAnswer;
using shell::HttpRequest;

const char kToken[] = "0123456789abcdef0123456789abcdef";

/// A page with a run "impl_1" that has a log and a report.
class PageAnswersTest : public ::testing::Test {
protected:
    PageAnswersTest() {
        m_folder.mark("log", "one\ntwo\n");
        m_folder.mark("report", "a report");
        m_page->page = std::make_shared<const std::string>("the page");
        m_page->data = std::make_shared<const std::string>("{}");
        m_page->tag = "tag1";
        m_page->logs["impl_1"] = m_folder.path("log");
        m_page->reports[{"impl_1", "report_timing"}] = m_folder.path("report");
        // Nobody waits for a look.
        m_pages.publish(m_page);
        m_pages.close();
    }

    static HttpRequest request(const std::string& path) {
        return {"GET", path, kToken, "127.0.0.1:8080", ""};
    }
    HttpAnswer answer(const HttpRequest& asked) const { return m_answers.answer(asked); }
    int statusOf(const std::string& path) const { return answer(request(path)).status; }
    std::string bodyOf(const std::string& path) const {
        const HttpAnswer found = answer(request(path));
        return found.body == nullptr ? "nothing" : *found.body;
    }

    test::RunDir m_folder;
    std::shared_ptr<shell::PageSnapshot> m_page = std::make_shared<shell::PageSnapshot>();
    shell::FreshPage m_pages;
    shell::PageAnswers m_answers{kToken, 8080, m_pages};
};

TEST_F(PageAnswersTest, GivesThePageAndItsData) {
    EXPECT_EQ(bodyOf("/"), "the page");
    EXPECT_EQ(answer(request("/")).type, "text/html; charset=utf-8");
    EXPECT_EQ(bodyOf("/data.json"), "{}");
    EXPECT_EQ(answer(request("/data.json")).type, "application/json");
}

TEST_F(PageAnswersTest, AnotherTokenGetsNothing) {
    const std::string token = kToken;
    for (const std::string& wrong :
         {std::string(), token.substr(1), token + "0", std::string(32, '0'), token + '\0' + "a",
          std::string("0123456789ABCDEF0123456789ABCDEF")}) {
        for (const char* path : {"/", "/data.json", "/log/impl_1", "/nothing"}) {
            HttpRequest asked = request(path);
            asked.token = wrong;
            EXPECT_EQ(answer(asked).status, 403) << wrong;
            EXPECT_EQ(answer(asked).body->find(kToken), std::string::npos);
        }
    }
}

TEST_F(PageAnswersTest, AnotherNameOfTheHostGetsNothing) {
    for (const char* host : {"", "evil.example", "evil.example:8080", "127.0.0.1", "127.0.0.1:80",
                             "127.0.0.1:8080.evil.example", "LOCALHOST.evil:8080"}) {
        HttpRequest asked = request("/");
        asked.host = host;
        EXPECT_EQ(answer(asked).status, 403) << host;
    }
    HttpRequest asked = request("/");
    asked.host = "localhost:8080";
    EXPECT_EQ(answer(asked).status, 200);
}

TEST_F(PageAnswersTest, WhatTheClientHasIsNotSentAgain) {
    HttpRequest asked = request("/data.json");
    asked.tag = "tag1";
    EXPECT_EQ(answer(asked).status, 304);
    EXPECT_EQ(answer(asked).body, nullptr);
    asked.tag = "tag0";
    EXPECT_EQ(answer(asked).status, 200);
    EXPECT_EQ(answer(asked).tag, "tag1");
}

TEST_F(PageAnswersTest, OnlyReadingIsAnswered) {
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH", ""}) {
        HttpRequest asked = request("/");
        asked.method = method;
        EXPECT_EQ(answer(asked).status, 405) << method;
    }
    HttpRequest asked = request("/");
    asked.method = "HEAD";
    EXPECT_EQ(answer(asked).status, 200);
}

TEST_F(PageAnswersTest, GivesTheLogsAndReportsThatThePageNames) {
    EXPECT_EQ(bodyOf("/log/impl_1"), "one\ntwo\n");
    EXPECT_EQ(bodyOf("/report/impl_1/report_timing"), "a report");
    EXPECT_EQ(answer(request("/log/impl_1")).type, "text/plain; charset=utf-8");
}

TEST_F(PageAnswersTest, APathIsNeverOneOfTheDisk) {
    for (const std::string& path :
         {std::string("/log/impl_2"), std::string("/log/"), std::string("/log"),
          "/log/" + m_folder.path("log"), std::string("/log/../log"), std::string("/report/impl_1"),
          std::string("/report/impl_1/"), std::string("/report/impl_1/../log"),
          "/report/impl_1/" + m_folder.path("report"), std::string("/etc/passwd"),
          std::string("//"), std::string("/log/impl_1/"), std::string("/data.json/"),
          std::string()})
        EXPECT_EQ(statusOf(path), 404) << path;
}

TEST_F(PageAnswersTest, AFileThatWentAwayIsNotFound) {
    m_folder.unmark("log");
    m_folder.unmark("report");
    EXPECT_EQ(statusOf("/log/impl_1"), 404);
    EXPECT_EQ(statusOf("/report/impl_1/report_timing"), 404);
}

TEST(PageTroubleTest, AProjectThatIsGoneIsTold) {
    shell::FreshPage pages;
    auto page = std::make_shared<shell::PageSnapshot>();
    page->trouble = "There is no project.";
    pages.publish(page);
    pages.close();
    const shell::PageAnswers answers(kToken, 8080, pages);
    for (const char* path : {"/", "/data.json", "/log/impl_1"}) {
        const HttpAnswer answer = answers.answer({"GET", path, kToken, "127.0.0.1:8080", ""});
        EXPECT_EQ(answer.status, 503);
        EXPECT_EQ(*answer.body, "There is no project.\n");
    }
}

TEST(PageTokenTest, TokensDifferAndAreLong) {
    std::set<std::string> tokens;
    for (int i = 0; i < 100; ++i)
        tokens.insert(shell::newToken());
    EXPECT_EQ(tokens.size(), 100U);
    EXPECT_EQ(tokens.begin()->size(), 32U);
    EXPECT_EQ(tokens.begin()->find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST(PageTokenTest, SecretsAreTheSameInEveryByte) {
    EXPECT_TRUE(shell::isSameSecret("abc", "abc"));
    EXPECT_TRUE(shell::isSameSecret("", ""));
    for (const char* other : {"", "a", "ab", "abd", "bbc", "abcd", "abcabc"}) {
        EXPECT_FALSE(shell::isSameSecret("abc", other)) << other;
        EXPECT_FALSE(shell::isSameSecret(other, "abc")) << other;
    }
    EXPECT_FALSE(shell::isSameSecret(std::string("ab\0", 3), "ab"));
}

}  // namespace
