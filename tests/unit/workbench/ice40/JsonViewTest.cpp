// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/jsonView.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using ice40::findMember;
using ice40::getMember;

class JsonViewTest : public ::testing::Test {
protected:
    bool view(std::string_view text) { return ice40::viewJson(text, m_root); }

    ice40::JsonObject m_root;
};

TEST_F(JsonViewTest, GivesMembersOfTheirKinds) {
    ASSERT_TRUE(view(R"({"t": "a\u0041\n", "n": -3, "d": 2.5, "o": {"x": "y"}, "l": [1, 2]})"));
    std::string text;
    std::int64_t whole = 0;
    double number = 0;
    ice40::JsonObject object;
    ice40::JsonArray list;
    EXPECT_TRUE(getMember(m_root, "t", text));
    EXPECT_EQ(text, "aA\n");
    EXPECT_TRUE(getMember(m_root, "n", whole));
    EXPECT_EQ(whole, -3);
    EXPECT_TRUE(getMember(m_root, "n", number));
    EXPECT_EQ(number, -3.0);
    EXPECT_TRUE(getMember(m_root, "d", number));
    EXPECT_EQ(number, 2.5);
    EXPECT_TRUE(getMember(m_root, "o", object));
    EXPECT_TRUE(getMember(object, "x", text));
    EXPECT_EQ(text, "y");
    EXPECT_TRUE(getMember(m_root, "l", list));
    EXPECT_EQ(list.size(), 2U);
}

TEST_F(JsonViewTest, LeavesTheValueWhereAMemberIsMissingOrOfAnotherKind) {
    ASSERT_TRUE(view(R"({"t": "a", "d": 2.5, "big": 18446744073709551615, "z": null})"));
    std::string text = "left";
    std::int64_t whole = 7;
    for (const char* name : {"gone", "d", "z", "T", ""})
        EXPECT_FALSE(getMember(m_root, name, text)) << name;
    for (const char* name : {"gone", "d", "big", "t", "z"})
        EXPECT_FALSE(getMember(m_root, name, whole)) << name;
    EXPECT_EQ(text, "left");
    EXPECT_EQ(whole, 7);
    ice40::JsonValue null;
    EXPECT_TRUE(findMember(m_root, "z", null));
    EXPECT_TRUE(null.is_null());
}

TEST_F(JsonViewTest, TakesTheLastMemberOfAName) {
    ASSERT_TRUE(view(R"({"a": 1, "b": 0, "a": 2})"));
    std::int64_t number = 0;
    EXPECT_TRUE(getMember(m_root, "a", number));
    EXPECT_EQ(number, 2);
}

TEST_F(JsonViewTest, RefusesWhatIsNoWholeObject) {
    const std::string_view texts[] = {"",
                                      "[]",
                                      "1",
                                      "null",
                                      "{",
                                      "{\"a\": 1",
                                      "{\"a\": 1}}",
                                      "{\"a\": \"\xe9\"}",
                                      "{\"a\": 1e999}",
                                      "{'a': 1}"};
    for (const std::string_view text : texts)
        EXPECT_FALSE(view(text)) << text;
    EXPECT_FALSE(view(std::string_view("{}\0\0", 4)));
    EXPECT_TRUE(view("{}"));
}

TEST_F(JsonViewTest, RefusesWhatIsNestedEndlessly) {
    const std::size_t depth = 100000;
    EXPECT_FALSE(view("{\"a\": " + std::string(depth, '[') + std::string(depth, ']') + "}"));
}

}  // namespace
