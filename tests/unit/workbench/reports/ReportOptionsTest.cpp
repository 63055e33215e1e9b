// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportOptions.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/thrownText.h"
#include "workbench/ice40/stepFailure.h"

using namespace reports;

namespace {

std::vector<OptionRule> rules() {
    return {{"loud", OptionKind::kSwitch, ""},
            {"most", OptionKind::kInt, "", 5, 1, 9},
            {"name", OptionKind::kText, ""}};
}

ReportOptions read(const std::vector<std::string>& words) {
    return {"report_x", rules(), words};
}

std::string optionRefusal(const std::vector<std::string>& words) {
    return test::thrownText<ice40::StepFailure>([&] { read(words); });
}

TEST(ReportOptionsTest, HaveTheirDefaultsWithoutWords) {
    const ReportOptions options = read({});
    EXPECT_FALSE(options.has("loud"));
    EXPECT_FALSE(options.has("most"));
    EXPECT_EQ(options.number("most"), 5);
    EXPECT_EQ(options.text("name"), "");
}

TEST(ReportOptionsTest, TakeSwitchesNumbersAndTexts) {
    const ReportOptions options = read({"-loud", "-most", "9", "-name", "-odd one"});
    EXPECT_TRUE(options.has("loud"));
    EXPECT_EQ(options.number("most"), 9);
    EXPECT_EQ(options.text("name"), "-odd one");
}

TEST(ReportOptionsTest, LetTheLaterOfTwoValuesHold) {
    EXPECT_EQ(read({"-most", "2", "-most", "3"}).number("most"), 3);
}

TEST(ReportOptionsTest, NameTheKnownOnesWhenOneIsUnknown) {
    EXPECT_EQ(optionRefusal({"-quiet"}),
              "report_x: there is no option '-quiet'. Use -loud, -most, -name.");
    EXPECT_EQ(optionRefusal({"loud"}),
              "report_x: there is no option 'loud'. Use -loud, -most, -name.");
}

TEST(ReportOptionsTest, RefuseANumberOutOfRange) {
    for (const char* value : {"0", "10", "two", "", "99999999999999999999"})
        EXPECT_EQ(optionRefusal({"-most", value}),
                  std::string("report_x: option -most can't be '") + value +
                      "'. Use a whole number from 1 to 9.");
}

TEST(ReportOptionsTest, RefuseAnOptionWithoutItsValue) {
    EXPECT_EQ(optionRefusal({"-name"}),
              "report_x: option -name needs a value. Write it behind the option.");
}

}  // namespace
