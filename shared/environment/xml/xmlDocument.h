// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/xml/CAttributeList.h"

/// Reading of small XML documents as a whole, for files whose elements are
/// looked at more than once or out of order.
namespace xml {

/// An element of a document. Belongs to its parent; good while the document is.
class ENVIRONMENT_API Element {
public:
    const std::string& name() const { return m_name; }
    const CSL::XML::CAttributeList& attributes() const { return m_attributes; }
    /// Empty when there is no attribute `attributeName`.
    const std::string& attribute(const std::string& attributeName) const {
        return m_attributes.getValue(attributeName);
    }
    bool hasAttribute(const std::string& attributeName) const {
        return m_attributes.hasAttribute(attributeName);
    }
    /// In document order.
    const std::vector<Element>& children() const { return m_children; }
    /// The first child element of that name, or null.
    const Element* child(const std::string& childName) const;
    /// The element's own text, pieces between children joined; blanks and line
    /// ends that only lay out the children are left out.
    const std::string& text() const { return m_text; }
    /// The line on which its start tag begins, from 1.
    int line() const { return m_line; }

private:
    friend class DocumentBuilder;

    std::string m_name;
    CSL::XML::CAttributeList m_attributes;
    std::vector<Element> m_children;
    std::string m_text;
    int m_line = 0;
};

/// A document in memory. Doesn't change once it is read.
class ENVIRONMENT_API Document {
public:
    /// Reads the file `path`, within the bounds that HXMLParserBase keeps.
    /// @throws HXMLReadException it can't be read or isn't well-formed.
    static Document fromFile(const std::string& path);

    /// Reads `content`, which `fileName` stands for in errors.
    /// @throws HXMLReadException it isn't well-formed.
    static Document fromText(const std::string& content, const std::string& fileName);

    const std::string& fileName() const { return m_fileName; }
    const Element& root() const { return m_root; }

    /// @throws HXMLReadException always: `reason` at the line of `element`.
    [[noreturn]] void refuse(const Element& element, const std::string& reason) const;

private:
    Document() = default;
    static Document build_(std::string content, const std::string& fileName);

    std::string m_fileName;
    Element m_root;
};

}  // namespace xml
