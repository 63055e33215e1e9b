// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

/// An option that was changed since its report was made: what it was when the
/// report was launched, and what it is now, both as text.
class RUNS_API HAXRStaleOption {
public:
    /// Without a name and without values.
    HAXRStaleOption();

    void setStaleOptionDetails(const std::string& optionName, const std::string& launchTimeVal,
                               const std::string& newVal);
    /// Overwrites all three.
    void getStaleOptionDetails(std::string& optionName, std::string& launchTimeVal,
                               std::string& newVal) const;

    void setLaunchTimeVal(const std::string& value) { m_launchTimeVal = value; }
    void setNewVal(const std::string& value) { m_newVal = value; }
    const std::string& getOptionName() const { return m_optionName; }
    const std::string& getLaunchTimeVal() const { return m_launchTimeVal; }
    const std::string& getNewVal() const { return m_newVal; }

private:
    std::string m_optionName;
    std::string m_launchTimeVal;
    std::string m_newVal;
};
