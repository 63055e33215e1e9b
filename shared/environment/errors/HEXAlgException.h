// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// A programming error: an invariant was violated by the caller.
class ENVIRONMENT_API HEXAlgException : public HEXError {
public:
    explicit HEXAlgException(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXAlgException(const ComMsgMgrInstance& message);
    HEXAlgException(const HEXAlgException&) = default;
    HEXAlgException& operator=(const HEXAlgException&) = default;
    ~HEXAlgException() override;
};
