// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXFileNotFoundException.h"

HEXFileNotFoundException::HEXFileNotFoundException(const std::string& text) : HEXError(text) {}

HEXFileNotFoundException::HEXFileNotFoundException(const ComMsgMgrInstance& message)
    : HEXError(message) {}

HEXFileNotFoundException::~HEXFileNotFoundException() = default;
