// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXError.h"

/// A lock could not be made, taken or released.
class ENVIRONMENT_API HCTThreadException : public HEXError {
public:
    /// `operation` says what was tried, `errorNumber` is the system's errno value.
    HCTThreadException(const std::string& operation, int errorNumber);
    HCTThreadException(const HCTThreadException&) = default;
    HCTThreadException& operator=(const HCTThreadException&) = default;
    ~HCTThreadException() override;

    int getErrorNumber() const noexcept { return m_errorNumber; }

private:
    int m_errorNumber;
};
