// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/freshPage.h"

#include <future>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using shell::FreshPage;
using shell::PageSnapshot;

FreshPage::Snapshot pageWithTag(const std::string& tag) {
    auto page = std::make_shared<PageSnapshot>();
    page->tag = tag;
    return page;
}

void awaitQuestion(FreshPage& pages) {
    while (!pages.isWanted())
        std::this_thread::yield();
}

TEST(FreshPageTest, NobodyLooksUntilSomebodyAsks) {
    FreshPage pages;
    EXPECT_FALSE(pages.isWanted());
}

TEST(FreshPageTest, WhoAsksGetsTheNextLook) {
    FreshPage pages;
    pages.isWanted();
    pages.publish(pageWithTag("old"));
    std::future<FreshPage::Snapshot> asked =
        std::async(std::launch::async, [&pages] { return pages.get(); });
    awaitQuestion(pages);
    pages.publish(pageWithTag("new"));
    EXPECT_EQ(asked.get()->tag, "new");
    EXPECT_FALSE(pages.isWanted());
}

TEST(FreshPageTest, AllWhoWaitGetOneLook) {
    FreshPage pages;
    std::vector<std::future<FreshPage::Snapshot>> asked;
    for (int i = 0; i < 8; ++i)
        asked.push_back(std::async(std::launch::async, [&pages] { return pages.get(); }));
    int looks = 0;
    for (auto& one : asked) {
        while (one.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            if (pages.isWanted()) {
                pages.publish(pageWithTag("page"));
                ++looks;
            }
            std::this_thread::yield();
        }
        EXPECT_EQ(one.get()->tag, "page");
    }
    EXPECT_LE(looks, 8);
}

TEST(FreshPageTest, AfterTheEndNobodyWaits) {
    FreshPage pages;
    std::future<FreshPage::Snapshot> asked =
        std::async(std::launch::async, [&pages] { return pages.get(); });
    awaitQuestion(pages);
    pages.close();
    EXPECT_EQ(asked.get(), nullptr);
    EXPECT_EQ(pages.get(), nullptr);
}

}  // namespace
