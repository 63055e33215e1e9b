// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HXMLException.h"

HXMLException::HXMLException(const std::string& text) : HEXError(text) {}

HXMLException::HXMLException(const ComMsgMgrInstance& message) : HEXError(message) {}

HXMLException::~HXMLException() = default;
