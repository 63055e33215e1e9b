// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

/// One output kind of a composite file: how it stands, and when it was made. A
/// value, held by its composite file.
class ENVIRONMENT_API HDDAGenerationTarget {
public:
    explicit HDDAGenerationTarget(HDDATypes::GenerationTarget kind) : m_kind(kind) {}

    HDDATypes::GenerationTarget getKind() const { return m_kind; }

    HDDATypes::GenerationState getState() const { return m_state; }
    void setState(HDDATypes::GenerationState state) { m_state = state; }

    /// When the output was last made, in whole seconds since the epoch; 0
    /// before that.
    std::time_t getTimeStamp() const { return m_timeStamp; }
    void setTimeStamp(std::time_t stamp) { m_timeStamp = stamp; }

private:
    HDDATypes::GenerationTarget m_kind;
    HDDATypes::GenerationState m_state = HDDATypes::GS_NOT_GENERATED;
    std::time_t m_timeStamp = 0;
};
