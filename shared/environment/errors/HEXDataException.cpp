// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXDataException.h"

HEXDataException::HEXDataException(const std::string& text) : HEXError(text) {}

HEXDataException::HEXDataException(const ComMsgMgrInstance& message) : HEXError(message) {}

HEXDataException::~HEXDataException() = default;
