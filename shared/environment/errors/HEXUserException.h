// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// What a user caused and must read.
class ENVIRONMENT_API HEXUserException : public HEXError {
public:
    explicit HEXUserException(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXUserException(const ComMsgMgrInstance& message);
    HEXUserException(const HEXUserException&) = default;
    HEXUserException& operator=(const HEXUserException&) = default;
    ~HEXUserException() override;
};
