// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// An XML document can't be read or written; the text names file and, where
/// there is one, line.
class ENVIRONMENT_API HXMLException : public HEXError {
public:
    explicit HXMLException(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HXMLException(const ComMsgMgrInstance& message);
    HXMLException(const HXMLException&) = default;
    HXMLException& operator=(const HXMLException&) = default;
    ~HXMLException() override;
};
