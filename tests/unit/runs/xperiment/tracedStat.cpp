// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xperiment/tracedStat.h"

#include <stdexcept>

#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"

namespace test {

TracedStat::~TracedStat() {
    if (onEnd)
        onEnd();
}

HAXPStat* TracedStat::clone_() const {
    return new TracedStat(getStatSpec());
}

bool TracedStat::updLong_(long& value, HAXPExpRunBase* run) {
    runs.push_back(run);
    if (onUpdate)
        onUpdate();
    value = static_cast<long>(runs.size());
    return true;
}

void registerTracedStats() {
    static const bool s_registered = [] {
        for (const char* name : {"traced", "Traced"})
            HAXPStatMgr::getGlobal()->addStat(
                new TracedStat(new HAXPStatSpec(name, HAXPTypes::STAT_LONG)));
        return true;
    }();
    static_cast<void>(s_registered);
}

TracedStat& tracedStat(const HAXPExpRunBase& run, const std::string& name) {
    HAXPStatSpec spec(name, HAXPTypes::STAT_LONG);
    auto* stat = dynamic_cast<TracedStat*>(run.getStat(&spec));
    if (stat == nullptr)
        throw std::logic_error("the run has no statistic " + name);
    return *stat;
}

}  // namespace test
