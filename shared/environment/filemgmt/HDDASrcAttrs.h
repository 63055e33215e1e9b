// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

/// What a file set knows about one of its sources apart from its content. A
/// value; a new one is enabled and used everywhere.
class ENVIRONMENT_API HDDASrcAttrs {
public:
    HDDASrcAttrs() = default;

    /// Taken out by the user.
    bool isDisabled() const { return m_disabled; }
    void setDisabled(bool disabled) { m_disabled = disabled; }

    /// Taken out by the environment: nothing under the top needs it.
    bool isAutoDisabled() const { return m_autoDisabled; }
    void setAutoDisabled(bool disabled) { m_autoDisabled = disabled; }

    /// Whether it is taken out by neither.
    bool isEnabled() const { return !m_disabled && !m_autoDisabled; }

    bool isUsedInSynthesis() const { return m_usedInSynthesis; }
    void setUsedInSynthesis(bool used) { m_usedInSynthesis = used; }

    bool isUsedInImplementation() const { return m_usedInImplementation; }
    void setUsedInImplementation(bool used) { m_usedInImplementation = used; }

    bool isUsedInSimulation() const { return m_usedInSimulation; }
    void setUsedInSimulation(bool used) { m_usedInSimulation = used; }

    /// Whether changes of the file are nobody's concern, as for one that a run
    /// itself writes.
    bool isExcludedFromTracking() const { return m_excludedFromTracking; }
    void setExcludedFromTracking(bool excluded) { m_excludedFromTracking = excluded; }

    /// The library that it is compiled into; empty for the default one.
    const std::string& getLibrary() const { return m_library; }
    void setLibrary(const std::string& library) { m_library = library; }

    /// The runs that the file is kept for, by name: a hook script or a
    /// reference checkpoint. Empty for a source of the design.
    const std::vector<std::string>& getRunNames() const { return m_runNames; }
    void setRunNames(const std::vector<std::string>& names) { m_runNames = names; }
    bool isKeptForRun(const std::string& runName) const;

private:
    bool m_disabled = false;
    bool m_autoDisabled = false;
    bool m_usedInSynthesis = true;
    bool m_usedInImplementation = true;
    bool m_usedInSimulation = true;
    bool m_excludedFromTracking = false;
    std::string m_library;
    std::vector<std::string> m_runNames;
};
