// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/documentRules.h"

#include <iostream>

#include <fmt/format.h>

#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/xml/xmlDocument.h"

namespace xpreport {

namespace {

constexpr char kLayout[] = " \t\r\n";

struct Range {
    long long least;
    long long most;
};

Range rangeOf(ValueKind kind) {
    if (kind == ValueKind::kSignedByte)
        return {std::numeric_limits<signed char>::min(), std::numeric_limits<signed char>::max()};
    return {0, std::numeric_limits<unsigned>::max()};
}

/// Reads a whole number with an optional sign; blanks around it don't count.
/// False for any other text, and for a number beyond +-10^12.
bool readNumber(const std::string& text, long long& number) {
    constexpr long long kLimit = 1000000000000;
    const std::size_t begin = text.find_first_not_of(kLayout);
    if (begin == std::string::npos)
        return false;
    const std::size_t end = text.find_last_not_of(kLayout) + 1;
    const bool hasSign = text[begin] == '-' || text[begin] == '+';
    const std::size_t firstDigit = hasSign ? begin + 1 : begin;
    long long value = 0;
    for (std::size_t at = firstDigit; at < end; ++at) {
        if (text[at] < '0' || text[at] > '9' || value > kLimit)
            return false;
        value = value * 10 + (text[at] - '0');
    }
    number = text[begin] == '-' ? -value : value;
    return firstDigit < end;
}

/// Walks a document beside the rules.
class Check {
public:
    explicit Check(const xml::Document& document) : m_document(document) {}

    void element(const xml::Element& element, const ElementRule& rule) const {
        for (const AttributeRule& attribute : rule.attributes)
            attribute_(element, attribute);
        if (!rule.hasText && element.text().find_first_not_of(kLayout) != std::string::npos)
            m_document.refuse(element, fmt::format("\"{}\" can't hold text", element.name()));
        children_(element, rule);
    }

private:
    void attribute_(const xml::Element& element, const AttributeRule& rule) const {
        if (!element.hasAttribute(rule.name)) {
            if (rule.isRequired)
                m_document.refuse(element, fmt::format("\"{}\" lacks the attribute \"{}\"",
                                                       element.name(), rule.name));
            return;
        }
        if (rule.kind == ValueKind::kText)
            return;
        const std::string& text = element.attribute(rule.name);
        const Range range = rangeOf(rule.kind);
        long long number = 0;
        if (!readNumber(text, number) || number < range.least || number > range.most)
            m_document.refuse(
                element, fmt::format("the attribute \"{}\" of \"{}\" is \"{}\", which is no whole "
                                     "number from {} to {}",
                                     rule.name, element.name(), text, range.least, range.most));
    }

    void children_(const xml::Element& element, const ElementRule& rule) const {
        auto child = element.children().begin();
        const auto last = element.children().end();
        for (const ChildRule& place : rule.children) {
            int count = 0;
            for (; child != last && count < place.most && child->name() == place.element->name;
                 ++child, ++count)
                this->element(*child, *place.element);
            if (count < place.least)
                m_document.refuse(element,
                                  fmt::format("\"{}\" lacks the element \"{}\" in its place",
                                              element.name(), place.element->name));
        }
        if (child != last)
            m_document.refuse(*child, fmt::format("the element \"{}\" isn't allowed here in \"{}\"",
                                                  child->name(), element.name()));
    }

    const xml::Document& m_document;
};

}  // namespace

void checkDocument(const xml::Document& document, const ElementRule& root) {
    if (document.root().name() != root.name)
        document.refuse(document.root(),
                        fmt::format("the root element is \"{}\" in the place of \"{}\"",
                                    document.root().name(), root.name));
    Check(document).element(document.root(), root);
}

long long numberOf(const xml::Element& element, const char* attribute) {
    long long number = 0;
    static_cast<void>(readNumber(element.attribute(attribute), number));
    return number;
}

ReadFailure::ReadFailure(const std::string& path, int line, const std::string& reason)
    : HXMLException(
          ComMsgMgrInstance("project", ComMsgMgr::kError, "@1-126@%s%d%s", path, line, reason)),
      m_line(line), m_reason(reason) {}

ReadFailure::~ReadFailure() = default;

void failRead(const std::string& path, int line, const std::string& reason) {
    std::cout << path << ":" << line << ": Error: " << reason << std::endl;
    throw ReadFailure(path, line, reason);
}

}  // namespace xpreport
