// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclAdvice.h"

#include <gtest/gtest.h>

namespace {

using shell::tcl::tclAdvice;

TEST(TclAdviceTest, NamesTheCommandOfAVerb) {
    EXPECT_EQ(tclAdvice("Make one with \"xp create NAME --flow synth\" first."),
              "Make one with \"run create NAME -flow synth\" first.");
    EXPECT_EQ(tclAdvice("See xp strategy list --flow impl, or xp rm night."),
              "See strategy list -flow impl, or run delete night.");
}

TEST(TclAdviceTest, GivesFlagsAValue) {
    EXPECT_EQ(tclAdvice("take it back with \"xp reset a --force\" first"),
              "take it back with \"run reset a -force true\" first");
}

TEST(TclAdviceTest, NamesAnOptionAloneAsItIsTypedHere) {
    EXPECT_EQ(tclAdvice("--by '1%}': no tolerance"), "-by '1%}': no tolerance");
}

TEST(TclAdviceTest, LeavesVerbsThatHaveNoCommand) {
    EXPECT_EQ(tclAdvice("Follow it: xp watch --jsonl"), "Follow it: xp watch --jsonl");
    EXPECT_EQ(tclAdvice("xp watch --jsonl, then xp launch --jobs 2"),
              "xp watch --jsonl, then run launch -jobs 2");
}

TEST(TclAdviceTest, LeavesAllElse) {
    EXPECT_EQ(tclAdvice(""), "");
    EXPECT_EQ(tclAdvice("exp launch a--b -- c -d"), "exp launch a--b -- c -d");
}

}  // namespace
