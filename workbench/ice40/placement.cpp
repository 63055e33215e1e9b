// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/placement.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/ice40/meaning.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/parseJson.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"

namespace ice40 {

namespace {

using nlohmann::json;

constexpr const char* kPlacementFormat = "xperiment-placement";
constexpr int kPlacementVersion = 1;

bool getText(const json& document, const char* key, std::string& value) {
    const auto found = document.find(key);
    if (found == document.end() || !found->is_string())
        return false;
    value = found->get<std::string>();
    return true;
}

bool getTextList(const json& document, const char* key, std::vector<std::string>& values) {
    const auto found = document.find(key);
    if (found == document.end() || !found->is_array())
        return false;
    for (const json& item : *found) {
        if (!item.is_string())
            return false;
        values.push_back(item.get<std::string>());
    }
    return true;
}

std::string readInput(const std::string& path) {
    std::string text;
    std::string reason;
    if (!readText(path, text, reason))
        throw StepFailure(fmt::format("'{}' can't be read: {}", path, reason),
                          "Run the synthesis again, or correct the file's name");
    return text;
}

}  // namespace

std::string formatPlacement(const Placement& placement) {
    const json document = {{"format", kPlacementFormat},
                           {"version", kPlacementVersion},
                           {"top", placement.top},
                           {"device", placement.device},
                           {"package", placement.package},
                           {"netlist", placement.netlist},
                           {"constraints", placement.constraints},
                           {"freq_mhz", placement.freqMhz},
                           {"inputs", placement.inputs},
                           {"words", placement.words},
                           {"checksums", placement.checksums}};
    return document.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

bool parsePlacement(const std::string& text, Placement& placement, std::string& reason) {
    const json document = parseJson(text);
    if (document.is_discarded() || !document.is_object()) {
        reason = "it is not valid JSON; it may have been cut short";
        return false;
    }
    Placement result;
    std::string format;
    if (!getText(document, "format", format) || format != kPlacementFormat ||
        document.value("version", json()) != kPlacementVersion) {
        reason = "it is not a placement record that this program can read";
        return false;
    }
    const auto freq = document.find("freq_mhz");
    if (!getText(document, "top", result.top) || !getText(document, "device", result.device) ||
        !getText(document, "package", result.package) ||
        !getText(document, "netlist", result.netlist) ||
        !getText(document, "constraints", result.constraints) || freq == document.end() ||
        !freq->is_number() || !getText(document, "inputs", result.inputs) ||
        !getTextList(document, "words", result.words) ||
        !getTextList(document, "checksums", result.checksums) || result.checksums.empty()) {
        reason = "a value of it is missing or of the wrong kind";
        return false;
    }
    result.freqMhz = freq->get<double>();
    placement = std::move(result);
    return true;
}

std::map<std::string, std::string> inputMeanings(const std::string& netlist,
                                                 const std::string& constraints) {
    const std::string text = readInput(netlist);
    const std::string meaning = netlistMeaning(text);
    // What is no netlist means what it says.
    std::map<std::string, std::string> all{
        {meanings::kNetlist, meaning.empty() ? fingerprint(text) : meaning}};
    if (!constraints.empty())
        all[meanings::kConstraints] = constraintsMeaning(readInput(constraints));
    return all;
}

std::string fingerprintInputs(const std::map<std::string, std::string>& meanings) {
    std::string text;
    for (const auto& [kind, meaning] : meanings)
        text.append(kind).append(" ").append(meaning).append("\n");
    return fingerprint(text);
}

std::string fingerprintInputs(const std::string& netlist, const std::string& constraints) {
    return fingerprintInputs(inputMeanings(netlist, constraints));
}

}  // namespace ice40
