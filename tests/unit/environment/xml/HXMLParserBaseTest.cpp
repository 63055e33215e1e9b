// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/HXMLParserBase.h"

#include <ostream>
#include <stdexcept>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include "environment/xml/HXMLReadException.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/xml/xmlFixture.h"

namespace {

using test::thrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HXMLParserBaseTest : public test::XmlTest {
protected:
    bool parse(const std::string& document, bool sendErrors = true) {
        write(document);
        m_parser.events.clear();
        return m_parser.parse(path(), sendErrors);
    }

    test::EventLog m_parser;
};

TEST_F(HXMLParserBaseTest, GivesTheEventsInDocumentOrder) {
    EXPECT_TRUE(parse("<a x=\"1\" y=\"2\"><b>text</b><c/></a>"));
    EXPECT_THAT(m_parser.events, ElementsAre("document", "<a x=1 y=2>", "<b>", "text text", "</b>",
                                             "<c>", "</c>", "</a>", "end of document"));
}

TEST_F(HXMLParserBaseTest, TellsLayoutFromText) {
    EXPECT_TRUE(parse("<a>\n  <b>\n</b>\n</a>\n"));
    EXPECT_THAT(m_parser.events, ElementsAre("document", "<a>", "layout", "<b>", "text \n", "</b>",
                                             "layout", "</a>", "end of document"));
}

TEST_F(HXMLParserBaseTest, GivesTextUpToTheNextTagInOnePiece) {
    EXPECT_TRUE(parse("<a>1&lt;2<!-- 3 --><![CDATA[<4> ]]>&#x35;<?six?> </a>"));
    EXPECT_THAT(m_parser.events,
                ElementsAre("document", "<a>", "text 1<2<4> 5 ", "</a>", "end of document"));
}

TEST_F(HXMLParserBaseTest, ReadsThePredefinedEntities) {
    EXPECT_TRUE(parse("<a v=\"&amp;&lt;&gt;&quot;&apos;&#38;&#x26;amp;\">"
                      "&amp;&lt;&gt;&quot;&apos;&#38;&#x26;amp;</a>"));
    EXPECT_EQ(m_parser.events.at(1), "<a v=&<>\"'&&amp;>");
    EXPECT_EQ(m_parser.events.at(2), "text &<>\"'&&amp;");
}

TEST_F(HXMLParserBaseTest, KeepsFileAndLine) {
    std::vector<int> lines;
    m_parser.onStart = [&](const auto&, const auto&) { lines.push_back(m_parser.getLine()); };
    EXPECT_TRUE(
        parse("<?xml version=\"1.0\"?>\n<!-- <no>\n -->\n<a\n  x=\"1\"\n>\n<b/><c/>\n</a>"));
    EXPECT_THAT(lines, ElementsAre(4, 7, 7));
    EXPECT_EQ(m_parser.getFileName(), path());
}

TEST_F(HXMLParserBaseTest, KnowsWhenSomethingWasDropped) {
    m_parser.taken = {"a", "b"};
    EXPECT_TRUE(parse("<a><b/></a>"));
    EXPECT_FALSE(m_parser.hasDropped());
    EXPECT_TRUE(parse("<a><b/><c/></a>"));
    EXPECT_TRUE(m_parser.hasDropped());
    m_parser.onStart = [this](const auto&, const auto&) { m_parser.noteDropped_(); };
    EXPECT_TRUE(parse("<a/>"));
    EXPECT_TRUE(m_parser.hasDropped());
}

TEST_F(HXMLParserBaseTest, StartsAnewWithEachFile) {
    m_parser.setVersionCheck("a", 1, 0);
    m_parser.taken = {"a"};
    EXPECT_FALSE(parse("<a Version=\"1\" Minor=\"3\"><b></a>"));
    EXPECT_TRUE(m_parser.hasDropped());
    EXPECT_TRUE(parse("<a Version=\"1\"/>"));
    EXPECT_EQ(m_parser.getFileMinor(), 0);
    EXPECT_FALSE(m_parser.hasDropped());
}

// What a handler throws ----------------------------------------------------

TEST_F(HXMLParserBaseTest, EndsTheDocumentAtABool) {
    m_parser.onStart = [](const std::string& name, const auto&) {
        if (name == "b")
            throw false;
    };
    EXPECT_FALSE(parse("<a><b/><c/></a>"));
    EXPECT_THAT(m_parser.events, ElementsAre("document", "<a>", "<b>"));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(HXMLParserBaseTest, GivesTheBoolThatWasThrown) {
    m_parser.onStart = [](const auto&, const auto&) { throw true; };
    EXPECT_TRUE(parse("<a><b/></a>"));
    EXPECT_THAT(m_parser.events, ElementsAre("document", "<a>"));
}

TEST_F(HXMLParserBaseTest, PassesOtherExceptionsOn) {
    m_parser.onStart = [](const auto&, const auto&) { throw std::invalid_argument("stoi"); };
    EXPECT_THROW(parse("<a><b/></a>"), std::invalid_argument);
    m_parser.onStart = [](const auto&, const auto&) { throw 7; };
    EXPECT_THROW(parse("<a><b/></a>"), int);
    m_parser.onStart = nullptr;
    EXPECT_TRUE(parse("<a/>"));
}

TEST_F(HXMLParserBaseTest, GivesNoEventBehindAnException) {
    m_parser.onStart = [](const auto&, const auto&) { throw std::runtime_error("enough"); };
    std::string many = "<a>";
    for (int i = 0; i < 5000; ++i)
        many += "<b>text</b>\n";
    EXPECT_THROW(parse(many + "</a>"), std::runtime_error);
    EXPECT_THAT(m_parser.events, ElementsAre("document", "<a>"));
}

TEST_F(HXMLParserBaseTest, RefusesInTheNameOfFileAndLine) {
    m_parser.onStart = [this](const auto&, const auto&) { m_parser.refuse_("no such flow"); };
    EXPECT_EQ(thrownText<HXMLReadException>([&] { parse("\n<a/>", false); }),
              path() + ":2: no such flow");
}

// Errors -------------------------------------------------------------------

TEST_F(HXMLParserBaseTest, SendsAMessageInPlaceOfAnException) {
    EXPECT_FALSE(parse("<a>\n<b>\n</a>"));
    const auto messages = m_messages.messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].id, "1-126");
    EXPECT_EQ(messages[0].domain, "project");
    EXPECT_EQ(messages[0].mask, ComMsgMgr::kError);
    EXPECT_EQ(messages[0].args.at(0), path());
    EXPECT_EQ(messages[0].args.at(1), "3");
    EXPECT_THAT(messages[0].args.at(2), HasSubstr("mismatch"));
}

