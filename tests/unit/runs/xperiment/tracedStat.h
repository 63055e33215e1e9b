// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runs/base/xperiment/HAXPStat.h"

class HAXPExpRunBase;

namespace test {

/// A statistic that notes what is done to it. Its value is the number of updates.
class TracedStat final : public HAXPStat {
public:
    explicit TracedStat(HAXPStatSpec* spec) : HAXPStat(spec) {}
    ~TracedStat() override;

    bool isError() const override { return error; }

    bool error = false;
    std::vector<HAXPExpRunBase*> runs;
    /// Called in every update.
    std::function<void()> onUpdate;
    /// Called when the statistic goes.
    std::function<void()> onEnd;

protected:
    HAXPStat* clone_() const override;
    bool updLong_(long& value, HAXPExpRunBase* run) override;
};

/// Has every run made from now on carry the statistics "traced" and "Traced".
void registerTracedStats();

/// The statistic of `run` with exactly this name; a missing one fails the test.
TracedStat& tracedStat(const HAXPExpRunBase& run, const std::string& name);

}  // namespace test
