// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRStaleOption.h"

HAXRStaleOption::HAXRStaleOption() = default;

void HAXRStaleOption::setStaleOptionDetails(const std::string& optionName,
                                            const std::string& launchTimeVal,
                                            const std::string& newVal) {
    m_optionName = optionName;
    m_launchTimeVal = launchTimeVal;
    m_newVal = newVal;
}

void HAXRStaleOption::getStaleOptionDetails(std::string& optionName, std::string& launchTimeVal,
                                            std::string& newVal) const {
    optionName = m_optionName;
    launchTimeVal = m_launchTimeVal;
    newVal = m_newVal;
}
