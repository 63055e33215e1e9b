// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/pager.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/exitStatus.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"

namespace {

using Pagers = std::vector<std::string>;

TEST(PagerTest, TheUsersComesFirstAndTheUsualOnesStandBehind) {
    EXPECT_EQ(shell::pagersFor("less -S"), (Pagers{"less -S", "less", "more"}));
    EXPECT_EQ(shell::pagersFor("more"), (Pagers{"more", "less"}));
    EXPECT_EQ(shell::pagersFor(nullptr), (Pagers{"less", "more"}));
}

TEST(PagerTest, AnEmptyOneAndCatAreNone) {
    EXPECT_TRUE(shell::pagersFor("").empty());
    EXPECT_TRUE(shell::pagersFor("  ").empty());
    EXPECT_TRUE(shell::pagersFor("cat").empty());
}

TEST(PagerTest, OffATerminalTheFileIsCopiedAsItStands) {
    const test::RunDir dir;
    const std::string text("a\x1b[2Jb\n\0c", 9);
    dir.mark("report.rpt", text);
    testing::internal::CaptureStdout();
    shell::showFile(dir.path("report.rpt"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
}

TEST(PagerTest, AFileThatIsGoneIsTold) {
    const test::RunDir dir;
    EXPECT_EQ(test::thrownText<shell::CommandError>([&] { shell::showFile(dir.path("x")); }),
              dir.path("x") + " can't be read: No such file or directory. Check its rights, or "
                              "make it anew.");
}

}  // namespace
