// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// One option whose value differs from what a result was made with. A value.
class ENVIRONMENT_API HADAStaleOption {
public:
    HADAStaleOption() = default;

    /// `first` is the value that the result was made with, `second` the one
    /// that stands now; both as text.
    void setStaleOptionDetails(const std::string& group, const std::string& name,
                               const std::string& first, const std::string& second);

    /// The step or report whose option it is.
    const std::string& getGroup() const { return m_group; }
    const std::string& getName() const { return m_name; }
    const std::string& getOldValue() const { return m_oldValue; }
    const std::string& getNewValue() const { return m_newValue; }

    /// One line for the user: the option, from what to what.
    std::string getText() const;

private:
    std::string m_group;
    std::string m_name;
    std::string m_oldValue;
    std::string m_newValue;
};
