// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/xmlDocument.h"

#include <cstdlib>
#include <new>

#include "environment/xml/HXMLReadException.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/xml/xmlFixture.h"

namespace {

/// Bytes that the program asked for so far.
std::size_t s_allocated = 0;

}  // namespace

void* operator new(std::size_t size) {
    s_allocated += size;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using test::thrownText;
using xml::Document;
using xml::Element;

class XmlDocumentTest : public test::XmlTest {
protected:
    static Document read(const std::string& text) { return Document::fromText(text, "doc.xml"); }
};

TEST_F(XmlDocumentTest, KeepsElementsInOrder) {
    const Document document = read("<Reports>\n"
                                   "  <Spec name=\"b\" Version=\"1\"/>\n"
                                   "  <Other/>\n"
                                   "  <Spec name=\"a\"><Options/></Spec>\n"
                                   "</Reports>\n");
    const Element& root = document.root();
    EXPECT_EQ(root.name(), "Reports");
    ASSERT_EQ(root.children().size(), 3u);
    EXPECT_EQ(root.children()[0].attribute("name"), "b");
    EXPECT_EQ(root.children()[1].name(), "Other");
    EXPECT_EQ(root.children()[2].attribute("name"), "a");
    EXPECT_EQ(root.children()[2].children().at(0).name(), "Options");
}

TEST_F(XmlDocumentTest, KeepsTheLineOnWhichATagBegins) {
    const Document document = read("<a>\n<b\nx=\"1\"\n/>\n<!--\n-->\n<c>\n<d/></c></a>");
    EXPECT_EQ(document.root().line(), 1);
    EXPECT_EQ(document.root().children().at(0).line(), 2);
    EXPECT_EQ(document.root().children().at(1).line(), 7);
    EXPECT_EQ(document.root().children().at(1).children().at(0).line(), 8);
}

TEST_F(XmlDocumentTest, FindsTheFirstChildOfAName) {
    const Document document = read("<a><b x=\"1\"/><c/><b x=\"2\"/></a>");
    ASSERT_NE(document.root().child("b"), nullptr);
    EXPECT_EQ(document.root().child("b")->attribute("x"), "1");
    EXPECT_EQ(document.root().child("B"), nullptr);
}

TEST_F(XmlDocumentTest, TellsAMissingAttributeFromAnEmptyOne) {
    const Document document = read("<a x=\"\"/>");
    EXPECT_TRUE(document.root().hasAttribute("x"));
    EXPECT_FALSE(document.root().hasAttribute("y"));
    EXPECT_EQ(document.root().attribute("y"), "");
    EXPECT_EQ(document.root().attributes().getLength(), 1u);
}

TEST_F(XmlDocumentTest, LeavesLayoutOutOfTheText) {
    EXPECT_EQ(read("<a>\n  <b/>\n  <c/>\n</a>").root().text(), "");
    EXPECT_EQ(read("<a>one<b/>\n  two</a>").root().text(), "one\n  two");
    EXPECT_EQ(read("<a>\n</a>").root().text(), "\n");
}

TEST_F(XmlDocumentTest, KeepsUnicode) {
    const Document document = read("<a v=\"\xE6\xBC\xA2\">\xF0\x9F\x98\x80</a>");
    EXPECT_EQ(document.root().attribute("v"), "\xE6\xBC\xA2");
    EXPECT_EQ(document.root().text(), "\xF0\x9F\x98\x80");
}

TEST_F(XmlDocumentTest, NamesAnAttributeWithItsPrefix) {
    const Document document = read("<a xmlns:x=\"http://example.org/x\" x:schema=\"report.xsd\"/>");
    EXPECT_EQ(document.root().attribute("x:schema"), "report.xsd");
    EXPECT_EQ(document.root().attributes().getLength(), 1u);
}

TEST_F(XmlDocumentTest, RefusesAtTheLineOfAnElement) {
    const Document document = read("<a>\n<b/></a>");
    EXPECT_EQ(thrownText<HXMLReadException>([&] {
                  document.refuse(document.root().children().at(0), "\"b\" isn't allowed here");
              }),
              "doc.xml:2: \"b\" isn't allowed here");
}

TEST_F(XmlDocumentTest, IsReadFromAFile) {
    write("<a>\n<b/>\n</a>");
    const Document document = Document::fromFile(path());
    EXPECT_EQ(document.fileName(), path());
    EXPECT_EQ(document.root().children().size(), 1u);
}

TEST_F(XmlDocumentTest, TellsAMissingFile) {
    EXPECT_EQ(thrownText<HXMLReadException>([&] { Document::fromFile(path()); }),
              path() + ": No such file or directory");
}

TEST_F(XmlDocumentTest, TellsTheLineOfAnError) {
    EXPECT_EQ(thrownText<HXMLReadException>([&] { read("<a>\n<b></c></a>"); }).substr(0, 10),
              "doc.xml:2:");
}

TEST_F(XmlDocumentTest, CanBeMovedAndCopied) {
    Document first = read("<a><b>text</b></a>");
    const Document second = first;
    const Document third = std::move(first);
    EXPECT_EQ(second.root().child("b")->text(), "text");
    EXPECT_EQ(third.root().child("b")->text(), "text");
}

TEST_F(XmlDocumentTest, JoinsManyPiecesOfTextAtLinearCost) {
    std::string text = "<a>";
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        text += "x&lt;";
        expected += "x<";
        if (i % 1000 == 0)
            text += "<!-- -->";
    }
    text += "</a>";
    const std::size_t before = s_allocated;
    const Document document = read(text);
    EXPECT_EQ(document.root().text(), expected);
    EXPECT_LT(s_allocated - before, 10 * text.size());
}

TEST_F(XmlDocumentTest, TakesMemoryInStepWithItsElements) {
    std::string text = "<a>";
    for (int i = 0; i < 100000; ++i)
        text += "<b/>";
    const std::size_t before = s_allocated;
    const Document document = read(text + "</a>");
    EXPECT_EQ(document.root().children().size(), 100000u);
    EXPECT_LT(s_allocated - before, std::size_t{64} << 20);
}

}  // namespace
