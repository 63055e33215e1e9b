// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/printable.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

struct PrintableCase {
    const char* name;
    std::string text;
    std::string shown;
};

std::ostream& operator<<(std::ostream& os, const PrintableCase& row) {
    return os << row.name;
}

class PrintableTable : public ::testing::TestWithParam<PrintableCase> {};

TEST_P(PrintableTable, EscapesWhatATerminalWouldTakeOrHide) {
    EXPECT_EQ(workbench::printable(GetParam().text), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PrintableTable,
    ::testing::Values(PrintableCase{"Plain", "Fast 2 (mine)", "Fast 2 (mine)"},
                      PrintableCase{"Empty", "", ""},
                      PrintableCase{"Letters", "schön \xE6\x97\xA5", "schön \xE6\x97\xA5"},
                      PrintableCase{"Escape", "\x1b[2J", "\\x1b[2J"},
                      PrintableCase{"LineEnd", "a\nb\r\tc", "a\\nb\\r\\tc"},
                      PrintableCase{"Delete", "a\x7f", "a\\x7f"},
                      PrintableCase{"Null", std::string("a\0b", 3), "a\\x00b"},
                      PrintableCase{"C1", "a\xC2\x9B", "a\\x9b"},
                      PrintableCase{"RightToLeft", "a\xE2\x80\xAE", "a\\u{202e}"},
                      PrintableCase{"ZeroWidth", "a\xE2\x80\x8B", "a\\u{200b}"},
                      PrintableCase{"NoUtf8", "a\xFF", "a\\u{fffd}"},
                      PrintableCase{"CutOff", "a\xE2\x80", "a\\u{fffd}\\u{fffd}"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PrintableTest, KeepsTheLinesOfALongText) {
    EXPECT_EQ(workbench::printableLines("a\n\tb\x1b"), "a\n\tb\\x1b");
}

TEST(PrintableTest, KeepsWhatStandsBetweenTheEscaped) {
    EXPECT_EQ(workbench::printable("\xC3\xB6\x1b\xC3\xB6\x1b\x1b\xFFz\xE6\x97"),
              "\xC3\xB6\\x1b\xC3\xB6\\x1b\\x1b\\u{fffd}z\\u{fffd}\\u{fffd}");
    EXPECT_EQ(workbench::printableLines("\n\xC3\xB6\n\r\n"), "\n\xC3\xB6\n\\r\n");
}

/// The first and the last of a range, and their neighbours.
TEST(PrintableTest, EscapesTheEndsOfARangeAndNotItsNeighbours) {
    EXPECT_EQ(workbench::printable("\x1f \x7e\x7f\xC2\x9F\xC2\xA0"),
              "\\x1f \x7e\\x7f\\x9f\xC2\xA0");
    EXPECT_EQ(workbench::printable("\xE2\x80\x8A\xE2\x80\x8B\xE2\x80\x8F\xE2\x80\x90"),
              "\xE2\x80\x8A\\u{200b}\\u{200f}\xE2\x80\x90");
    EXPECT_EQ(workbench::printable("\xF4\x8F\xBF\xBF"), "\\u{10ffff}");
}

}  // namespace
