// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HCTThreadException.h"

#include <system_error>

HCTThreadException::HCTThreadException(const std::string& operation, int errorNumber)
    : HEXError(operation + " failed: " + std::generic_category().message(errorNumber)),
      m_errorNumber(errorNumber) {}

HCTThreadException::~HCTThreadException() = default;
