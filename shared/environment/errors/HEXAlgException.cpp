// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXAlgException.h"

HEXAlgException::HEXAlgException(const std::string& text) : HEXError(text) {}

HEXAlgException::HEXAlgException(const ComMsgMgrInstance& message) : HEXError(message) {}

HEXAlgException::~HEXAlgException() = default;
