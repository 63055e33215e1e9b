// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

/// What one statistic of a run is: its name, its kind and how to print it.
class RUNS_API HAXPStatSpec {
public:
    /// `statType` isn't checked here: HAXPStat::updateStat() refuses a wrong one.
    HAXPStatSpec(const std::string& name, HAXPTypes::StatType statType);
    virtual ~HAXPStatSpec();

    HAXPStatSpec(const HAXPStatSpec&) = delete;
    HAXPStatSpec& operator=(const HAXPStatSpec&) = delete;

    const std::string& getName() const { return m_name; }
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& description) { m_description = description; }

    /// The position in HAXPStatMgr; -1 until the manager took it.
    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    /// Digits behind the decimal point, for those who print the value.
    int getDigits() const { return m_digits; }
    void setDigits(int digits) { m_digits = digits; }

    HAXPTypes::StatType getStatType() const { return m_statType; }

private:
    std::string m_name;
    std::string m_description;
    int m_id = -1;
    int m_digits = 3;
    HAXPTypes::StatType m_statType;
};
