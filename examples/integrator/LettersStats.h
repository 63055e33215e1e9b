// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xperiment/HAXPStat.h"

/// How many lines the sorted text has.
class LinesStat final : public HAXPStat {
public:
    static const char kName[];

    explicit LinesStat(HAXPStatSpec* spec) : HAXPStat(spec) {}
    LinesStat(const LinesStat& other) = default;

    /// Adds it to the statistics of every run that is made from now on.
    static void add();

protected:
    /// For each run: a new one of this class.
    HAXPStat* clone_() const override { return new LinesStat(*this); }
    /// Once an update, under the statistic's own lock: whether there is a value.
    bool updLong_(long& value, HAXPExpRunBase* run) override;
};
