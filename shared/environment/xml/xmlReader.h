// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/xml/CAttributeList.h"

/// Reading of documents by events, over libxml2 and safe from it: what an event
/// throws stops the parser and comes out of parse(), never through its frames.
namespace xml {

/// Takes the events of a document. Names and texts are UTF-8.
class ENVIRONMENT_API Events {
public:
    virtual ~Events();

    /// `line` is where the tag begins, or the text ends.
    virtual void startElement(const std::string& name, const CSL::XML::CAttributeList& attributes,
                              int line) = 0;
    virtual void endElement(const std::string& name, int line) = 0;
    /// All text up to the next tag. `isLayout`: blanks and line ends beside an
    /// element.
    virtual void text(const std::string& text, bool isLayout, int line) = 0;

protected:
    Events() = default;
    Events(const Events&) = default;
    Events& operator=(const Events&) = default;
};

/// Reads `content`, which `fileName` stands for in errors.
/// @throws HXMLReadException it isn't well-formed or out of bounds.
void parse(std::string content, const std::string& fileName, Events& events);

}  // namespace xml
