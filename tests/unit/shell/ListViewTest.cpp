// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/listView.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/listOptions.h"

namespace {

shell::ListedRun listed(const std::string& name, const std::string& status) {
    shell::ListedRun run;
    run.name = name;
    run.status = status;
    return run;
}

std::string sorted(std::vector<shell::ListedRun> runs, const std::string& key) {
    shell::sortRuns(runs, key);
    std::string names;
    for (const shell::ListedRun& run : runs)
        names += (names.empty() ? "" : " ") + run.name;
    return names;
}

TEST(ListViewTest, SortsByEveryKey) {
    const std::vector<shell::ListedRun> runs{listed("b", "done"), listed("a", "failed")};
    for (const std::string& key : shell::sortKeys())
        EXPECT_FALSE(sorted(runs, key).empty()) << key;
    EXPECT_EQ(sorted(runs, "project"), "b a");
    EXPECT_EQ(sorted(runs, "name"), "a b");
}

TEST(ListViewTest, SortsNamesAsPeopleCount) {
    EXPECT_EQ(sorted({listed("s10", "done"), listed("s9", "done")}, "name"), "s9 s10");
}

TEST(ListViewTest, SortsTheBestFiguresFirstAndUnknownOnesLast) {
    shell::ListedRun slow = listed("slow", "done");
    slow.fmaxMhz = 50;
    slow.luts = 10;
    shell::ListedRun fast = listed("fast", "done");
    fast.fmaxMhz = 90;
    fast.luts = 20;
    const shell::ListedRun none = listed("none", "running");
    EXPECT_EQ(sorted({none, slow, fast}, "fmax"), "fast slow none");
    EXPECT_EQ(sorted({none, fast, slow}, "luts"), "slow fast none");
}

TEST(ListViewTest, SortsStatusesByWhatTheyAskOfTheUser) {
    std::vector<shell::ListedRun> runs;
    for (const std::string& word : shell::statusWords())
        runs.push_back(listed(word, word));
    EXPECT_EQ(sorted(runs, "status"),
              "failed lost stopped abandoned unknown running queued not started done");
}

TEST(ListViewTest, NamesTheCommandThatBringsARunFurther) {
    EXPECT_EQ(shell::nextCommand("r", "done", false), "");
    EXPECT_EQ(shell::nextCommand("r", "done", true), "xp launch r");
    EXPECT_EQ(shell::nextCommand("r", "not started", false), "xp launch r");
    EXPECT_EQ(shell::nextCommand("r", "lost", false), "xp launch r");
    EXPECT_EQ(shell::nextCommand("r", "running", false), "xp wait r");
    EXPECT_EQ(shell::nextCommand("r", "unknown", false), "xp status r");
}

TEST(ListViewTest, AListOffATerminalHasALineForEachRunAndNoEscapeByte) {
    const std::string text =
        shell::listText({listed("impl_1", "done"), listed("impl_2", "failed")});
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_NE(text.find("\nimpl_1  + done"), std::string::npos);
    EXPECT_NE(text.find("\nimpl_2  ! failed"), std::string::npos);
}

}  // namespace
