// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>
#include <string>

#include <gmock/gmock.h>

#include <unistd.h>

#include "environment/xml/HXMLReadException.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/xml/xmlFixture.h"

namespace {

using ::testing::HasSubstr;

std::string times(std::size_t count, const std::string& text) {
    std::string result;
    result.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string element(std::size_t attributes) {
    std::string tag = "<b";
    for (std::size_t i = 0; i < attributes; ++i)
        tag += " a" + std::to_string(i) + "=\"\"";
    return tag + "/>";
}

class XmlBoundsTest : public test::XmlTest {};

TEST_F(XmlBoundsTest, AllowAnElementInTheSixtyFourthPlace) {
    EXPECT_EQ(errorOf(times(64, "<a>") + times(64, "</a>")), "");
    EXPECT_EQ(errorOf(times(65, "<a>\n") + times(65, "</a>")),
              ":65: elements nested deeper than 64");
}

TEST_F(XmlBoundsTest, AllowAnAttributeOfOneMegabyte) {
    const std::string value(std::size_t{1} << 20, 'x');
    EXPECT_EQ(errorOf("<a v=\"" + value + "\"/>"), "");
    EXPECT_EQ(errorOf("<a>\n<b v=\"" + value + "x\"/></a>"),
              ":2: the attribute \"v\" is longer than 1048576 bytes");
}

TEST_F(XmlBoundsTest, AllowManyElements) {
    EXPECT_EQ(errorOf("<a>" + times(149999, "<b/>") + "</a>"), "");
    EXPECT_EQ(errorOf("<a>\n" + times(150000, "<b/>") + "</a>"), ":2: more than 150000 elements");
}

TEST_F(XmlBoundsTest, AllowManyAttributesInAnElement) {
    EXPECT_EQ(errorOf(element(1024)), "");
    EXPECT_EQ(errorOf(element(1025)), ":1: more than 1024 attributes in one element");
}

TEST_F(XmlBoundsTest, AllowManyAttributesInAFile) {
    const std::string thousand = element(1000);
    EXPECT_EQ(errorOf("<a>" + times(300, thousand) + "</a>"), "");
    EXPECT_EQ(errorOf("<a>" + times(301, thousand) + "</a>"), ":1: more than 300000 attributes");
}

TEST_F(XmlBoundsTest, AllowAFewNamespaces) {
    std::string tag = "<a";
    for (int i = 0; i < 64; ++i)
        tag += " xmlns:n" + std::to_string(i) + "=\"http://example.org/" + std::to_string(i) + "\"";
    EXPECT_EQ(errorOf(tag + "><n7:b/></a>"), "");
    EXPECT_EQ(errorOf(tag + ">\n<b xmlns=\"http://example.org/b\"/></a>"),
              ":2: more than 64 namespaces");
}

TEST_F(XmlBoundsTest, RefuseAFileOfMoreThanSixteenMegabytes) {
    write("<a/>");
    ASSERT_EQ(truncate(path().c_str(), (16 << 20) + 1), 0);
    test::EventLog parser;
    EXPECT_NE(test::thrownText<HXMLReadException>([&] { parser.parse(path(), false); }),
              "nothing thrown");
    EXPECT_TRUE(parser.events.empty());
}

TEST_F(XmlBoundsTest, AllowAFileOfSixteenMegabytes) {
    const std::string head = "<a><!--";
    const std::string tail = "--></a>";
    const std::size_t size = std::size_t{16} << 20;
    EXPECT_EQ(errorOf(head + std::string(size - head.size() - tail.size(), 'x') + tail), "");
}

/// Documents that are refused, with line and reason.
struct RefusedCase {
    const char* name;
    std::string document;
    const char* error;
};

std::ostream& operator<<(std::ostream& os, const RefusedCase& row) {
    return os << row.name;
}

class RefusedDocument : public test::XmlTest, public ::testing::WithParamInterface<RefusedCase> {};

TEST_P(RefusedDocument, IsToldWithItsLine) {
    EXPECT_THAT(errorOf(GetParam().document), HasSubstr(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedDocument,
    ::testing::Values(
        RefusedCase{"Empty", "", ": the file is empty"},
        RefusedCase{"Blank", " \n", ":2: Start tag expected"},
        RefusedCase{"PlainText", "hello", ":1: "}, RefusedCase{"TwoRoots", "<a/>\n<b/>", ":2: "},
        RefusedCase{"Doctype", "<!DOCTYPE a>\n<a/>", ":1: a DOCTYPE isn't allowed in this file"},
        RefusedCase{"Laughs",
                    "<?xml version=\"1.0\"?>\n<!DOCTYPE a [<!ENTITY b \"ha\"><!ENTITY c "
                    "\"&b;&b;\">]>\n<a>&c;</a>",
                    ":2: a DOCTYPE isn't allowed in this file"},
        RefusedCase{"ExternalEntity",
                    "<!DOCTYPE a [<!ENTITY b SYSTEM \"file:///etc/passwd\">]>\n<a>&b;</a>",
                    ":1: a DOCTYPE isn't allowed in this file"},
        RefusedCase{"LateDoctype", "<a>\n<!DOCTYPE b></a>", ":2: a DOCTYPE isn't"},
        RefusedCase{"UnknownEntity", "<a>\n&nbsp;</a>", ":2: Entity 'nbsp' not defined"},
        RefusedCase{"UnknownEntityInValue", "<a\n v=\"&x;\"/>", ":2: Entity 'x' not defined"},
        RefusedCase{"ReferenceToABadCharacter", "<a>&#0;</a>", ":1: "},
        RefusedCase{"ReferenceToAControl", "<a>&#x1B;</a>", ":1: "},
        RefusedCase{"AttributeTwice", "<a\nx=\"1\" x=\"2\"/>", ":2: Attribute x redefined"},
        RefusedCase{"UnboundPrefix", "<a>\n<x:b/></a>", ":2: Namespace prefix x on b"},
        RefusedCase{"ControlCharacter", "<a>\n\n\x07</a>",
                    ":3: the character U+0007 isn't allowed in XML"},
        RefusedCase{"ZeroByte", std::string("<a>\0</a>", 8),
                    ":1: the character U+0000 isn't allowed in XML"},
        RefusedCase{"NotUtf8", "<a>\nGr\xFC\xDF</a>",
                    ":2: the byte 0xFC, which isn't UTF-8 isn't allowed in XML"},
        RefusedCase{"OpenComment", "<a>\n<!-- b</a>", ":2: a comment has no end"},
        RefusedCase{"OpenCData", "<a>\n<![CDATA[ b</a>", ":2: a CDATA section has no end"},
        RefusedCase{"OpenInstruction", "<a>\n<?b</a>", ":2: a processing instruction has no end"},
        RefusedCase{"TagInAnInstruction", "<a>\n<?1 <b?></a>",
                    ":2: a processing instruction holds '<'"},
        RefusedCase{"TagInAValue", "<a>\n<b v=\"\n<c>\"/></a>", ":2: '<' inside a tag"},
        RefusedCase{"OpenTag", "<a>\n<b v='>'", ":2: a tag has no end"},
        RefusedCase{"OtherEncoding", "<?xml version='1.0' encoding='utf-7'?>\n<a/>",
                    ":1: the encoding \"UTF-7\" isn't supported; save the file as UTF-8"},
        RefusedCase{"HalfAUnit", std::string("\xFF\xFE<\0a\0/\0>\0x", 11),
                    ": the file isn't valid UTF-16"},
        RefusedCase{"LoneSurrogate", std::string("\xFF\xFE<\0\x00\xD8>\0", 8),
                    ": the file isn't valid UTF-16"}),
    [](const auto& row) { return std::string(row.param.name); });

/// One document in several encodings.
struct EncodingCase {
    const char* name;
    std::string document;
};

std::ostream& operator<<(std::ostream& os, const EncodingCase& row) {
    return os << row.name;
}

class DocumentEncoding : public test::XmlTest,
                         public ::testing::WithParamInterface<EncodingCase> {};

TEST_P(DocumentEncoding, IsRead) {
    write(GetParam().document);
    test::EventLog parser;
    EXPECT_TRUE(parser.parse(path(), true));
    ASSERT_EQ(parser.events.size(), 5u);
    EXPECT_EQ(parser.events[1], "<a v=\xC3\xBC>");
    EXPECT_EQ(parser.events[2], "text \xC3\xBC");
}

std::string wide(const std::string& latin1, bool bigEndian) {
    std::string units;
    for (const char c : latin1) {
        units += bigEndian ? '\0' : c;
        units += bigEndian ? c : '\0';
    }
    return units;
}

const char kUtf16Head[] = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>";

INSTANTIATE_TEST_SUITE_P(
    Table, DocumentEncoding,
    ::testing::Values(
        EncodingCase{"Utf8", "<a v=\"\xC3\xBC\">\xC3\xBC</a>"},
        EncodingCase{"DeclaredUtf8",
                     "<?xml version='1.0' encoding='utf-8'?><a v=\"\xC3\xBC\">\xC3\xBC</a>"},
        EncodingCase{"Utf8WithMark", "\xEF\xBB\xBF<a v=\"\xC3\xBC\">\xC3\xBC</a>"},
        EncodingCase{"Latin1",
                     "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a v=\"\xFC\">\xFC</a>"},
        EncodingCase{"AsciiWithReferences",
                     "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a v=\"&#252;\">&#xFC;</a>"},
        EncodingCase{"Utf16Little",
                     "\xFF\xFE" + wide(std::string(kUtf16Head) + "<a v=\"\xFC\">\xFC</a>", false)},
        EncodingCase{"Utf16Big",
                     "\xFE\xFF" + wide(std::string(kUtf16Head) + "<a v=\"\xFC\">\xFC</a>", true)},
        EncodingCase{"Utf16WithoutMark",
                     wide(std::string(kUtf16Head) + "<a v=\"\xFC\">\xFC</a>", false)}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(XmlBoundsTest, ReadSurrogatePairs) {
    write("\xFF\xFE" + wide("<a>", false) + "\x3D\xD8" + std::string("\x00\xDE", 2) +
          wide("</a>", false));
    test::EventLog parser;
    EXPECT_TRUE(parser.parse(path(), true));
    EXPECT_EQ(parser.events.at(2), "text \xF0\x9F\x98\x80");
}

}  // namespace
