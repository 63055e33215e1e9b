// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/toolErrors.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

struct ErrorLine {
    const char* name;
    const char* line;
    const char* first;
};

std::ostream& operator<<(std::ostream& os, const ErrorLine& row) {
    return os << row.name;
}

class ErrorLineTable : public ::testing::TestWithParam<ErrorLine> {};

TEST_P(ErrorLineTable, GivesTheErrorWithoutItsMark) {
    ToolErrors errors;
    errors.readLine(GetParam().line);
    EXPECT_EQ(errors.first(), GetParam().first);
}

INSTANTIATE_TEST_SUITE_P(
    All, ErrorLineTable,
    ::testing::Values(
        ErrorLine{"Yosys", "ERROR: Module `tt' not found!", "Module `tt' not found"},
        ErrorLine{"YosysWithPlace", "a.v:2: ERROR: syntax error, unexpected TOK_ASSIGN",
                  "a.v:2: syntax error, unexpected TOK_ASSIGN"},
        ErrorLine{"Icetime", "Error: Failed to open input file.", "Failed to open input file"},
        ErrorLine{"Nextpnr", "ERROR: package does not have a pin named 'Z' (on line 3)",
                  "package does not have a pin named 'Z' (on line 3)"},
        ErrorLine{"NoError", "Info: 0 warnings, 0 errors", ""},
        ErrorLine{"Warning", "Warning: no ERROR here", ""},
        ErrorLine{"InTheMiddle", "Info: constrained 'ERROR: x' to bel", ""}),
    [](const auto& row) { return std::string(row.param.name); });

std::string failure(const ToolErrors& errors, ToolEnd end) {
    return test::failureOf<StepFailure>([&] { errors.require("yosys", end); });
}

TEST(ToolErrorsTest, KeepTheFirst) {
    ToolErrors errors;
    errors.readLine("ERROR: one.");
    errors.readLine("ERROR: two.");
    EXPECT_EQ(errors.first(), "one");
}

TEST(ToolErrorsTest, AreNoFailureWhenTheToolEndsWell) {
    ToolErrors errors;
    errors.readLine("ERROR: one.");
    EXPECT_NO_THROW(errors.require("yosys", {0, 0}));
}

TEST(ToolErrorsTest, TellCauseAndNextStep) {
    ToolErrors errors;
    errors.readLine("a.v:2: ERROR: syntax error, unexpected TOK_ID");
    EXPECT_EQ(failure(errors, {1, 0}),
              "yosys ended with status 1: a.v:2: syntax error, unexpected TOK_ID. Correct the "
              "Verilog at that line.");
}

TEST(ToolErrorsTest, PointToTheLogWithoutAnErrorLine) {
    EXPECT_EQ(failure({}, {2, 0}),
              "yosys ended with status 2. Look at the lines above for what the tool says.");
}

TEST(ToolErrorsTest, TellWhoKillsATool) {
    EXPECT_EQ(failure({}, {0, 9}),
              "yosys was killed by signal 9. Free memory, or let fewer runs work at once.");
    EXPECT_EQ(
        failure({}, {0, 6}),
        "yosys was killed by signal 6. Try other options, or take back what was changed last; "
        "a tool that crashes has a fault of its own, which its makers want to know.");
}

TEST(AdviceTest, FitsTheError) {
    EXPECT_EQ(adviceFor("Unable to place cell 'x', no BELs remaining to implement cell type 'Y'"),
              "Choose a larger device, or the area strategy of the synthesis");
    EXPECT_EQ(adviceFor("Module `\\foo' referenced in module `\\t' in cell `\\f' is not part of "
                        "the design"),
              "Add the source that defines foo, or correct its name");
    EXPECT_EQ(adviceFor("something new"), "Look at the lines above for what the tool says");
}

}  // namespace
