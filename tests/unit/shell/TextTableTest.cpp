// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/textTable.h"

#include <gtest/gtest.h>

namespace {

TEST(TextTableTest, IsAsWideAsItsCells) {
    shell::TextTable table({{"Run"}, {"LUTs", true}, {"Note"}});
    table.addRow({"a", "7", "x"});
    table.addRow({"longer", "12345", ""});
    EXPECT_EQ(table.text(), "Run      LUTs  Note\n"
                            "a           7  x\n"
                            "longer  12345  -\n");
}

TEST(TextTableTest, EscapesWhatATerminalWouldTakeAsACommand) {
    shell::TextTable table({{"A"}, {"B"}});
    table.addRow({"x\x1b[2J", "y\nz"});
    EXPECT_EQ(table.text(), "A         B\nx\\x1b[2J  y\\nz\n");
}

TEST(TextTableTest, WithoutRowsIsItsTitles) {
    const shell::TextTable table({{"Run"}, {"Status"}});
    EXPECT_EQ(table.text(), "Run  Status\n");
}

TEST(TextTableTest, FillsUpAShortRow) {
    shell::TextTable table({{"A"}, {"B"}});
    table.addRow({"x"});
    EXPECT_EQ(table.text(), "A  B\nx  -\n");
}

TEST(TextTableTest, HasNoBlanksAtTheEndsOfLines) {
    shell::TextTable table({{"A"}, {"Long title"}});
    table.addRow({"x", "y"});
    EXPECT_EQ(table.text().find(" \n"), std::string::npos);
}

}  // namespace
