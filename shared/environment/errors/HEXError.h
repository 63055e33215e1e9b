// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXAll.h"

/// Something went wrong; the classes below say for whom.
class ENVIRONMENT_API HEXError : public HEXAll {
public:
    explicit HEXError(const std::string& text);
    /// Takes the message's text, as the catalogue words it.
    explicit HEXError(const ComMsgMgrInstance& message);
    HEXError(const HEXError&) = default;
    HEXError& operator=(const HEXError&) = default;
    ~HEXError() override;
};
