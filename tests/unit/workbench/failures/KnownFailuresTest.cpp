// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/knownFailures.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "workbench/failures/failureTable.h"

using namespace workbench;

namespace {

using Texts = std::vector<std::string>;

struct MatchCase {
    const char* name;
    const char* pattern;
    const char* text;
    bool matches;
    Texts captures;
};

std::ostream& operator<<(std::ostream& os, const MatchCase& row) {
    return os << row.name;
}

class MatchTable : public ::testing::TestWithParam<MatchCase> {};

TEST_P(MatchTable, FindsTheWords) {
    Texts captures{"as before"};
    EXPECT_EQ(matchWords(GetParam().pattern, GetParam().text, captures), GetParam().matches);
    EXPECT_EQ(captures, GetParam().matches ? GetParam().captures : Texts{"as before"});
}

INSTANTIATE_TEST_SUITE_P(
    All, MatchTable,
    ::testing::Values(
        MatchCase{"Words", "syntax error", "a.v:2: syntax error, unexpected", true, {}},
        MatchCase{"OtherWords", "syntax error", "no error", false, {}},
        MatchCase{"TextBetween", "Module `*' not", "Module `t' not found", true, {"t"}},
        MatchCase{"TextAtTheEnd", "macro `*", "macro `X Y ", true, {"X Y"}},
        MatchCase{"TextAtTheBeginning", "* not found", "x y not found", true, {"x y"}},
        MatchCase{"AsLittleAsPossible", "'*' '*'", "'a' 'b' 'c'", true, {"a", "b"}},
        MatchCase{"OneWord", "LC: ?/ ?", "LC:   602/  384   156%", true, {"602", "384"}},
        MatchCase{"NoWord", "LC: ?/", "LC: /", false, {}},
        MatchCase{"BeginsAgain", ": ? was", "a: b: c was", true, {"c"}},
        MatchCase{"WordAtTheBeginning", "? was", "a b was", false, {}},
        MatchCase{"BlanksAreOne", "a b", "a \t  b", true, {}},
        MatchCase{"EmptyText", "a", "", false, {}},
        MatchCase{"CutBeforeTheEnd", "a*b", "a....", false, {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(MatchWordsTest, TakesAMomentOnALongLine) {
    Texts ignored;
    EXPECT_FALSE(matchWords("a*a*a*a*b", std::string(1000000, 'a'), ignored));
}

struct FailureCase {
    const char* name;
    const char* error;
    const char* kind;
};

std::ostream& operator<<(std::ostream& os, const FailureCase& row) {
    return os << row.name;
}

class FailureTable : public ::testing::TestWithParam<FailureCase> {};

TEST_P(FailureTable, TellsTheKind) {
    const auto known = findKnownFailure(GetParam().error);
    ASSERT_TRUE(known.has_value());
    EXPECT_STREQ(failureKindName(known->kind), GetParam().kind);
    EXPECT_EQ(known->what.find_first_of("{}"), std::string::npos) << known->what;
    EXPECT_EQ(known->advice.find_first_of("{}"), std::string::npos) << known->advice;
    EXPECT_EQ(known->what.find('?'), std::string::npos) << known->what;
    EXPECT_EQ(known->advice.find('?'), std::string::npos) << known->advice;
}

// What tools say whose faults aren't easily put into a design.
INSTANTIATE_TEST_SUITE_P(
    Rare, FailureTable,
    ::testing::Values(
        FailureCase{"Unconstrained",
                    "IO 'led' is unconstrained in PCF (override this error with "
                    "--pcf-allow-unconstrained)",
                    "port without pin"},
        FailureCase{"PnrPin", "package does not have a pin named 'Z9' (on line 3)", "no such pin"},
        FailureCase{"PnrLine", "unsupported PCF command 'x' (on line 4)", "constraints syntax"},
        FailureCase{"Cell", "cell type '$_DLATCH_P_' is unsupported (instantiated as 'x')",
                    "unsupported"},
        FailureCase{"Mapper",
                    "ABC: execution of command \"berkeley-abc -s\" failed: return code 127.",
                    "tool missing"},
        FailureCase{"Task", "Can't resolve task name `\\go'.", "undeclared"},
        FailureCase{"Legal",
                    "Unable to find legal placement for all cells, design is probably at "
                    "utilisation limit.",
                    "logic doesn't fit"},
        FailureCase{"Cells",
                    "Unable to place cell 'x', no BELs remaining to implement cell type "
                    "'SB_WARMBOOT'",
                    "doesn't fit"},
        FailureCase{"Location", "Unable to find a placement location for cell 'x'", "doesn't fit"},
        FailureCase{"Route", "Failed to route arc 0 of net 'x'", "unroutable"},
        FailureCase{"Database",
                    "ice40_init: the pins of hx8k can't be read from '/x/chipdb-8k.txt'. Install "
                    "package fpga-icestorm-chipdb",
                    "tool missing"},
        FailureCase{"Checksum",
                    "ice40_place: nextpnr-ice40 told no checksum of its placement. Install",
                    "tool version"},
        FailureCase{"Changed",
                    "ice40_route: netlist 't.json' or its constraints changed since it was placed. "
                    "Run the placement again.",
                    "changed input"},
        FailureCase{"Value",
                    "ice40_place: --placer: foo not in {heap,sa}. Call it with --help for its "
                    "options.",
                    "option refused"},
        FailureCase{"Range",
                    "ice40_place: --seed: Value -1 not in range 0 to 2147483647. Call it with "
                    "--help for its options.",
                    "option refused"},
        FailureCase{"Usage",
                    "ice40_place: The following argument was not expected: --x. Call it with "
                    "--help for its options.",
                    "option refused"},
        FailureCase{"Quota", "ice40_synth: 't.json' can't be written: Disk quota exceeded. Free",
                    "disk full"},
        FailureCase{"ReadOnly",
                    "ice40_synth: 't.json' can't be written: Read-only file system. Make the "
                    "folder writable, then run the step again.",
                    "unwritable"},
        FailureCase{"Stop", "ice40_synth: stopped by signal 15", "stopped"},
        FailureCase{"Wrapper", "killed by signal 11", "crashed"},
        FailureCase{"NotFound",
                    "ended with status 127: the program, or one that it needs, was not found; "
                    "check PATH",
                    "tool missing"},
        FailureCase{"Source",
                    "ice40_synth: source '/a/b.v' can't be read: Permission denied. Correct the "
                    "list of sources.",
                    "input file"},
        FailureCase{"NoTop",
                    "ice40_init: netlist 't.json' can't be used: it holds no module 'u', but t. "
                    "Run the synthesis again",
                    "unknown top"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FailureTableTest, FillsNamesAsTheDesignerWroteThem) {
    const auto known = findKnownFailure(
        "Module `\\foo' referenced in module `\\top' in cell `\\f0' is not part of the design.");
    ASSERT_TRUE(known.has_value());
    EXPECT_EQ(known->what, "Module top uses a module foo that none of the sources defines");
    EXPECT_EQ(known->advice, "Add the source that defines foo, or correct its name");
    EXPECT_EQ(known->names, (Texts{"foo", "top", "f0"}));
}

TEST(FailureTableTest, LooksAtOtherLinesForWhatTheErrorLeavesOut) {
    const std::string error =
        "Unable to place cell 'x', no BELs remaining to implement cell type 'ICESTORM_LC'";
    const auto known = findKnownFailure(error, {"Info: \t ICESTORM_LC:   602/  384   156%"});
    ASSERT_TRUE(known.has_value());
    EXPECT_EQ(known->what, "The design doesn't fit: it needs 602 logic cells, the device has 384");
    // Without that line the rule behind it tells less.
    EXPECT_EQ(findKnownFailure(error)->kind, FailureKind::kFull);
}

TEST(FailureTableTest, DoesntKnowEverything) {
    EXPECT_FALSE(findKnownFailure("the moon is full").has_value());
    EXPECT_FALSE(findKnownFailure("").has_value());
}

TEST(FailureTableTest, NamesEveryKindOnce) {
    std::set<std::string> names;
    std::set<FailureKind> kinds;
    for (const FailureKindName& entry : failureKindNames()) {
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
        EXPECT_TRUE(kinds.insert(entry.kind).second) << entry.name;
    }
    EXPECT_EQ(kinds.size(), static_cast<std::size_t>(FailureKind::kLost) + 1);
}

TEST(FailureTableTest, TellsWhatAndAdviceInSentencesWithoutTheirStop) {
    for (const FailureRule& rule : failureRules()) {
        for (const std::string text : {rule.what, rule.advice}) {
            ASSERT_FALSE(text.empty()) << rule.pattern;
            EXPECT_NE(text.back(), '.') << text;
            EXPECT_FALSE(text.front() >= 'a' && text.front() <= 'r') << text;
        }
    }
}

TEST(FailureTableTest, HasNoRuleThatAnotherHides) {
    const std::vector<FailureRule>& rules = failureRules();
    for (auto later = rules.begin(); later != rules.end(); ++later) {
        const bool isHidden = std::any_of(rules.begin(), later, [later](const FailureRule& rule) {
            Texts ignored;
            return rule.also == nullptr && matchWords(rule.pattern, later->pattern, ignored);
        });
        EXPECT_FALSE(isHidden) << later->pattern;
    }
}

}  // namespace
