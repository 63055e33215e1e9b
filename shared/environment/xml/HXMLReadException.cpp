// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/HXMLReadException.h"

namespace {

std::string fullText(const std::string& fileName, int line, const std::string& reason) {
    const std::string place = line > 0 ? fileName + ":" + std::to_string(line) : fileName;
    return place + ": " + reason;
}

}  // namespace

HXMLReadException::HXMLReadException(const std::string& fileName, int line,
                                     const std::string& reason)
    : HXMLException(fullText(fileName, line, reason)), m_fileName(fileName), m_line(line),
      m_reason(reason) {}

HXMLReadException::~HXMLReadException() = default;
