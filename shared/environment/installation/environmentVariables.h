// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

/// The variables that HUTEnv::getEnv() answers from: those of the process, or a
/// stand-in.
class ENVIRONMENT_API environmentVariables {
public:
    environmentVariables() = default;
    virtual ~environmentVariables();

    environmentVariables(const environmentVariables&) = delete;
    environmentVariables& operator=(const environmentVariables&) = delete;

    /// The value of `name`, or null.
    virtual const char* find(const char* name) const = 0;

    /// The variables that hold now.
    static const environmentVariables& current();

    /// Puts `variables` in place and gives what was there before; null means
    /// the process environment. The caller keeps `variables` alive.
    static const environmentVariables* replace(const environmentVariables* variables);
};
