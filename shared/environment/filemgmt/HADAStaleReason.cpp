// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAStaleReason.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace {

constexpr const char* kLineStart = "\n  ";

struct SummaryText {
    HADAStaleReason::StaleSummary summary;
    const char* text;
};

constexpr SummaryText kSummaryTexts[] = {
    {HADAStaleReason::SS_NONE, "Nothing is known to have changed"},
    {HADAStaleReason::SS_DESIGN_SRCS_CHANGED, "Design sources changed"},
    {HADAStaleReason::SS_CONSTRS_CHANGED, "Constraints changed"},
    {HADAStaleReason::SS_SIM_SRCS_CHANGED, "Simulation sources changed"},
    {HADAStaleReason::SS_OPTION_CHANGED, "Options changed"},
    {HADAStaleReason::SS_SW_PARAM_CHANGED, "A parameter or the version of the software changed"},
    {HADAStaleReason::SS_UTILS_CHANGED, "Utility files of the run changed"},
};

/// "2026-11-21 11:07:12 UTC": the same for readers in all time zones.
std::string utcText(std::time_t time) {
    std::tm parts{};
    char text[64] = "";
    if (gmtime_r(&time, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

std::string fileText(const HADAStaleReason::ChangedFile& file) {
    std::string text = file.name + ": " + HADAFileSetChangeSummary::getChangeText(file.change);
    if (!file.fileSet.empty())
        text += ", file set \"" + file.fileSet + "\"";
    if (file.modTime != 0)
        text += ", last modified " + utcText(file.modTime);
    return text;
}

/// What tells one noted file from another.
std::string keyOf(const HADAStaleReason::ChangedFile& file) {
    return std::to_string(file.change) + '\n' + file.fileSet + '\n' + file.name;
}

/// An option that bears its group's name stands for the group as a whole, and
/// has nothing to add to the headline.
bool standsForItsGroup(const HADAStaleOption& option) {
    return option.getName() == option.getGroup();
}

}  // namespace

HADAStaleReason::HADAStaleReason(StaleSummary summary, std::time_t since)
    : m_summary(summary), m_since(since) {}

void HADAStaleReason::addOrUpdateFile(const ChangedFile& file) {
    addOrUpdateFiles({file});
}

void HADAStaleReason::addOrUpdateFiles(std::vector<ChangedFile> files) {
    if (m_files.empty()) {
        m_files = std::move(files);
        return;
    }
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < m_files.size(); ++i)
        places.emplace(keyOf(m_files[i]), i);
    for (ChangedFile& file : files) {
        const auto [place, isNew] = places.emplace(keyOf(file), m_files.size());
        if (isNew)
            m_files.push_back(std::move(file));
        else
            m_files[place->second] = std::move(file);
    }
}

void HADAStaleReason::addOrUpdateOption(const HADAStaleOption& option) {
    const auto known =
        std::find_if(m_options.begin(), m_options.end(), [&](const HADAStaleOption& other) {
            return other.getName() == option.getName() && other.getGroup() == option.getGroup();
        });
    if (known == m_options.end())
        m_options.push_back(option);
    else
        *known = option;
}

std::string HADAStaleReason::getHeadline() const {
    std::string text = getSummaryText(m_summary);
    if (m_since != 0)
        text += ", noticed " + utcText(m_since);
    return text + ".";
}

std::string HADAStaleReason::getText() const {
    std::string text = getHeadline();
    for (const ChangedFile& file : m_files)
        text += kLineStart + fileText(file);
    for (const HADAStaleOption& option : m_options) {
        if (!standsForItsGroup(option))
            text += kLineStart + option.getText();
    }
    return text;
}

std::string HADAStaleReason::getSummaryText(StaleSummary summary) {
    for (const SummaryText& row : kSummaryTexts) {
        if (row.summary == summary)
            return row.text;
    }
    return "Something changed (reason " + std::to_string(summary) + ")";
}
