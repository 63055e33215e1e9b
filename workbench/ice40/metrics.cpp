// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/metrics.h"

#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/jsonNumbers.h"
#include "workbench/ice40/parseJson.h"
#include "workbench/ice40/stepFiles.h"

namespace ice40 {

namespace {

using nlohmann::json;

constexpr const char* kFormat = "xperiment-step-metrics";
constexpr int kVersion = 1;
constexpr std::size_t kLargest = std::size_t{16} << 20;

// The file's names, once for reader and writer.
constexpr const char* kFormatKey = "format";
constexpr const char* kVersionKey = "version";
constexpr const char* kStep = "step";
constexpr const char* kTool = "tool";
constexpr const char* kSeconds = "seconds";
constexpr const char* kCounts = "counts";
constexpr const char* kClocks = "clocks";
constexpr const char* kName = "name";
constexpr const char* kFmax = "fmax_mhz";
constexpr const char* kTarget = "target_mhz";
constexpr const char* kSlack = "slack_ns";
constexpr const char* kIcetime = "icetime_mhz";
constexpr const char* kFiles = "files";
constexpr const char* kMeanings = "meanings";

double rounded(double value) {
    return std::round(value * 1000) / 1000;
}

bool getText(const json& object, const char* key, std::string& value) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return false;
    value = found->get<std::string>();
    return true;
}

bool getNumber(const json& object, const char* key, double& value) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number())
        return false;
    value = found->get<double>();
    return true;
}

/// How long a step took: no more than some thousand years.
bool getSeconds(const json& document, StepMetrics& metrics) {
    constexpr double kMost = 1e11;
    return getNumber(document, kSeconds, metrics.seconds) && metrics.seconds >= 0 &&
           metrics.seconds <= kMost;
}

bool getCounts(const json& document, StepMetrics& metrics) {
    const auto found = document.find(kCounts);
    if (found == document.end() || !found->is_object())
        return false;
    for (const auto& item : found->items()) {
        if (!getCount(item.value(), metrics.counts[item.key()]))
            return false;
    }
    return true;
}

bool getClocks(const json& document, StepMetrics& metrics) {
    const auto found = document.find(kClocks);
    if (found == document.end() || !found->is_array())
        return false;
    for (const json& item : *found) {
        ClockTiming clock;
        if (!item.is_object() || !getText(item, kName, clock.name) ||
            !getNumber(item, kFmax, clock.fmaxMhz) || !getNumber(item, kTarget, clock.targetMhz) ||
            !isFrequency(clock.fmaxMhz) || !isFrequency(clock.targetMhz))
            return false;
        metrics.clocks.push_back(clock);
    }
    return true;
}

bool getIcetime(const json& document, StepMetrics& metrics) {
    if (!document.contains(kIcetime))
        return true;
    double mhz = 0;
    if (!getNumber(document, kIcetime, mhz) || !isFrequency(mhz))
        return false;
    metrics.icetimeMhz = mhz;
    return true;
}

/// Older programs didn't write all of these.
bool getTexts(const json& document, const char* key, std::map<std::string, std::string>& texts) {
    const auto found = document.find(key);
    if (found == document.end())
        return true;
    if (!found->is_object())
        return false;
    for (const auto& item : found->items()) {
        if (!item.value().is_string())
            return false;
        texts[item.key()] = item.value().get<std::string>();
    }
    return true;
}

/// Whether this program can read the file at all.
bool checkKind(const json& document, std::string& reason) {
    std::string format;
    double version = 0;
    if (document.is_discarded() || !document.is_object()) {
        reason = "it is not valid JSON; it may have been cut short";
        return false;
    }
    if (!getText(document, kFormatKey, format) || format != kFormat ||
        !getNumber(document, kVersionKey, version)) {
        reason = "it does not hold the metrics of a step";
        return false;
    }
    if (version > kVersion) {
        reason =
            fmt::format("it has version {}, and this program reads up to {}", version, kVersion);
        return false;
    }
    return true;
}

}  // namespace

std::optional<long> StepMetrics::count(const std::string& name) const {
    const auto found = counts.find(name);
    return found == counts.end() ? std::nullopt : std::optional<long>(found->second);
}

std::string StepMetrics::file(const std::string& kind) const {
    const auto found = files.find(kind);
    return found == files.end() ? std::string() : found->second;
}

const ClockTiming* StepMetrics::worstClock() const {
    const ClockTiming* worst = nullptr;
    for (const ClockTiming& clock : clocks)
        if (worst == nullptr || clock.slackNs() < worst->slackNs())
            worst = &clock;
    return worst;
}

std::string formatMetrics(const StepMetrics& metrics) {
    json document;
    document[kFormatKey] = kFormat;
    document[kVersionKey] = kVersion;
    document[kStep] = metrics.step;
    document[kTool] = metrics.tool;
    document[kSeconds] = rounded(metrics.seconds);
    document[kCounts] = metrics.counts;
    document[kClocks] = json::array();
    for (const ClockTiming& clock : metrics.clocks)
        document[kClocks].push_back({{kName, clock.name},
                                     {kFmax, rounded(clock.fmaxMhz)},
                                     {kTarget, rounded(clock.targetMhz)},
                                     {kSlack, rounded(clock.slackNs())}});
    if (metrics.icetimeMhz)
        document[kIcetime] = rounded(*metrics.icetimeMhz);
    if (!metrics.files.empty())
        document[kFiles] = metrics.files;
    if (!metrics.meanings.empty())
        document[kMeanings] = metrics.meanings;
    return document.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

bool parseMetrics(const std::string& text, StepMetrics& metrics, std::string& reason) {
    const json document = parseJson(text);
    if (!checkKind(document, reason))
        return false;
    StepMetrics result;
    if (!getText(document, kStep, result.step) || !getText(document, kTool, result.tool) ||
        !getSeconds(document, result) || !getCounts(document, result) ||
        !getClocks(document, result) || !getIcetime(document, result) ||
        !getTexts(document, kFiles, result.files) ||
        !getTexts(document, kMeanings, result.meanings)) {
        reason = "a value of it is missing or of the wrong kind";
        return false;
    }
    metrics = std::move(result);
    return true;
}

bool readMetrics(const std::string& path, StepMetrics& metrics, std::string& reason) {
    std::string text;
    std::string why;
    if (readText(path, text, why, kLargest) && parseMetrics(text, metrics, why))
        return true;
    reason = fmt::format("'{}' can't be read: {}", path, why);
    return false;
}

std::string metricsFileName(const std::string& step) {
    return step + ".metrics.json";
}

}  // namespace ice40
