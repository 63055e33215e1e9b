// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/HXMLWriterBase.h"

#include <cerrno>
#include <ostream>

#include <gmock/gmock.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "environment/xml/xmlDocument.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/xml/xmlFixture.h"

namespace {

using test::thrownText;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

class HXMLWriterBaseTest : public test::XmlTest {
protected:
    HXMLWriterBase m_writer{path()};
};

TEST_F(HXMLWriterBaseTest, IndentsElementsByTwoBlanks) {
    m_writer.addAttr("Version", "1");
    m_writer.addAttr("Minor", "2");
    m_writer.wrStartTag("Strategy");
    m_writer.addAttr("Major", "2026");
    m_writer.wrEmptyTag("Tool");
    m_writer.wrStartTag("StratHandle");
    m_writer.wrStartTag("Desc");
    m_writer.wrString("a text");
    m_writer.wrEndTag("Desc");
    m_writer.wrEndTag("StratHandle");
    m_writer.wrEndTag("Strategy");
    m_writer.closeDoc();
    EXPECT_EQ(content(), std::string(kHead) + "<Strategy Version=\"1\" Minor=\"2\">\n"
                                              "  <Tool Major=\"2026\"/>\n"
                                              "  <StratHandle>\n"
                                              "    <Desc>a text</Desc>\n"
                                              "  </StratHandle>\n"
                                              "</Strategy>\n");
}

TEST_F(HXMLWriterBaseTest, TouchesNoFileBeforeTheDocumentIsClosed) {
    write("old");
    {
        HXMLWriterBase writer(path());
        writer.wrEmptyTag("New");
    }
    EXPECT_EQ(content(), "old");
}

TEST_F(HXMLWriterBaseTest, ClosesOnlyOnce) {
    m_writer.wrEmptyTag("Root");
    m_writer.closeDoc();
    write("changed by someone else");
    m_writer.closeDoc();
    EXPECT_EQ(content(), "changed by someone else");
}

TEST_F(HXMLWriterBaseTest, NamesTheFileThatCannotBeSaved) {
    HXMLWriterBase writer(m_dir.path("missing/doc.xml"));
    writer.wrEmptyTag("Root");
    EXPECT_THAT(thrownText<HXMLException>([&] { writer.closeDoc(); }),
                HasSubstr(m_dir.path("missing")));
}

TEST_F(HXMLWriterBaseTest, SavesWhenAskedAgainAfterAFailure) {
    HXMLWriterBase writer(m_dir.path("later/doc.xml"));
    writer.wrEmptyTag("Root");
    EXPECT_THROW(writer.closeDoc(), HXMLException);
    m_dir.folder("later");
    writer.closeDoc();
    EXPECT_EQ(m_dir.read("later/doc.xml"), std::string(kHead) + "<Root/>\n");
}

TEST_F(HXMLWriterBaseTest, LeavesTheOldFileWhenAnyDiskCallFails) {
    write("old");
    for (int failing = 1;; ++failing) {
        HXMLWriterBase writer(path());
        writer.wrEmptyTag("New");
        test::FaultyDisk disk;
        disk.failOnce(failing, EIO);
        const std::string error = thrownText<HXMLException>([&] { writer.closeDoc(); });
        if (!disk.hasFailed())
            break;
        const std::string now = content();
        EXPECT_TRUE(now == "old" || now == std::string(kHead) + "<New/>\n")
            << failing << ": " << now;
        EXPECT_TRUE(now != "old" || error != "nothing thrown") << failing;
        write("old");
    }
}

/// Text that must come back as it was given.
struct TextCase {
    const char* name;
    std::string text;
};

std::ostream& operator<<(std::ostream& os, const TextCase& row) {
    return os << row.name;
}

class TextRoundTrip : public test::XmlTest, public ::testing::WithParamInterface<TextCase> {};

TEST_P(TextRoundTrip, KeepsTextAndAttribute) {
    HXMLWriterBase writer(path());
    writer.addAttr("Value", GetParam().text);
    writer.wrStartTag("Desc");
    writer.wrString(GetParam().text);
    writer.wrEndTag("Desc");
    writer.closeDoc();
    const xml::Document document = xml::Document::fromFile(path());
    EXPECT_EQ(document.root().attribute("Value"), GetParam().text);
    EXPECT_EQ(document.root().text(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, TextRoundTrip,
    ::testing::Values(TextCase{"Empty", ""}, TextCase{"Markup", "a < b && c > d"},
                      TextCase{"Quotes", "say \"no\" or 'yes'"},
                      TextCase{"EscapedAlready", "&amp; &#38; &lt;"},
                      TextCase{"EndOfCData", "a]]>b<![CDATA[c"},
                      TextCase{"LineEnds", "a\nb\r\nc\rd"}, TextCase{"LineEndsAround", "\n\na\n"},
                      TextCase{"Tabs", "\ta\t"}, TextCase{"BlanksAround", "  a  "},
                      TextCase{"OnlyBlanks", "   "}, TextCase{"OnlyALineEnd", "\n"},
                      TextCase{"BlankBetweenEntities", "&amp; & <"},
                      TextCase{"Accents", "Gr\xC3\xBC\xC3\x9F Gott"},
                      TextCase{"Asian", "\xE6\xBC\xA2\xE5\xAD\x97"},
                      TextCase{"BeyondTheFirstPlane", "\xF0\x9F\x98\x80 \xF4\x8F\xBF\xBD"},
                      TextCase{"LineSeparator", "a\xE2\x80\xA8"
                                                "b\xC2\x85"
                                                "c"},
                      TextCase{"Percent", "100 %s %d"}, TextCase{"Comment", "<!-- no -->"}),
    [](const auto& row) { return std::string(row.param.name); });

/// Text that no XML document holds, and how it is told.
struct BadTextCase {
    const char* name;
    std::string text;
    const char* complaint;
};

std::ostream& operator<<(std::ostream& os, const BadTextCase& row) {
    return os << row.name;
}

class RefusedText : public test::XmlTest, public ::testing::WithParamInterface<BadTextCase> {
protected:
    void SetUp() override { write("old"); }
    void TearDown() override { EXPECT_EQ(content(), "old"); }

    HXMLWriterBase m_writer{path()};
};

TEST_P(RefusedText, IsNamedAsAttribute) {
    EXPECT_EQ(thrownText<HXMLException>([&] { m_writer.addAttr("Value", GetParam().text); }),
              path() + ": can't be written: the value of \"Value\" holds " + GetParam().complaint);
}

TEST_P(RefusedText, IsNamedAsText) {
    m_writer.wrStartTag("Desc");
    EXPECT_EQ(thrownText<HXMLException>([&] { m_writer.wrString(GetParam().text); }),
              path() + ": can't be written: the text of \"Desc\" holds " + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedText,
    ::testing::Values(
        BadTextCase{"Zero", std::string("a\0b", 3), "the character U+0000"},
        BadTextCase{"Bell", "a\a", "the character U+0007"},
        BadTextCase{"Escape", "\x1B[0m", "the character U+001B"},
        BadTextCase{"NoCharacter", "\xEF\xBF\xBE", "the character U+FFFE"},
        BadTextCase{"Latin1", "Gr\xFC\xDF", "the byte 0xFC, which isn't UTF-8"},
        BadTextCase{"CutShort", "a\xE6\xBC", "the byte 0xE6, which isn't UTF-8"},
        BadTextCase{"Overlong", "\xC0\xAF", "the byte 0xC0, which isn't UTF-8"},
        BadTextCase{"OverlongOfThree", "\xE0\x80\xAF", "the byte 0xE0, which isn't UTF-8"},
        BadTextCase{"Surrogate", "\xED\xA0\x80", "the byte 0xED, which isn't UTF-8"},
        BadTextCase{"BeyondUnicode", "\xF4\x90\x80\x80", "the byte 0xF4, which isn't UTF-8"},
        BadTextCase{"StrayTail", "a\x80", "the byte 0x80, which isn't UTF-8"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(HXMLWriterBaseTest, RefusesANameThatXmlCannotHave) {
    for (const char* name : {"", "a b", "1st", "a:b", "<", "xmlns"})
        EXPECT_THAT(thrownText<HXMLException>([&] { m_writer.addAttr(name, "v"); }),
                    StartsWith(path() + ": can't be written: \"" + name))
            << name;
    for (const char* name : {"", "a b", "1st", "a:b", "<"})
        EXPECT_THAT(thrownText<HXMLException>([&] { m_writer.wrEmptyTag(name); }),
                    StartsWith(path() + ": can't be written: \"" + name))
            << name;
}

TEST_F(HXMLWriterBaseTest, RefusesAnAttributeThatComesTwice) {
    m_writer.addAttr("Id", "1");
    EXPECT_EQ(thrownText<HXMLException>([&] { m_writer.addAttr("Id", "2"); }),
              path() + ": can't be written: the attribute \"Id\" comes twice in one element");
}

TEST_F(HXMLWriterBaseTest, HoldsAttributesForOneElementOnly) {
    m_writer.addAttr("Id", "1");
    m_writer.wrStartTag("Root");
    m_writer.wrEmptyTag("Child");
    m_writer.wrEndTag("Root");
    m_writer.closeDoc();
    EXPECT_THAT(content(), HasSubstr("<Root Id=\"1\">\n  <Child/>\n</Root>\n"));
}

TEST_F(HXMLWriterBaseTest, RefusesADocumentThatNoReaderWouldTake) {
    write("old");
    for (int depth = 0; depth < 65; ++depth)
        m_writer.wrStartTag("Deep");
    for (int depth = 0; depth < 65; ++depth)
        m_writer.wrEndTag("Deep");
    EXPECT_EQ(thrownText<HXMLException>([&] { m_writer.closeDoc(); }),
              path() + ": can't be written: the document couldn't be read again: "
                       "elements nested deeper than 64");
    EXPECT_EQ(content(), "old");
}

TEST_F(HXMLWriterBaseTest, RefusesTagsThatDoNotFitTogether) {
    EXPECT_THROW(m_writer.wrEndTag("Root"), HEXAlgException);
    EXPECT_THROW(m_writer.wrString("text"), HEXAlgException);
    m_writer.wrStartTag("Root");
    EXPECT_THROW(m_writer.wrEndTag("Other"), HEXAlgException);
    EXPECT_THROW(m_writer.closeDoc(), HEXAlgException);
    m_writer.wrEndTag("Root");
    EXPECT_THROW(m_writer.wrStartTag("Second"), HEXAlgException);
    EXPECT_THROW(m_writer.wrEmptyTag("Second"), HEXAlgException);
}

TEST_F(HXMLWriterBaseTest, RefusesToCloseAnEmptyDocument) {
    EXPECT_THROW(m_writer.closeDoc(), HEXAlgException);
    EXPECT_FALSE(m_dir.has("doc.xml"));
}

TEST_F(HXMLWriterBaseTest, RefusesAttributesWithoutAnElement) {
    m_writer.wrStartTag("Root");
    m_writer.addAttr("Id", "1");
    EXPECT_THROW(m_writer.wrString("text"), HEXAlgException);
    EXPECT_THROW(m_writer.wrEndTag("Root"), HEXAlgException);
}

}  // namespace
