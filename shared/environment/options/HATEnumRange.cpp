// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATEnumRange.h"

HATEnumRange::HATEnumRange(const std::string& id, const std::string& value,
                           const std::string& description)
    : m_id(id), m_value(value), m_description(description) {}
