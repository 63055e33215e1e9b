// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/entryRules.h"

#include <algorithm>

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/strings/HSTStringUtils.h"
#include "workbench/DesignInputs.h"
#include "workbench/printable.h"

namespace workbench {

namespace {

constexpr std::size_t kLongestRunName = 100;
/// Flow id, number, suffix and what a temporary file adds still fit into a file name.
constexpr std::size_t kLongestStrategyName = 100;

bool isAlnum(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isRunNameChar(char c) {
    return isAlnum(c) || c == '.' || c == '_' || c == '+' || c == '-';
}

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// What keeps `name` from being that of a strategy, in words; empty when nothing does.
std::string findStrategyNameFault(const std::string& name) {
    if (name.empty())
        return "it is empty";
    if (name.size() > kLongestStrategyName)
        return "it is too long";
    if (printable(name) != name)
        return "it holds a character that can't be shown";
    if (name.find_first_of("/\\") != std::string::npos)
        return "it holds a separator of folders";
    if (name.front() == '.' || name.front() == '-')
        return "it begins with a dot or a dash";
    if (name.front() == ' ' || name.back() == ' ')
        return "it begins or ends with a blank";
    return {};
}

/// The first character of `text` that is a control character or one of `refused`, in
/// words; empty when there is none.
std::string findRefused(const std::string& text, const std::string& refused) {
    for (const char c : text) {
        if (isControl(c))
            return "a control character";
        if (refused.find(c) != std::string::npos)
            return std::string("the character ") + c;
    }
    return {};
}

/// Whether quotes and braces of `text` stand in pairs.
bool isBalanced(const std::string& text) {
    int depth = 0;
    bool quoted = false;
    for (const char c : text) {
        if (c == '"')
            quoted = !quoted;
        depth += c == '{' ? 1 : 0;
        depth -= c == '}' ? 1 : 0;
        if (depth < 0)
            return false;
    }
    return depth == 0 && !quoted;
}

/// Files of a run are called after the top module, so it stays in the run directory.
void requireTop(const std::string& top) {
    std::string found;
    if (top.find('/') != std::string::npos)
        found = "holds a separator of folders";
    else if (!top.empty() && (top.front() == '.' || top.front() == '-'))
        found = "begins with a dot or a dash";
    if (!found.empty())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-100@%s%s", top, found));
}

}  // namespace

void requireRunName(const std::string& name) {
    const bool good = !name.empty() && name.size() <= kLongestRunName && isAlnum(name.front()) &&
                      std::all_of(name.begin(), name.end(), isRunNameChar);
    if (!good)
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-1@%s", name));
}

void requireStrategyName(const std::string& name) {
    const std::string fault = findStrategyNameFault(name);
    if (!fault.empty())
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-4@%s%s",
                                                 printable(name), fault));
}

void requireScriptPath(const std::string& path) {
    const std::string found = findRefused(path, "'\"\\$`*?[");
    if (!found.empty())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-2@%s%s", path, found));
}

void requireOptionText(const std::string& name, const std::string& value) {
    const std::string found = findRefused(value, "'\"\\$`*?[]{}()<>|&;#~!^%");
    if (!found.empty())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-3@%s%s%s", name, value, found));
}

void requireReportFile(const std::string& name) {
    std::string found = findRefused(name, "/\\");
    // Hidden files are the markers of the run.
    if (found.empty() && !name.empty() && name.front() == '.')
        found = "a dot in front";
    if (!found.empty())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-99@%s%s", name, found));
}

void requireReportOption(const std::string& name, const std::string& value) {
    const bool severalWords = HSTStringUtils::iequals(name, "MORE_OPTIONS");
    std::string found = findRefused(value, severalWords ? "[]$;\\" : " \"[]{}$;\\");
    if (found.empty() && severalWords && !isBalanced(value))
        found = "a quote or brace without its partner";
    if (!found.empty())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-95@%s%s%s", name, value, found));
}

void requireInputs(const DesignInputs& inputs) {
    for (const std::vector<std::string>* paths : {&inputs.sources, &inputs.includeDirs}) {
        for (const std::string& path : *paths)
            requireScriptPath(path);
    }
    requireScriptPath(inputs.constraints);
    for (const std::string& define : inputs.defines)
        requireOptionText("define", define);
    requireOptionText("top", inputs.top);
    requireTop(inputs.top);
    requireOptionText("device", inputs.device);
    requireOptionText("package", inputs.package);
    requireOptionText("frequency", inputs.frequencyMhz);
}

}  // namespace workbench
