// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HXMLException.h"

/// A document can't be read. Its text is file, line and reason, such as
/// "/a/b.psg:12: expected '>'".
class ENVIRONMENT_API HXMLReadException : public HXMLException {
public:
    /// `line` counts from 1; 0 when the reason belongs to no line.
    HXMLReadException(const std::string& fileName, int line, const std::string& reason);
    HXMLReadException(const HXMLReadException&) = default;
    HXMLReadException& operator=(const HXMLReadException&) = default;
    ~HXMLReadException() override;

    const std::string& getFileName() const noexcept { return m_fileName; }
    int getLine() const noexcept { return m_line; }
    const std::string& getReason() const noexcept { return m_reason; }

private:
    std::string m_fileName;
    int m_line;
    std::string m_reason;
};
