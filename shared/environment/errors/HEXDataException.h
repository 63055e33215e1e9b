// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// Configuration that is missing, damaged or done twice.
class ENVIRONMENT_API HEXDataException : public HEXError {
public:
    explicit HEXDataException(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXDataException(const ComMsgMgrInstance& message);
    HEXDataException(const HEXDataException&) = default;
    HEXDataException& operator=(const HEXDataException&) = default;
    ~HEXDataException() override;
};
