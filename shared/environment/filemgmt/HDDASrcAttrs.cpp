// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcAttrs.h"

#include <algorithm>

bool HDDASrcAttrs::isKeptForRun(const std::string& runName) const {
    return std::find(m_runNames.begin(), m_runNames.end(), runName) != m_runNames.end();
}
