// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/parseJson.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

/// What every other program of the trade takes it for.
json expected(const std::string& text) {
    return json::parse(text, nullptr, false);
}

/// Type for type: 1 isn't 1.0, and a positive number isn't a signed one.
void expectSame(const std::string& text) {
    const json read = ice40::parseJson(text);
    const json wanted = expected(text);
    ASSERT_EQ(read.is_discarded(), wanted.is_discarded()) << text;
    if (wanted.is_discarded())
        return;
    ASSERT_EQ(read, wanted) << text;
    ASSERT_EQ(read.type(), wanted.type()) << text;
    ASSERT_EQ(read.flatten().dump(), wanted.flatten().dump()) << text;
}

/// Something of everything.
const char kSample[] = "\xef\xbb\xbf{\"utilization\": {\"ICESTORM_LC\": {\"used\": 1170, "
                       "\"of\": -7680}},\r\n\t\"path\": [0.588, -1.25e-3, 4E+2, true, false, "
                       "null, [], {}, \"a\\\"\\\\\\/\\b\\f\\n\\r\\t\"],\n \"\": \"\\u0041\\u00e9"
                       "\\u20ac\\ud83d\\ude00 \xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\", \"a\": 1, "
                       "\"a\": [2]} \n";

struct TextCase {
    const char* name;
    std::string text;
};

std::ostream& operator<<(std::ostream& os, const TextCase& row) {
    return os << row.name;
}

class ParseJsonTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(ParseJsonTable, IsTakenAsElsewhere) {
    expectSame(GetParam().text);
    expectSame("[" + GetParam().text + "]");
    expectSame("{\"name\":" + GetParam().text + "}");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseJsonTable,
    ::testing::Values(
        TextCase{"Nothing", ""}, TextCase{"Blanks", " \n"}, TextCase{"Zero", "0"},
        TextCase{"MinusZeroReal", "-0.0"}, TextCase{"LeadingZero", "01"},
        TextCase{"MinusAlone", "-"}, TextCase{"Plus", "+1"}, TextCase{"PointAlone", "1."},
        TextCase{"NoWhole", ".5"}, TextCase{"NoPower", "1e"}, TextCase{"NoPowerSigned", "1e+"},
        TextCase{"TwoSigns", "1e+-1"}, TextCase{"GreatestWhole", "18446744073709551615"},
        TextCase{"BeyondWhole", "18446744073709551616"},
        TextCase{"LeastWhole", "-9223372036854775808"},
        TextCase{"BelowWhole", "-9223372036854775809"}, TextCase{"Huge", "1e309"},
        TextCase{"Tiny", "1e-400"}, TextCase{"Denormal", "4.9e-324"},
        TextCase{"ManyDigits", "0.1000000000000000055511151231257827"},
        TextCase{"Hexadecimal", "0x10"}, TextCase{"NotANumber", "NaN"}, TextCase{"WordCut", "tru"},
        TextCase{"WordLong", "nullx"}, TextCase{"TwoValues", "1 2"}, TextCase{"Comment", "/* */ 1"},
        TextCase{"CommaBehind", "[1,]"}, TextCase{"CommaAlone", "[,]"},
        TextCase{"MemberWithoutValue", "{\"a\"}"}, TextCase{"MemberWithoutName", "{1:2}"},
        TextCase{"CommaBehindMember", "{\"a\":1,}"}, TextCase{"Mixed", "[1}"},
        TextCase{"ControlInText", "\"a\nb\""}, TextCase{"Delete", "\"\x7f\""},
        TextCase{"UnknownEscape", "\"\\x\""}, TextCase{"EscapeCut", "\"\\"},
        TextCase{"ShortCodePoint", "\"\\u00e\""}, TextCase{"SignedCodePoint", "\"\\u-123\""},
        TextCase{"NulEscaped", "\"a\\u0000b\""}, TextCase{"LowAlone", "\"\\udc00\""},
        TextCase{"HighAlone", "\"\\ud800\""}, TextCase{"HighTwice", "\"\\ud800\\ud800\""},
        TextCase{"HighThenText", "\"\\ud800abcdef\""},
        TextCase{"LastCodePoint", "\"\\udbff\\udfff\""}, TextCase{"Latin1", "\"\xe9\""},
        TextCase{"Overlong", "\"\xc0\xaf\""}, TextCase{"OverlongThree", "\"\xe0\x80\xaf\""},
        TextCase{"OverlongFour", "\"\xf0\x80\x80\xaf\""}, TextCase{"Surrogate", "\"\xed\xa0\x80\""},
        TextCase{"BeyondUnicode", "\"\xf4\x90\x80\x80\""}, TextCase{"TailAlone", "\"\x80\""},
        TextCase{"CharacterCut", "\"\xe2\x82\""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ParseJsonTest, TakesASampleOfEverythingAsElsewhere) {
    ASSERT_FALSE(expected(kSample).is_discarded());
    expectSame(kSample);
}

TEST(ParseJsonTest, TakesAFileCutAfterEachByteAsElsewhere) {
    const std::string sample = kSample;
    for (std::size_t size = 0; size < sample.size(); ++size)
        expectSame(sample.substr(0, size));
}

TEST(ParseJsonTest, TakesAFileWithAnyOneByteWrongAsElsewhere) {
    const std::string sample = kSample;
    // Each that means something to JSON or to UTF-8, or lies beside one that does.
    const std::string bytes = "\x01\x1f !\"#+,-./019:;AEGU[\\]^abefnrtu{|}~\x7f\x80\x8f\x90\x9f\xa0"
                              "\xbf\xc0\xc2\xdf\xe0\xe2\xed\xef\xf0\xf4\xf5\xff";
    for (std::size_t place = 0; place < sample.size(); ++place) {
        for (const char byte : bytes) {
            std::string damaged = sample;
            damaged[place] = byte;
            expectSame(damaged);
        }
    }
}

TEST(ParseJsonTest, KnowsNoNegativeWholeZero) {
    EXPECT_EQ(ice40::parseJson("-0"), json(0U));
}

TEST(ParseJsonTest, DiscardsAFileThatEndsInZeros) {
    EXPECT_TRUE(ice40::parseJson(std::string("{}\0\0\0\0", 6)).is_discarded());
    EXPECT_TRUE(ice40::parseJson(std::string("\0", 1)).is_discarded());
}

TEST(ParseJsonTest, TakesValuesOfAnyDepth) {
    for (const std::size_t depth : {1U, 500U, 501U, 502U, 100000U}) {
        const std::string open(depth, '[');
        const std::string close(depth, ']');
        EXPECT_FALSE(ice40::parseJson(open + "1" + close).is_discarded()) << depth;
        EXPECT_TRUE(ice40::parseJson(open).is_discarded()) << depth;
        EXPECT_TRUE(ice40::parseJson(open + close + "]").is_discarded()) << depth;
    }
}

}  // namespace
