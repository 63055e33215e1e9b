// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CDocumentHandler.h"

namespace CSL {
namespace XML {

CDocumentHandler::~CDocumentHandler() = default;

void CDocumentHandler::startDoc_() {}

void CDocumentHandler::endDoc_() {}

void CDocumentHandler::startElem_(const std::string&, const CAttributeList&) {}

void CDocumentHandler::endElem_(const std::string&) {}

void CDocumentHandler::chars_(const std::string&) {}

void CDocumentHandler::whitespace_(const std::string&) {}

}  // namespace XML
}  // namespace CSL
