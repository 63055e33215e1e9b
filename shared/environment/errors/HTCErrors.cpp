// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HTCErrors.h"

HTCErrors::error::error(const std::string& text, const std::string& errorCode)
    : HEXError(text), m_errorCode(errorCode) {}

HTCErrors::error::error(const ComMsgMgrInstance& message, const std::string& errorCode)
    : HEXError(message), m_errorCode(errorCode) {}

HTCErrors::error::~error() = default;
