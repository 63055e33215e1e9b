// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAStaleOption.h"

void HADAStaleOption::setStaleOptionDetails(const std::string& group, const std::string& name,
                                            const std::string& first, const std::string& second) {
    m_group = group;
    m_name = name;
    m_oldValue = first;
    m_newValue = second;
}

std::string HADAStaleOption::getText() const {
    const std::string owner = m_group.empty() ? "" : m_group + ": ";
    return owner + "option \"" + m_name + "\" from \"" + m_oldValue + "\" to \"" + m_newValue +
           "\"";
}
