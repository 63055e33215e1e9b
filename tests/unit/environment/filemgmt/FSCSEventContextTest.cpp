// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/FSCSEventContext.h"

#include <gtest/gtest.h>

#include "environment/filemgmt/HADAFileSet.h"

namespace {

TEST(FSCSEventContextTest, BeginsEmpty) {
    const FSCSEventContext context;
    EXPECT_TRUE(context.bdFiles.empty());
    EXPECT_EQ(context.fileSet, nullptr);
}

TEST(FSCSEventContextTest, ForgetsTheEventAndKeepsTheCapacity) {
    HADAFileSet fileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    FSCSEventContext context;
    context.fileSet = &fileSet;
    context.bdFiles.assign(20, fileSet.addSrcFile("/none/design.bd"));
    const auto capacity = context.bdFiles.capacity();
    context.clear();
    EXPECT_TRUE(context.bdFiles.empty());
    EXPECT_EQ(context.bdFiles.capacity(), capacity);
    EXPECT_EQ(context.fileSet, nullptr);
}

}  // namespace
