// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CXMLWriter.h"

#include <vector>

#include <libxml/xmlwriter.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "environment/xml/CAttributeList.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlReader.h"
#include "environment/xml/xmlText.h"

namespace CSL {
namespace XML {

namespace {

struct FreeBuffer {
    void operator()(xmlBufferPtr buffer) const { xmlBufferFree(buffer); }
};
struct FreeWriter {
    void operator()(xmlTextWriterPtr writer) const { xmlFreeTextWriter(writer); }
};

const xmlChar* xmlText(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// Reads a document for the errors alone.
class NoEvents : public xml::Events {
public:
    void startElement(const std::string&, const CAttributeList&, int) override {}
    void endElement(const std::string&, int) override {}
    void text(const std::string&, bool, int) override {}
};

}  // namespace

struct CXMLWriter::Data {
    std::unique_ptr<xmlBuffer, FreeBuffer> buffer;
    std::unique_ptr<xmlTextWriter, FreeWriter> writer;
    CAttributeList held;
    /// The elements begun and not ended.
    std::vector<std::string> open;
    bool hasRoot = false;
    bool finished = false;
};

CXMLWriter::CXMLWriter(const std::string& documentName)
    : m_documentName(documentName), m_data(std::make_unique<Data>()) {
    m_data->buffer.reset(xmlBufferCreate());
    m_data->writer.reset(xmlNewTextWriterMemory(m_data->buffer.get(), 0));
    xmlTextWriterPtr const writer = m_data->writer.get();
    if (writer == nullptr || xmlTextWriterSetIndentString(writer, xmlText("  ")) < 0 ||
        xmlTextWriterSetIndent(writer, 1) < 0 ||
        xmlTextWriterStartDocument(writer, nullptr, "UTF-8", nullptr) < 0)
        refuse_("out of memory");
}

CXMLWriter::~CXMLWriter() = default;

void CXMLWriter::addAttr(const std::string& name, const std::string& value) {
    if (!xml::isName(name) || name == "xmlns")
        refuse_("\"" + name + "\" can't be the name of an attribute");
    if (m_data->held.hasAttribute(name))
        refuse_("the attribute \"" + name + "\" comes twice in one element");
    const std::size_t bad = xml::findInvalid(value);
    if (bad != std::string::npos)
        refuse_("the value of \"" + name + "\" holds " + xml::describeInvalid(value, bad));
    m_data->held.addAttribute(name, value);
}

void CXMLWriter::wrStartTag(const std::string& name) {
    beginElement_(name);
    m_data->open.push_back(name);
}

void CXMLWriter::wrEmptyTag(const std::string& name) {
    beginElement_(name);
    if (xmlTextWriterEndElement(m_data->writer.get()) < 0)
        refuse_("out of memory");
}

void CXMLWriter::wrEndTag(const std::string& name) {
    if (m_data->open.empty() || m_data->open.back() != name || m_data->held.getLength() != 0)
        throw HEXAlgException("CXMLWriter: the end of \"" + name + "\" doesn't fit here");
    m_data->open.pop_back();
    if (xmlTextWriterEndElement(m_data->writer.get()) < 0)
        refuse_("out of memory");
}

void CXMLWriter::wrString(const std::string& text) {
    if (m_data->open.empty() || m_data->held.getLength() != 0)
        throw HEXAlgException("CXMLWriter: text outside of an element");
    const std::size_t bad = xml::findInvalid(text);
    if (bad != std::string::npos)
        refuse_("the text of \"" + m_data->open.back() + "\" holds " +
                xml::describeInvalid(text, bad));
    if (xmlTextWriterWriteString(m_data->writer.get(), xmlText(text)) < 0)
        refuse_("out of memory");
}

std::string CXMLWriter::finish_() {
    if (m_data->finished || !m_data->open.empty() || !m_data->hasRoot ||
        m_data->held.getLength() != 0)
        throw HEXAlgException("CXMLWriter: the document isn't complete");
    m_data->finished = true;
    if (xmlTextWriterEndDocument(m_data->writer.get()) < 0)
        refuse_("out of memory");
    std::string document(reinterpret_cast<const char*>(xmlBufferContent(m_data->buffer.get())),
                         static_cast<std::size_t>(xmlBufferLength(m_data->buffer.get())));
    NoEvents events;
    try {
        xml::parse(document, m_documentName, events);
    } catch (const HXMLReadException& error) {
        refuse_("the document couldn't be read again: " + error.getReason());
    }
    return document;
}

void CXMLWriter::refuse_(const std::string& reason) const {
    throw HXMLException(m_documentName + ": can't be written: " + reason);
}

void CXMLWriter::beginElement_(const std::string& name) {
    if (m_data->finished || (m_data->open.empty() && m_data->hasRoot))
        throw HEXAlgException("CXMLWriter: the document has ended before \"" + name + "\"");
    if (!xml::isName(name))
        refuse_("\"" + name + "\" can't be the name of an element");
    m_data->hasRoot = true;
    const CAttributeList& held = m_data->held;
    xmlTextWriterPtr const writer = m_data->writer.get();
    bool written = xmlTextWriterStartElement(writer, xmlText(name)) >= 0;
    for (std::size_t i = 0; written && i < held.getLength(); ++i)
        written = xmlTextWriterWriteAttribute(writer, xmlText(held.getName(i)),
                                              xmlText(held.getValue(i))) >= 0;
    m_data->held.clear();
    if (!written)
        refuse_("out of memory");
}

}  // namespace XML
}  // namespace CSL
