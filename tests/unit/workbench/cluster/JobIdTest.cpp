// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/jobId.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using cluster::findTask;
using cluster::JobId;
using cluster::parseJobId;
using cluster::TaskFound;

TEST(JobIdTest, ReadsTheNumberOfAJob) {
    const std::optional<JobId> id = parseJobId("12");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->job, "12");
    EXPECT_EQ(id->task, 0);
}

TEST(JobIdTest, ReadsATaskAsAGridEngineAndAsLsfCallIt) {
    for (const char* text : {"12.345", "12[345]"}) {
        const std::optional<JobId> id = parseJobId(text);
        ASSERT_TRUE(id) << text;
        EXPECT_EQ(id->job, "12");
        EXPECT_EQ(id->task, 345);
    }
}

TEST(JobIdTest, ReadsNothingElse) {
    for (const char* text :
         {"", "a", "12\n", "12.", "12.0", "12.-1", "12.3.4", "12.3-5", "12[", "12[3", "12[]",
          "12[0]", "12[3]4", "12 3", ".3", "[3]", "12.1234567890", "1234567890123456789"})
        EXPECT_FALSE(parseJobId(text)) << text;
}

TEST(JobIdTest, FindsATaskInAList) {
    const std::vector<std::pair<const char*, long>> there = {
        {"3", 3},        {"1-4:1,6,7", 4}, {"1-4:1,6,7", 7},  {"1-4", 2},
        {"1-9:2,20", 7}, {"1-9:2,20", 20}, {"200-200:1", 200}};
    for (const auto& row : there)
        EXPECT_EQ(findTask(row.first, row.second), TaskFound::kYes) << row.first;
    const std::vector<std::pair<const char*, long>> absent = {
        {"3", 30}, {"1-4:1,6,7", 5}, {"1-9:2", 8}, {"1-9:2", 11}};
    for (const auto& row : absent)
        EXPECT_EQ(findTask(row.first, row.second), TaskFound::kNo) << row.first;
}

TEST(JobIdTest, ClaimsNothingOfAListThatItDoesNotUnderstand) {
    for (const char* tasks : {"", "1-4:1 ...", "all", "4-1", "1-4:0", "1-4:x", "-4", "1:2", ","})
        EXPECT_EQ(findTask(tasks, 9), TaskFound::kUnclear) << tasks;
    EXPECT_EQ(findTask("3,...", 3), TaskFound::kYes);
}

}  // namespace
