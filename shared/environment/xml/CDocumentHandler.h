// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

namespace CSL {
namespace XML {

class CAttributeList;

/// Takes the events of a document as they are read.
///
/// Each hook is called on the thread that parses, in document order, and does
/// nothing here. What an override throws ends the document and reaches the
/// caller of the parse; a plain bool is its result instead.
class ENVIRONMENT_API CDocumentHandler {
public:
    virtual ~CDocumentHandler();

protected:
    CDocumentHandler() = default;
    CDocumentHandler(const CDocumentHandler&) = default;
    CDocumentHandler& operator=(const CDocumentHandler&) = default;

    /// Before the first element.
    virtual void startDoc_();
    /// After the last element of a document that was read whole.
    virtual void endDoc_();
    virtual void startElem_(const std::string& name, const CAttributeList& attributes);
    /// Once for each startElem_(), also for an empty element.
    virtual void endElem_(const std::string& name);
    /// All text up to the next tag, in one piece.
    virtual void chars_(const std::string& text);
    /// The same for text that only lays out the elements around it: blanks,
    /// tabs and line ends beside an element. In an element without children
    /// they are chars_().
    virtual void whitespace_(const std::string& text);
};

}  // namespace XML
}  // namespace CSL
