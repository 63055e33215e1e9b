// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// A file isn't there or can't be read; the text names it.
class ENVIRONMENT_API HEXFileNotFoundException : public HEXError {
public:
    explicit HEXFileNotFoundException(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXFileNotFoundException(const ComMsgMgrInstance& message);
    HEXFileNotFoundException(const HEXFileNotFoundException&) = default;
    HEXFileNotFoundException& operator=(const HEXFileNotFoundException&) = default;
    ~HEXFileNotFoundException() override;
};
