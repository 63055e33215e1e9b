// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXError.h"

HEXError::HEXError(const std::string& text) : HEXAll(text) {}

HEXError::HEXError(const ComMsgMgrInstance& message) : HEXAll(message) {}

HEXError::~HEXError() = default;
