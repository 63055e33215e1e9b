// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/metrics.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/jsonNumbers.h"
#include "workbench/ice40/jsonView.h"
#include "workbench/ice40/stepFiles.h"

namespace ice40 {

namespace {

using nlohmann::json;

constexpr const char* kMetricsFormat = "xperiment-step-metrics";
constexpr int kMetricsVersion = 1;
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

/// How long a step took: no more than some thousand years.
bool getSeconds(const JsonObject& document, StepMetrics& metrics) {
    constexpr double kMost = 1e11;
    return getMember(document, kSeconds, metrics.seconds) && metrics.seconds >= 0 &&
           metrics.seconds <= kMost;
}

bool getCounts(const JsonObject& document, StepMetrics& metrics) {
    JsonObject counts;
    if (!getMember(document, kCounts, counts))
        return false;
    for (const auto item : counts) {
        std::int64_t count = 0;
        if (item.value.get(count) != simdjson::SUCCESS || !isCount(count))
            return false;
        metrics.counts[std::string(item.key)] = count;
    }
    return true;
}

bool getClocks(const JsonObject& document, StepMetrics& metrics) {
    JsonArray clocks;
    if (!getMember(document, kClocks, clocks))
        return false;
    for (const JsonValue item : clocks) {
        JsonObject object;
        ClockTiming clock;
        if (item.get(object) != simdjson::SUCCESS || !getMember(object, kName, clock.name) ||
            !getMember(object, kFmax, clock.fmaxMhz) ||
            !getMember(object, kTarget, clock.targetMhz) || !isFrequency(clock.fmaxMhz) ||
            !isFrequency(clock.targetMhz))
            return false;
        metrics.clocks.push_back(clock);
    }
    return true;
}

bool getIcetime(const JsonObject& document, StepMetrics& metrics) {
    JsonValue found;
    double mhz = 0;
    if (!findMember(document, kIcetime, found))
        return true;
    if (found.get(mhz) != simdjson::SUCCESS || !isFrequency(mhz))
        return false;
    metrics.icetimeMhz = mhz;
    return true;
}

/// Older programs didn't write all of these.
bool getTextMap(const JsonObject& document, const char* key,
                std::map<std::string, std::string>& texts) {
    JsonValue found;
    JsonObject object;
    if (!findMember(document, key, found))
        return true;
    if (found.get(object) != simdjson::SUCCESS)
        return false;
    for (const auto item : object) {
        std::string_view text;
        if (item.value.get(text) != simdjson::SUCCESS)
            return false;
        texts[std::string(item.key)] = text;
    }
    return true;
}

/// Whether this program can read the file at all.
bool checkKind(const JsonObject& document, std::string& reason) {
    std::string_view format;
    double version = 0;
    if (!getMember(document, kFormatKey, format) || format != kMetricsFormat ||
        !getMember(document, kVersionKey, version)) {
        reason = "it does not hold the metrics of a step";
        return false;
    }
    if (version > kMetricsVersion) {
        reason = fmt::format("it has version {}, and this program reads up to {}", version,
                             kMetricsVersion);
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
    document[kFormatKey] = kMetricsFormat;
    document[kVersionKey] = kMetricsVersion;
    document[kStep] = metrics.step;
    document[kTool] = metrics.tool;
    document[kSeconds] = rounded(metrics.seconds);
    document[kCounts] = metrics.counts;
    document[kClocks] = json::array();
    for (const ClockTiming& clock : metrics.clocks) {
        // The slack is that of the frequencies as they are written.
        const ClockTiming written{clock.name, rounded(clock.fmaxMhz), rounded(clock.targetMhz)};
        document[kClocks].push_back({{kName, written.name},
                                     {kFmax, written.fmaxMhz},
                                     {kTarget, written.targetMhz},
                                     {kSlack, rounded(written.slackNs())}});
    }
    if (metrics.icetimeMhz)
        document[kIcetime] = rounded(*metrics.icetimeMhz);
    if (!metrics.files.empty())
        document[kFiles] = metrics.files;
    if (!metrics.meanings.empty())
        document[kMeanings] = metrics.meanings;
    return document.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

bool parseMetrics(const std::string& text, StepMetrics& metrics, std::string& reason) {
    JsonObject document;
    if (!viewJson(text, document)) {
        reason = "it is not valid JSON; it may have been cut short";
        return false;
    }
    if (!checkKind(document, reason))
        return false;
    StepMetrics result;
    if (!getMember(document, kStep, result.step) || !getMember(document, kTool, result.tool) ||
        !getSeconds(document, result) || !getCounts(document, result) ||
        !getClocks(document, result) || !getIcetime(document, result) ||
        !getTextMap(document, kFiles, result.files) ||
        !getTextMap(document, kMeanings, result.meanings)) {
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
