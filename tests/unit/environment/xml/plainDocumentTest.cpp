// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/plainDocument.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/xml/HXMLParserBase.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlReader.h"
#include "tests/support/RunDir.h"

using CSL::XML::CAttributeList;

namespace {

/// What is told, an event a line.
class Recorder : public xml::Events {
public:
    void startElement(const std::string& name, const CAttributeList& attributes,
                      int line) override {
        told += std::to_string(line) + " <" + name;
        for (std::size_t i = 0; i < attributes.getLength(); ++i)
            told += "|" + attributes.getName(i) + "=" + attributes.getValue(i);
        told += "\n";
    }
    void endElement(const std::string& name, int line) override {
        told += std::to_string(line) + " >" + name + "\n";
    }
    void text(const std::string& text, bool isLayout, int line) override {
        told += std::to_string(line) + (isLayout ? " _" : " \"") + text + "\n";
    }

    std::string told;
};

/// Records what the library tells of a file: the comment makes it no plain document and
/// is no event itself.
class LibraryRecorder : public HXMLParserBase {
public:
    explicit LibraryRecorder(const std::string& document) {
        const test::RunDir dir;
        dir.mark("file", document + "<!-- -->");
        parse(dir.path("file"), false);
    }

    Recorder recorder;

protected:
    void startDoc_() override {}
    void startElem_(const std::string& name, const CAttributeList& attributes) override {
        recorder.startElement(name, attributes, getLine());
    }
    void endElem_(const std::string& name) override { recorder.endElement(name, getLine()); }
    void chars_(const std::string& text) override { recorder.text(text, false, getLine()); }
    void whitespace_(const std::string& text) override { recorder.text(text, true, getLine()); }
};

/// Whether the document is plain; then it is also told as the library tells it.
bool isPlain(const std::string& document) {
    Recorder recorder;
    const bool plain = xml::readPlain(document, recorder);
    if (plain)
        EXPECT_EQ(recorder.told, LibraryRecorder(document).recorder.told) << document;
    else
        EXPECT_EQ(recorder.told, "") << document;
    return plain;
}

TEST(PlainDocument, IsToldAsTheLibraryTellsIt) {
    EXPECT_TRUE(isPlain("<a/>"));
    EXPECT_TRUE(isPlain("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n</a>\n"));
    EXPECT_TRUE(isPlain("<a b=\"1\" c='2' d_-.9=\"\"/>"));
    EXPECT_TRUE(isPlain("<a\n  b=\"1\"\n  c=\"2\"\n>\n<b\n/>\n</a\n>"));
    EXPECT_TRUE(isPlain("<a> </a>"));
    EXPECT_TRUE(isPlain("<a> <b/> \n<b> x </b> </a>"));
    EXPECT_TRUE(isPlain("<a>1 &lt; 2 &amp;&amp; 3 &gt; 2 &quot;&apos;</a>"));
    EXPECT_TRUE(isPlain("<a b=\"&lt;&gt;&amp;&quot;&apos; '>'\"/>"));
    EXPECT_TRUE(isPlain("<a b='\"'>a > b ] ]] ]x></a>"));
    EXPECT_TRUE(isPlain("<a b=\"\xC3\xA4\">\xE2\x82\xAC &amp;lt;</a>"));
    EXPECT_TRUE(isPlain("<a>\n\n  text\n  <b/>\n\n  more\n</a>"));
}

TEST(PlainDocument, WithAnythingElseIsLeftToTheLibrary) {
    for (const char* document :
         {"<!DOCTYPE a><a/>", "<a><!-- c --></a>", "<a><![CDATA[x]]></a>", "<a><?p i?></a>",
          "<a/><!-- c -->", "<a xmlns=\"u\"/>", "<x:a xmlns:x=\"u\"/>", "<a xml:lang=\"de\"/>",
          "<a b=\"1\t2\"/>", "<a b=\"1\n2\"/>", "<a>\r\n</a>", "<a b=\"&#65;\"/>", "<a>&#x41;</a>",
          "<a b = \"1\"/>", "<\xC3\xA4/>", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a/>",
          "<?xml version='1.0'?><a/>"})
        EXPECT_FALSE(isPlain(document)) << document;
}

TEST(PlainDocument, ThatIsNotWellFormedIsLeftToTheLibrary) {
    for (const char* document : {"",
                                 " ",
                                 "text",
                                 "<a>",
                                 "<a",
                                 "</a>",
                                 "<a></b>",
                                 "<a/><a/>",
                                 "<a/>text",
                                 "text<a/>",
                                 "<a b/>",
                                 "<a b=1/>",
                                 "<a b=\"1/>",
                                 "<a b=\"<\"/>",
                                 "<a b=\"1\" b=\"2\"/>",
                                 "<a b=\"1\"c=\"2\"/>",
                                 "<a>]]></a>",
                                 "<a>&b;</a>",
                                 "<a>&lt</a>",
                                 "<a>&</a>",
                                 "< a/>",
                                 "<a / >",
                                 "<9/>",
                                 "<a 9=\"1\"/>",
                                 "<a></a/>",
                                 "<a><b></a></b>"})
        EXPECT_FALSE(isPlain(document)) << document;
}

TEST(PlainDocument, IsNeitherLargeNorDeepNorFullOfAttributes) {
    const auto nested = [](int depth) {
        std::string document;
        for (int i = 0; i < depth; ++i)
            document += "<a>";
        for (int i = 0; i < depth; ++i)
            document += "</a>";
        return document;
    };
    EXPECT_TRUE(isPlain(nested(64)));
    EXPECT_FALSE(isPlain(nested(65)));
    std::string attributes;
    for (int i = 0; i < 16; ++i)
        attributes += " a" + std::to_string(i) + "=\"\"";
    EXPECT_TRUE(isPlain("<a" + attributes + "/>"));
    EXPECT_FALSE(isPlain("<a" + attributes + " b=\"\"/>"));
    EXPECT_TRUE(isPlain("<a>" + std::string(500 << 10, 'x') + "</a>"));
    EXPECT_FALSE(isPlain("<a>" + std::string(512 << 10, 'x') + "</a>"));
}

TEST(PlainDocument, CutAfterEachByteIsNone) {
    const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a b=\"&lt;\">\n"
                                 "  <c d='1' e=\"2\"/>x &amp; y\n</a>";
    ASSERT_TRUE(isPlain(document));
    for (std::size_t size = 0; size < document.size(); ++size)
        EXPECT_FALSE(isPlain(document.substr(0, size))) << size;
}

/// Pieces that fit together often enough, and break each rule now and then.
TEST(PlainDocument, OfRandomPiecesIsToldAsTheLibraryTellsIt) {
    const std::vector<std::string> pieces = {"<a>",
                                             "</a>",
                                             "<a>",
                                             "</a>",
                                             "<b c=\"1\">",
                                             "</b>",
                                             "<b/>",
                                             "<a d='&amp;'/>",
                                             "text",
                                             " ",
                                             "\n",
                                             "&lt;",
                                             "&quot;",
                                             "]",
                                             "]]",
                                             ">",
                                             "<a\n>",
                                             "\t",
                                             "</a\n>",
                                             "<b\ne=\"\" />",
                                             "\"",
                                             "'",
                                             "=",
                                             "&",
                                             "<",
                                             "/",
                                             "<a x=\"]]>\"/>",
                                             "\xC3\xA4"};
    std::mt19937 random(20260111);
    int plain = 0;
    for (int i = 0; i < 4000; ++i) {
        std::string document = "<a>";
        for (auto left = random() % 12; left > 0; --left)
            document += pieces[random() % (i % 2 == 0 ? 20 : pieces.size())];
        plain += isPlain(document + "</a>") ? 1 : 0;
    }
    EXPECT_GT(plain, 200);
}

/// Every document that is plain but for one changed byte: what is taken is right.
TEST(PlainDocument, WithAChangedByteIsToldAsTheLibraryTellsItOrLeftToIt) {
    const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a b=\"&lt;\">\n"
                                 "  <c d='1' e=\"2\"/>x &amp; y ]\n <c> </c></a>\n";
    int plain = 0;
    for (std::size_t at = 0; at < document.size(); ++at) {
        for (const char byte : std::string("<>&;\"'=/ \n\t\r]!?ax9-:")) {
            std::string changed = document;
            changed[at] = byte;
            plain += isPlain(changed) ? 1 : 0;
        }
    }
    EXPECT_GT(plain, 100);
}

}  // namespace
