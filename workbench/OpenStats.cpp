// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenStats.h"

#include <cmath>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStat.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/metrics.h"

namespace {

/// How one statistic is read from the numbers of a run's steps.
using Reader = std::optional<double> (*)(const ice40::StepMetrics& metrics);

std::optional<double> count(const ice40::StepMetrics& metrics, const char* name) {
    const std::optional<long> found = metrics.count(name);
    return found ? std::optional<double>(static_cast<double>(*found)) : std::nullopt;
}

std::optional<double> readLuts(const ice40::StepMetrics& metrics) {
    return count(metrics, ice40::counts::kLuts);
}

std::optional<double> readFlipFlops(const ice40::StepMetrics& metrics) {
    return count(metrics, ice40::counts::kFlipFlops);
}

std::optional<double> readBlockRams(const ice40::StepMetrics& metrics) {
    return count(metrics, ice40::counts::kBlockRams);
}

std::optional<double> readFmax(const ice40::StepMetrics& metrics) {
    const ice40::ClockTiming* worst = metrics.worstClock();
    return worst == nullptr ? std::nullopt : std::optional<double>(worst->fmaxMhz);
}

std::optional<double> readSlack(const ice40::StepMetrics& metrics) {
    const ice40::ClockTiming* worst = metrics.worstClock();
    return worst == nullptr ? std::nullopt : std::optional<double>(worst->slackNs());
}

std::optional<double> readRunTime(const ice40::StepMetrics& metrics) {
    return metrics.step.empty() ? std::nullopt : std::optional<double>(metrics.seconds);
}

/// One statistic over the numbers of a run.
class MetricStat final : public HAXPStat {
public:
    MetricStat(HAXPStatSpec* spec, Reader reader) : HAXPStat(spec), m_reader(reader) {}
    MetricStat(const MetricStat& other) = default;

protected:
    HAXPStat* clone_() const override { return new MetricStat(*this); }

    bool updLong_(long& value, HAXPExpRunBase* run) override { return read_(value, run); }
    bool updDouble_(double& value, HAXPExpRunBase* run) override { return read_(value, run); }
    bool updTime_(long& value, HAXPExpRunBase* run) override { return read_(value, run); }

private:
    template <class T> bool read_(T& value, HAXPExpRunBase* run) const {
        const auto* info = dynamic_cast<const OpenRunInfo*>(run->getExpInfoBase());
        const std::optional<double> found =
            info == nullptr ? std::nullopt : m_reader(info->getMetrics());
        if (found)
            value = std::is_integral<T>::value ? static_cast<T>(std::llround(*found))
                                               : static_cast<T>(*found);
        return found.has_value();
    }

    Reader m_reader;
};

void add(const char* name, const char* description, HAXPTypes::StatType type, int digits,
         Reader reader) {
    auto spec = std::make_unique<HAXPStatSpec>(name, type);
    spec->setDescription(description);
    spec->setDigits(digits);
    auto stat = std::make_unique<MetricStat>(spec.release(), reader);
    HAXPStatMgr::getGlobal()->addStat(stat.release());
}

const HAXPStat* findStat(const HAXPExpRunBase& run, const std::string& name) {
    const std::unique_ptr<HSTFwdIter<HAXPStat*>> stats(run.createStatIter());
    while (stats->hasNext()) {
        const HAXPStat* stat = stats->next();
        if (stat->getStatSpec()->getName() == name)
            return stat->isAvailable() ? stat : nullptr;
    }
    return nullptr;
}

}  // namespace

const char OpenStats::kLuts[] = "LUTs";
const char OpenStats::kFlipFlops[] = "Flip-flops";
const char OpenStats::kBlockRams[] = "Block RAMs";
const char OpenStats::kFmaxMhz[] = "Fmax";
const char OpenStats::kWorstSlackNs[] = "Worst slack";
const char OpenStats::kRunTime[] = "Run time";

void OpenStats::registerAll() {
    static bool registered = false;
    if (registered)
        return;
    registered = true;
    add(kLuts, "Logic cells that use their look-up table", HAXPTypes::STAT_LONG, 0, readLuts);
    add(kFlipFlops, "Logic cells that use their flip-flop", HAXPTypes::STAT_LONG, 0, readFlipFlops);
    add(kBlockRams, "Block RAMs", HAXPTypes::STAT_LONG, 0, readBlockRams);
    add(kFmaxMhz, "Highest frequency of the worst clock, MHz", HAXPTypes::STAT_DOUBLE, 1, readFmax);
    add(kWorstSlackNs, "What is left of the worst clock's period, ns", HAXPTypes::STAT_DOUBLE, 2,
        readSlack);
    add(kRunTime, "Wall time of the steps, s", HAXPTypes::STAT_TIME, 0, readRunTime);
}

std::string OpenStats::textOf(const HAXPExpRunBase& run, const std::string& name) {
    double value = 0;
    if (!valueOf(run, name, value))
        return {};
    return fmt::format("{:.{}f}", value, findStat(run, name)->getStatSpec()->getDigits());
}

bool OpenStats::valueOf(const HAXPExpRunBase& run, const std::string& name, double& value) {
    const HAXPStat* stat = findStat(run, name);
    if (stat == nullptr)
        return false;
    switch (stat->getStatSpec()->getStatType()) {
    case HAXPTypes::STAT_LONG:
        value = static_cast<double>(stat->getLongVal());
        return true;
    case HAXPTypes::STAT_DOUBLE:
        value = stat->getDoubleVal();
        return true;
    case HAXPTypes::STAT_TIME:
        value = static_cast<double>(stat->getTimeVal());
        return true;
    default:
        return false;
    }
}
