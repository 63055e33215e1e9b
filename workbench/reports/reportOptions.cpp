// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportOptions.h"

#include <algorithm>

#include <fmt/format.h>

#include "environment/strings/HUTConvert.h"
#include "workbench/ice40/stepFailure.h"

namespace reports {

namespace {

using ice40::StepFailure;

const OptionRule* findRule(const std::vector<OptionRule>& rules, const std::string& word) {
    const auto found = std::find_if(rules.begin(), rules.end(), [&](const OptionRule& rule) {
        return word == std::string("-") + rule.name;
    });
    return found == rules.end() ? nullptr : &*found;
}

std::string listed(const std::vector<OptionRule>& rules) {
    std::string text;
    for (const OptionRule& rule : rules)
        text += fmt::format("{}-{}", text.empty() ? "" : ", ", rule.name);
    return text;
}

}  // namespace

ReportOptions::ReportOptions(const std::string& command, const std::vector<OptionRule>& rules,
                             const std::vector<std::string>& words)
    : m_command(command) {
    for (const OptionRule& rule : rules)
        if (rule.kind == OptionKind::kInt)
            m_numbers[rule.name] = rule.defaultInt;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const OptionRule* rule = findRule(rules, words[i]);
        if (rule == nullptr)
            throw StepFailure(fmt::format("{}: there is no option '{}'", command, words[i]),
                              fmt::format("Use {}", listed(rules)));
        if (rule->kind == OptionKind::kSwitch) {
            m_values[rule->name];
            continue;
        }
        if (++i == words.size())
            throw StepFailure(fmt::format("{}: option -{} needs a value", command, rule->name),
                              "Write it behind the option");
        take_(*rule, words[i]);
    }
}

void ReportOptions::take_(const OptionRule& rule, const std::string& value) {
    if (rule.kind == OptionKind::kInt) {
        int number = 0;
        if (!HUTConvert::stringToInteger(value, number) || number < rule.least ||
            number > rule.most)
            throw StepFailure(
                fmt::format("{}: option -{} can't be '{}'", m_command, rule.name, value),
                fmt::format("Use a whole number from {} to {}", rule.least, rule.most));
        m_numbers[rule.name] = number;
    }
    m_values[rule.name] = value;
}

long ReportOptions::number(const std::string& name) const {
    const auto found = m_numbers.find(name);
    return found == m_numbers.end() ? 0 : found->second;
}

std::string ReportOptions::text(const std::string& name) const {
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::string() : found->second;
}

}  // namespace reports
