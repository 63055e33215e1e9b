// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/xmlReader.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlSource.h"
#include "environment/xml/xmlText.h"

namespace xml {

namespace {

using CSL::XML::CAttributeList;

// Entities are put in place of their references: without a DOCTYPE these are
// the five of XML itself. The source is UTF-8 whatever it says.
constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_IGNORE_ENC;

struct FreeContext {
    void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
};

const char* charsOf(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

/// Makes `name` the name with its prefix, if it has one.
const std::string& makeName(const xmlChar* local, const xmlChar* prefix, std::string& name) {
    name.clear();
    if (prefix != nullptr)
        name.append(charsOf(prefix)).append(":");
    return name.append(charsOf(local));
}

/// One document on its way from the parser's callbacks to the events.
class Reading {
public:
    Reading(const Source& source, const std::string& fileName, Events& events)
        : m_source(source), m_fileName(fileName), m_events(events) {
        xmlInitParser();
        m_context.reset(
            xmlCreateMemoryParserCtxt(source.text.data(), static_cast<int>(source.text.size())));
        if (m_context == nullptr)
            refuse_(0, "the file can't be read: out of memory");
        *m_context->sax = handlers_();
        m_context->userData = this;
        xmlCtxtUseOptions(m_context.get(), kOptions);
    }

    void run() {
        const int status = xmlParseDocument(m_context.get());
        if (m_thrown)
            std::rethrow_exception(m_thrown);
        if (!m_reason.empty())
            refuse_(m_reasonLine, m_reason);
        if (status != 0 || m_context->wellFormed == 0)
            refuse_(line_(), "the document isn't well-formed");
    }

private:
    static xmlSAXHandler handlers_();

    static Reading& from_(void* self) { return *static_cast<Reading*>(self); }

    static void onStart_(void* self, const xmlChar* local, const xmlChar* prefix, const xmlChar*,
                         int, const xmlChar**, int attributeCount, int,
                         const xmlChar** attributes) {
        Reading& own = from_(self);
        own.guarded_(
            [&] { own.start_(makeName(local, prefix, own.m_name), attributeCount, attributes); });
    }

    static void onEnd_(void* self, const xmlChar* local, const xmlChar* prefix, const xmlChar*) {
        Reading& own = from_(self);
        own.guarded_([&] { own.end_(makeName(local, prefix, own.m_name)); });
    }

    static void onText_(void* self, const xmlChar* text, int length) {
        from_(self).guarded_(
            [&] { from_(self).m_text.append(charsOf(text), static_cast<std::size_t>(length)); });
    }

    // The parser may not be stopped here; it gives no more events by itself.
    static void onError_(void* self, xmlErrorPtr error) noexcept {
        if (error->level >= XML_ERR_ERROR && from_(self).m_reason.empty())
            from_(self).keepReason_(*error);
    }

    template <class Event> void guarded_(Event event) noexcept {
        if (m_thrown || !m_reason.empty())
            return;
        try {
            event();
        } catch (...) {
            m_thrown = std::current_exception();
            xmlStopParser(m_context.get());
        }
    }

    void start_(const std::string& name, int attributeCount, const xmlChar** attributes);
    void end_(const std::string& name);
    void flushText_(bool besideElement);
    void keepReason_(const xmlError& error) noexcept;

    int line_() const { return m_context->input == nullptr ? 0 : m_context->input->line; }

    [[noreturn]] void refuse_(int line, const std::string& reason) const {
        throw HXMLReadException(m_fileName, line, reason);
    }

    const Source& m_source;
    const std::string& m_fileName;
    Events& m_events;
    std::unique_ptr<xmlParserCtxt, FreeContext> m_context;
    std::exception_ptr m_thrown;

    /// The first error that the parser told.
    std::string m_reason;
    int m_reasonLine = 0;

    std::size_t m_elements = 0;
    /// Of each open element, whether it has a child.
    std::vector<bool> m_hasChild;
    // Filled anew by each event.
    std::string m_name;
    std::string m_attributeName;
    CAttributeList m_attributes;
    std::string m_text;
};

xmlSAXHandler Reading::handlers_() {
    xmlSAXHandler sax;
    std::memset(&sax, 0, sizeof sax);
    sax.initialized = XML_SAX2_MAGIC;
    sax.startElementNs = onStart_;
    sax.endElementNs = onEnd_;
    sax.characters = onText_;
    sax.ignorableWhitespace = onText_;
    sax.cdataBlock = onText_;
    sax.serror = onError_;
    return sax;
}

void Reading::start_(const std::string& name, int attributeCount, const xmlChar** attributes) {
    flushText_(true);
    if (!m_hasChild.empty())
        m_hasChild.back() = true;
    m_hasChild.push_back(false);
    const int begin =
        m_elements < m_source.elementLines.size() ? m_source.elementLines[m_elements++] : line_();
    if (m_hasChild.size() > kMaxDepth)
        refuse_(begin, fmt::format("elements nested deeper than {}", kMaxDepth));
    m_attributes.clear();
    for (int i = 0; i < attributeCount; ++i, attributes += 5) {
        const auto length = static_cast<std::size_t>(attributes[4] - attributes[3]);
        const std::string& attribute = makeName(attributes[0], attributes[1], m_attributeName);
        if (length > kMaxAttributeBytes)
            refuse_(begin, fmt::format("the attribute \"{}\" is longer than {} bytes", attribute,
                                       kMaxAttributeBytes));
        m_attributes.addAttribute(attribute, {charsOf(attributes[3]), length});
    }
    m_events.startElement(name, m_attributes, begin);
}

void Reading::end_(const std::string& name) {
    flushText_(m_hasChild.back());
    m_hasChild.pop_back();
    m_events.endElement(name, line_());
}

void Reading::flushText_(bool besideElement) {
    if (m_text.empty())
        return;
    if (!m_hasChild.empty())
        m_events.text(m_text, besideElement && isLayout(m_text), line_());
    m_text.clear();
}

void Reading::keepReason_(const xmlError& error) noexcept {
    m_reason = error.message == nullptr ? "the document isn't well-formed" : error.message;
    m_reason.erase(m_reason.find_last_not_of(" \n") + 1);
    m_reasonLine = error.line;
}

}  // namespace

Events::~Events() = default;

void parse(std::string content, const std::string& fileName, Events& events) {
    const Source source = checkSource(decode(std::move(content), fileName), fileName);
    Reading(source, fileName, events).run();
}

}  // namespace xml
