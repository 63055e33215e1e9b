// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStatSpec.h"

HAXPStatSpec::HAXPStatSpec(const std::string& name, HAXPTypes::StatType statType)
    : m_name(name), m_statType(statType) {}

HAXPStatSpec::~HAXPStatSpec() = default;
