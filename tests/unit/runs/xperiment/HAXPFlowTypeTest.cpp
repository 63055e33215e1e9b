// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlowType.h"

#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/runs/xperiment/sampleUuid.h"

using test::kUuid;

namespace {

constexpr const char* kNil = "00000000-0000-0000-0000-000000000000";

TEST(FlowTypeTest, IsNilAndNamelessAtFirst) {
    const HAXPFlowType type;
    EXPECT_TRUE(type.getUuid().is_nil());
    EXPECT_EQ(type.getName(), "");
    EXPECT_EQ(type.getUniversalForm(), kNil);
}

TEST(FlowTypeTest, KeepsUuidAndName) {
    const HAXPFlowType type(kUuid, "Synthesis");
    EXPECT_EQ(type.getUniversalForm(), kUuid);
    EXPECT_EQ(type.getName(), "Synthesis");
}

TEST(FlowTypeTest, TakesAnEmptyUuidForNil) {
    const HAXPFlowType type("", "Synthesis");
    EXPECT_TRUE(type.getUuid().is_nil());
    EXPECT_EQ(type.getName(), "Synthesis");
}

TEST(FlowTypeTest, TakesBracesUpperCaseAndNoDashes) {
    for (const char* text :
         {"{01234567-89ab-cdef-0123-456789abcdef}", "01234567-89AB-CDEF-0123-456789ABCDEF",
          "0123456789abcdef0123456789abcdef"})
        EXPECT_EQ(HAXPFlowType(text, "").getUniversalForm(), kUuid) << text;
}

TEST(FlowTypeTest, RefusesWhatIsNoUuid) {
    for (const char* text :
         {"zz", "0", "{", "01234567-89ab-cdef-0123-456789abcde",
          "01234567-89ab-cdef-0123-456789abcdef0", "{01234567-89ab-cdef-0123-456789abcdef"}) {
        try {
            const HAXPFlowType type(text, "name");
            ADD_FAILURE() << text << " was taken";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "invalid uuid string") << text;
        }
    }
}

TEST(FlowTypeTest, IsUnlikeAnyOtherWhenBuiltFromAName) {
    const HAXPFlowType first("Synthesis");
    const HAXPFlowType second("Synthesis");
    EXPECT_EQ(first.getName(), "Synthesis");
    EXPECT_NE(first.getUniversalForm(), second.getUniversalForm());
}

TEST(FlowTypeTest, DrawsRandomUuidsOfVersionFour) {
    const std::string text = HAXPFlowType("Synthesis").getUniversalForm();
    ASSERT_EQ(text.size(), 36U);
    EXPECT_EQ(text.find_first_not_of("0123456789abcdef-"), std::string::npos);
    EXPECT_EQ(text[14], '4');
    EXPECT_EQ(HAXPFlowType("Synthesis").getUuid().version(),
              boost::uuids::uuid::version_random_number_based);
}

TEST(FlowTypeTest, DrawsDifferentUuidsOnAllThreads) {
    std::vector<std::vector<std::string>> drawn(4);
    std::vector<std::thread> threads;
    threads.reserve(drawn.size());
    for (auto& texts : drawn)
        threads.emplace_back([&texts] {
            for (int i = 0; i < 100; ++i)
                texts.push_back(HAXPFlowType("name").getUniversalForm());
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> all;
    for (const auto& texts : drawn)
        all.insert(texts.begin(), texts.end());
    EXPECT_EQ(all.size(), 400U);
}

TEST(FlowTypeTest, CopiesUuidAndName) {
    const HAXPFlowType type(kUuid, "Synthesis");
    HAXPFlowType assigned;
    assigned = type;
    for (const HAXPFlowType& each : {HAXPFlowType(type), assigned}) {
        EXPECT_EQ(each.getUniversalForm(), kUuid);
        EXPECT_EQ(each.getName(), "Synthesis");
    }
}

TEST(FlowTypeTest, StaysWhenAssignedToItself) {
    HAXPFlowType type(kUuid, "Synthesis");
    const HAXPFlowType& same = type;
    type = same;
    EXPECT_EQ(type.getUniversalForm(), kUuid);
    EXPECT_EQ(type.getName(), "Synthesis");
}

}  // namespace