TEST_F(HXMLParserBaseTest, GivesFileLineAndReasonApart) {
    write("<a>\n<b>\n</a>");
    try {
        m_parser.parse(path(), false);
        FAIL() << "nothing thrown";
    } catch (const HXMLReadException& error) {
        EXPECT_EQ(error.getFileName(), path());
        EXPECT_EQ(error.getLine(), 3);
        EXPECT_EQ(error.what(), path() + ":3: " + error.getReason());
    }
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(HXMLParserBaseTest, TellsAMissingFile) {
    EXPECT_EQ(thrownText<HXMLReadException>([&] { m_parser.parse(path(), false); }),
              path() + ": No such file or directory");
    EXPECT_FALSE(m_parser.parse(path(), true));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(HXMLParserBaseTest, RefusesWhatIsNoFile) {
    EXPECT_THAT(thrownText<HXMLReadException>([&] { m_parser.parse(m_dir.path(), false); }),
                HasSubstr(m_dir.path() + ": "));
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_THAT(thrownText<HXMLReadException>([&] { m_parser.parse(path(), false); }),
                HasSubstr(path() + ": "));
}

TEST_F(HXMLParserBaseTest, RefusesAFileCutAnywhere) {
    const std::string whole = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- c -->\n"
                              "<a v=\"\xC3\xBC&amp;\">t&lt;<![CDATA[d]]><?p i?><b/>\n</a>";
    ASSERT_EQ(errorOf(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(errorOf(whole.substr(0, length)), "") << length;
}

TEST_F(HXMLParserBaseTest, SurvivesAnyChangedByte) {
    const std::string whole = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<a v=\"\xC3\xBC&amp;\">t&lt;<![CDATA[d]]><?p i?><b/><!-- c --></a>";
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (const char byte : {'\0', '<', '>', '&', '"', '\xFF', ' ', ';'}) {
            std::string changed = whole;
            changed[at] = byte;
            errorOf(changed);
        }
}

// Version ------------------------------------------------------------------

class VersionCheckTest : public HXMLParserBaseTest {
protected:
    VersionCheckTest() { m_parser.setVersionCheck("Strategy", 1, 2); }

    std::string refusalOf(const std::string& document) {
        return thrownText<HXMLReadException>([&] { parse(document, false); }).substr(path().size());
    }
};

TEST_F(VersionCheckTest, TakesTheVersionExpected) {
    EXPECT_TRUE(parse("<Strategy Version=\"1\" Minor=\"2\"/>"));
    EXPECT_EQ(m_parser.getRootElement(), "Strategy");
    EXPECT_EQ(m_parser.getFileMajor(), 1);
    EXPECT_EQ(m_parser.getFileMinor(), 2);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(VersionCheckTest, TakesAnEarlierMinorVersionSilently) {
    EXPECT_TRUE(parse("<Strategy Version=\"1\" Minor=\"0\"/>"));
    EXPECT_TRUE(parse("<Strategy Version=\"1\"/>"));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(VersionCheckTest, WarnsOfALaterMinorVersion) {
    EXPECT_TRUE(parse("<Strategy Version=\"1\" Minor=\"3\"/>"));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("environment WARNING 12-60(" + path() + ", 1.3, 1.2)"));
}

TEST_F(VersionCheckTest, RefusesAnotherMajorVersion) {
    EXPECT_EQ(refusalOf("<Strategy Version=\"2\" Minor=\"0\"/>"),
              ":1: the file has format version 2.0; version 1.2 can be read");
    EXPECT_EQ(refusalOf("<Strategy Version=\"0\" Minor=\"9\"/>"),
              ":1: the file has format version 0.9; version 1.2 can be read");
}

TEST_F(VersionCheckTest, RefusesAVersionThatIsNoNumber) {
    const char* const reason = ":1: the attribute \"Version\" of \"Strategy\" isn't a number";
    EXPECT_EQ(refusalOf("<Strategy/>"), reason);
    EXPECT_EQ(refusalOf("<Strategy Version=\"one\" Minor=\"2\"/>"), reason);
    EXPECT_EQ(refusalOf("<Strategy Version=\"99999999999\"/>"), reason);
}

TEST_F(VersionCheckTest, RefusesAnotherRoot) {
    EXPECT_EQ(refusalOf("<Reports Version=\"1\" Minor=\"2\"/>"),
              ":1: the file is a \"Reports\" file; expected was \"Strategy\"");
}

TEST_F(VersionCheckTest, RefusesBeforeTheRootIsHanded) {
    EXPECT_FALSE(parse("<Reports/>"));
    EXPECT_THAT(m_parser.events, ElementsAre("document"));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(VersionCheckTest, LooksAtTheRootAlone) {
    EXPECT_TRUE(parse("<Strategy Version=\"1\"><Tool Version=\"9\"/></Strategy>"));
}

/// Takes every version of its format.
class AnyVersion : public test::EventLog {
protected:
    void validateVersion_() override { events.push_back("version of " + getRootElement()); }
};

TEST_F(VersionCheckTest, LeavesTheDecisionToAnOverride) {
    write("<Reports Version=\"9\"/>");
    AnyVersion parser;
    EXPECT_TRUE(parser.parse(path(), false));
    EXPECT_EQ(parser.events.at(1), "<Reports Version=9>");
    parser.events.clear();
    parser.setVersionCheck("Strategy", 1, 2);
    EXPECT_TRUE(parser.parse(path(), false));
    EXPECT_EQ(parser.events.at(1), "version of Reports");
}

}  // namespace
