// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/xmlDocument.h"

#include <algorithm>
#include <utility>

#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlReader.h"
#include "environment/xml/xmlSource.h"

namespace xml {

/// Builds the tree. Only the last child of an element is open, so its address
/// stays while its parent's children grow.
class DocumentBuilder : public Events {
public:
    explicit DocumentBuilder(Element& root) : m_root(root) {}

    void startElement(const std::string& name, const CSL::XML::CAttributeList& attributes,
                      int line) override {
        Element& element = m_open.empty() ? m_root : m_open.back()->m_children.emplace_back();
        element.m_name = name;
        element.m_attributes = attributes;
        element.m_line = line;
        m_open.push_back(&element);
    }

    void endElement(const std::string&, int) override { m_open.pop_back(); }

    void text(const std::string& text, bool isLayout, int) override {
        if (!isLayout)
            m_open.back()->m_text += text;
    }

private:
    Element& m_root;
    std::vector<Element*> m_open;
};

const Element* Element::child(const std::string& childName) const {
    const auto found =
        std::find_if(m_children.begin(), m_children.end(),
                     [&](const Element& element) { return element.m_name == childName; });
    return found == m_children.end() ? nullptr : &*found;
}

Document Document::fromFile(const std::string& path) {
    return build_(readFile(path), path);
}

Document Document::fromText(const std::string& content, const std::string& fileName) {
    return build_(content, fileName);
}

Document Document::build_(std::string content, const std::string& fileName) {
    Document document;
    document.m_fileName = fileName;
    DocumentBuilder builder(document.m_root);
    parse(std::move(content), fileName, builder);
    return document;
}

void Document::refuse(const Element& element, const std::string& reason) const {
    throw HXMLReadException(m_fileName, element.line(), reason);
}

}  // namespace xml
