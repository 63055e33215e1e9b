// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <vector>

namespace reports {

enum class OptionKind { kSwitch, kInt, kText };

/// One option of a report command, "-name" or "-name value".
struct OptionRule {
    const char* name;  ///< without the dash
    OptionKind kind;
    const char* help;
    long defaultInt = 0;  ///< of an int; values below it are refused with `least`
    long least = 0;       ///< smallest int allowed
    long most = 1000000;  ///< biggest int allowed
};

/// The options of one call of a report command. A name that stands twice has the
/// later value, so that what a user adds goes before what was there.
class ReportOptions {
public:
    /// Reads the words behind the command's name.
    /// @throws ice40::StepFailure an option isn't known, lacks its value, or has
    ///         one that isn't allowed; the text names the known ones.
    ReportOptions(const std::string& command, const std::vector<OptionRule>& rules,
                  const std::vector<std::string>& words);

    bool has(const std::string& name) const { return m_values.count(name) != 0; }
    /// The value, or the default that the rule gives.
    long number(const std::string& name) const;
    /// The value, or empty.
    std::string text(const std::string& name) const;

private:
    void take_(const OptionRule& rule, const std::string& value);

    std::string m_command;
    std::map<std::string, std::string> m_values;
    std::map<std::string, long> m_numbers;
};

}  // namespace reports
