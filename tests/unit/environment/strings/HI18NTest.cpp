// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HI18N.h"

#include <clocale>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

/// Text in both forms.
struct TextCase {
    const char* name;
    std::string narrow;
    std::wstring wide;
};

std::ostream& operator<<(std::ostream& os, const TextCase& row) {
    return os << row.name;
}

class HI18NRoundTrip : public ::testing::TestWithParam<TextCase> {};

TEST_P(HI18NRoundTrip, ConvertsBothWays) {
    EXPECT_EQ(HI18N::convert(GetParam().narrow), GetParam().wide);
    EXPECT_EQ(HI18N::convert(GetParam().wide), GetParam().narrow);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HI18NRoundTrip,
    ::testing::Values(TextCase{"Empty", "", L""}, TextCase{"Ascii", "top_v1 ~", L"top_v1 ~"},
                      TextCase{"NulInside", std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
                      TextCase{"LastOfOneByte", "\x7F", L"\U0000007F"},
                      TextCase{"FirstOfTwoBytes", "\xC2\x80", std::wstring(1, wchar_t(0x80))},
                      TextCase{"Umlaut", "\xC3\xBC", L"\u00FC"},
                      TextCase{"LastOfTwoBytes", "\xDF\xBF", L"\u07FF"},
                      TextCase{"FirstOfThreeBytes", "\xE0\xA0\x80", L"\u0800"},
                      TextCase{"Euro", "\xE2\x82\xAC", L"\u20AC"},
                      TextCase{"BeforeSurrogates", "\xED\x9F\xBF", L"\uD7FF"},
                      TextCase{"BehindSurrogates", "\xEE\x80\x80", L"\uE000"},
                      TextCase{"LastOfThreeBytes", "\xEF\xBF\xBF", L"\uFFFF"},
                      TextCase{"FirstOfFourBytes", "\xF0\x90\x80\x80", L"\U00010000"},
                      TextCase{"Last", "\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
                      TextCase{"Mixed", "a\xC3\xBC\xE2\x82\xAC z", L"a\u00FC\u20AC z"}),
    [](const auto& row) { return std::string(row.param.name); });

/// Bytes that aren't UTF-8, and what they read as.
class HI18NDamaged : public ::testing::TestWithParam<TextCase> {};

TEST_P(HI18NDamaged, ReadsWithAMarkForEachBadByte) {
    EXPECT_EQ(HI18N::convert(GetParam().narrow), GetParam().wide);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, HI18NDamaged,
    ::testing::Values(TextCase{"LoneContinuation", "a\x80z", L"a\uFFFDz"},
                      TextCase{"TwoBytesForAscii", "\xC0\xAF", L"\uFFFD\uFFFD"},
                      TextCase{"ThreeBytesForTwo", "\xE0\x9F\xBF", L"\uFFFD\uFFFD\uFFFD"},
                      TextCase{"FourBytesForThree", "\xF0\x8F\xBF\xBF",
                               L"\uFFFD\uFFFD\uFFFD\uFFFD"},
                      TextCase{"Surrogate", "\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},
                      TextCase{"BeyondTheLast", "\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"},
                      TextCase{"ByteThatNeverOccurs", "\xFFz", L"\uFFFDz"},
                      TextCase{"CutAtTheEnd", "a\xE2\x82", L"a\uFFFD\uFFFD"},
                      TextCase{"CutByAscii", "\xE2\x82z", L"\uFFFD\uFFFDz"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HI18NTest, WritesAMarkForWhatIsNoCodePoint) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(HI18N::convert(std::wstring(1, wchar_t(0xD800))), mark);
    EXPECT_EQ(HI18N::convert(std::wstring(1, wchar_t(0xDFFF))), mark);
    EXPECT_EQ(HI18N::convert(std::wstring(1, wchar_t(0x110000))), mark);
    EXPECT_EQ(HI18N::convert(std::wstring(1, wchar_t(-1))), mark);
}

TEST(HI18NTest, TakesNoNoticeOfTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(HI18N::convert(std::wstring(L"\u20AC")), "\xE2\x82\xAC");
    std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
