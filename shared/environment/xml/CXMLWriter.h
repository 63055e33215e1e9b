// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"

namespace CSL {
namespace XML {

/// Makes an XML document in memory: UTF-8, elements indented by two blanks,
/// lines ended by "\n". Text reads back as it was given, line ends, tabs and
/// quotes included.
///
/// Names and texts are UTF-8. What a document can't hold, an invalid name, bytes
/// that aren't UTF-8 or a control character, throws HXMLException, which names
/// document and place; the writer is of no use afterwards. Tags that don't fit
/// together are the caller's fault and throw HEXAlgException.
class ENVIRONMENT_API CXMLWriter {
public:
    /// `documentName` stands for the document in errors, as its path does.
    explicit CXMLWriter(const std::string& documentName);
    virtual ~CXMLWriter();

    CXMLWriter(const CXMLWriter&) = delete;
    CXMLWriter& operator=(const CXMLWriter&) = delete;

    /// Holds an attribute for the next wrStartTag() or wrEmptyTag(), which
    /// writes what is held in the order in which it came.
    void addAttr(const std::string& name, const std::string& value);

    void wrStartTag(const std::string& name);
    /// An element without content.
    void wrEmptyTag(const std::string& name);
    /// Ends the element begun last, which is `name`.
    void wrEndTag(const std::string& name);
    /// Text of the element begun last.
    void wrString(const std::string& text);

    const std::string& getDocumentName() const { return m_documentName; }

protected:
    /// Ends the document and gives it. Nothing can be written afterwards.
    /// @throws HEXAlgException an element isn't ended, or there is none.
    /// @throws HXMLException the document is more than a reader takes: too
    /// large or too deep.
    std::string finish_();

    /// @throws HXMLException always, with document name and `reason`.
    [[noreturn]] void refuse_(const std::string& reason) const;

private:
    struct Data;

    void beginElement_(const std::string& name);

    std::string m_documentName;
    std::unique_ptr<Data> m_data;
};

}  // namespace XML
}  // namespace CSL
