// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/jsonWriter.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using shell::JsonWriter;

std::string numberText(double number) {
    JsonWriter out;
    out.number(number);
    return out.take();
}

std::string textText(const std::string& text) {
    JsonWriter out;
    out.text(text);
    return out.take();
}

TEST(JsonWriterTest, PutsCommasBetweenMembersAndItems) {
    JsonWriter out;
    out.beginObject();
    out.member("name", "impl_1");
    out.member("seed", 7);
    out.member("stale", false);
    out.name("steps");
    out.beginArray();
    out.beginObject();
    out.endObject();
    out.null();
    out.beginArray();
    out.endArray();
    out.endArray();
    out.member("texts", std::vector<std::string>{"a", "b"});
    out.member("fmax", 52.5);
    out.endObject();
    EXPECT_EQ(out.str(), R"({"name":"impl_1","seed":7,"stale":false,"steps":[{},null,[]],)"
                         R"("texts":["a","b"],"fmax":52.5})");
}

TEST(JsonWriterTest, WritesNullForNothing) {
    JsonWriter out;
    out.beginObject();
    out.member("seed", std::optional<long>());
    out.member("place", std::optional<std::string>());
    out.member("began", std::optional<double>(1.5));
    out.endObject();
    EXPECT_EQ(out.str(), R"({"seed":null,"place":null,"began":1.5})");
}

TEST(JsonWriterTest, TakesMembersThatAreJsonAlready) {
    JsonWriter inner;
    inner.member("a", 1);
    inner.member("b", 2);
    JsonWriter out;
    out.beginObject();
    out.raw(inner.take());
    out.member("c", 3);
    out.endObject();
    EXPECT_EQ(out.str(), R"({"a":1,"b":2,"c":3})");
}

TEST(JsonWriterTest, BeginsAnewOnceTaken) {
    JsonWriter out;
    out.text("a");
    EXPECT_EQ(out.take(), "\"a\"");
    out.text("b");
    EXPECT_EQ(out.take(), "\"b\"");
}

TEST(JsonWriterTest, WritesTextsAsTheyAre) {
    for (const std::string& text :
         {std::string(), std::string("core.alu_sum[3]"), std::string("a \"b\" \\c"),
          std::string("line\nline\ttab\x01\x1f\x7f"), std::string("a\0b", 3),
          std::string("\u00e9 \u20ac </script> \U0001f600")})
        EXPECT_EQ(json::parse(textText(text)), json(text)) << text;
}

TEST(JsonWriterTest, ReplacesWhatIsNotUtf8) {
    EXPECT_EQ(textText("a\xe9"), "\"a\xef\xbf\xbd\"");
}

TEST(JsonWriterTest, WritesNumbersSoThatTheyAreReadAsTheSame) {
    for (const double number :
         {0.0, 1.0, -1.0, 0.1, 52.813, -0.001, 1795298356.123, 123456789012345.6, 1e15, 1e22, 1e-7,
          4.9e-324, std::numeric_limits<double>::max()})
        EXPECT_EQ(json::parse(numberText(number)).get<double>(), number) << number;
}

TEST(JsonWriterTest, WritesNumbersForPeople) {
    EXPECT_EQ(numberText(52.813), "52.813");
    EXPECT_EQ(numberText(3), "3.0");
    EXPECT_EQ(numberText(1795298356.123), "1795298356.123");
}

TEST(JsonWriterTest, WritesNullForWhatIsNoNumber) {
    EXPECT_EQ(numberText(std::nan("")), "null");
    EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "null");
}

}  // namespace
