// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXUserException.h"

HEXUserException::HEXUserException(const std::string& text) : HEXError(text) {}

HEXUserException::HEXUserException(const ComMsgMgrInstance& message) : HEXError(message) {}

HEXUserException::~HEXUserException() = default;
