// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolWarnings.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <istream>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "environment/files/HUTFile.h"
#include "workbench/HAXPExpRun.h"

namespace workbench {

namespace {

constexpr std::size_t kMostWarnings = 10000;
/// What a tool tells in more isn't read by anybody.
constexpr std::size_t kLongestWarningLine = 4096;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAny(const std::string& word, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&word](const char* one) { return word == one; });
}

bool isUnit(const std::string& word) {
    return isAny(word, {"s", "sec", "seconds", "ms", "us", "ns", "ps", "MHz", "MB", "KB", "%"});
}

/// The end of the digits and points of `text` that begin at `at`.
std::size_t endOfNumber(const std::string& text, std::size_t at) {
    const std::size_t end = text.find_first_not_of("0123456789.", at);
    return end == std::string::npos ? text.size() : end;
}

/// A checksum or the like: eight hexadecimal digits at least, not letters alone.
bool isChecksum(const std::string& word) {
    return word.size() >= 8 && word.find_first_not_of("0123456789abcdefABCDEF") == word.npos &&
           std::any_of(word.begin(), word.end(), isDigit);
}

/// "12:33:10", "2026-11-21", "2026-11-21T12:33:10Z": digits in parts, with one that says so.
bool isTime(const std::string& word) {
    const auto parts =
        std::count_if(word.begin(), word.end(), [](char c) { return c == ':' || c == '-'; });
    return parts >= 2 && isDigit(word.front()) &&
           word.find_first_not_of("0123456789:-.TZ+") == std::string::npos;
}

/// A path keeps its last name alone.
void dropFolders(std::string& word) {
    for (std::size_t from = 0; from < word.size();) {
        std::size_t end = word.find_first_of("$=:", from);
        end = end == std::string::npos ? word.size() : end;
        const std::size_t slash = word.rfind('/', end);
        const bool isPath = word[from] == '/' || word.compare(from, 2, "./") == 0 ||
                            word.compare(from, 3, "../") == 0;
        if (isPath && slash != std::string::npos && slash >= from && slash < end) {
            word.erase(from, slash + 1 - from);
            end -= slash + 1 - from;
        }
        from = end + 1;
    }
}

/// ":12", ":12.3-12.9" behind a name, "$123" and "0x7f00" lose their numbers.
std::string withoutPlaces(const std::string& word) {
    std::string kept;
    for (std::size_t at = 0; at < word.size();) {
        const char c = word[at];
        const bool begins = at + 1 < word.size() && isDigit(word[at + 1]);
        const bool behindName = at > 0 && !isDigit(word[at - 1]);
        if (begins && (c == '$' || (c == ':' && behindName))) {
            kept += c;
            kept += '#';
            const std::size_t end = c == '$' ? word.find_first_not_of("0123456789", at + 1)
                                             : word.find_first_not_of("0123456789.-", at + 1);
            at = std::min(end, word.size());
        } else if (c == '0' && word.compare(at, 2, "0x") == 0) {
            kept += "0x#";
            at = std::min(word.find_first_not_of("0123456789abcdefABCDEF", at + 2), word.size());
        } else {
            kept += c;
            ++at;
        }
    }
    return kept;
}

/// A number of which `before` or `after` says that it is measured, or that has its unit or
/// a fraction, becomes one sign.
std::string withoutMeasure(const std::string& word, const std::string& before,
                           const std::string& after) {
    const std::size_t begin = word.front() == '-' && word.size() > 1 ? 1 : 0;
    const std::size_t end = isDigit(word[begin]) ? endOfNumber(word, begin) : begin;
    if (end == begin)
        return word;
    const std::string unit = word.substr(end);
    const bool isFraction = word.substr(0, end).find('.') != std::string::npos;
    const bool isMeasured =
        isFraction || isUnit(after) || isAny(before, {"line", "pid", "process", "job", "seed"});
    if (unit.empty() ? isMeasured : isUnit(unit))
        return "#" + unit;
    return word;
}

bool isBetweenWords(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0 ||
           std::string("'\"`(),;").find(c) != std::string::npos;
}

/// The word of `text` from `at` on, up to a blank, quote or bracket.
std::string wordAt(const std::string& text, std::size_t at) {
    const auto end =
        std::find_if(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), isBetweenWords);
    return {text.begin() + static_cast<std::ptrdiff_t>(at), end};
}

std::string nextWord(const std::string& text, std::size_t at) {
    while (at < text.size() && isBetweenWords(text[at]))
        ++at;
    return wordAt(text, at);
}

std::string keyOfWord(std::string word, const std::string& before, const std::string& after) {
    // A full stop or colon at the end is none of the word.
    std::string tail;
    while (word.size() > 1 && (word.back() == '.' || word.back() == ':')) {
        tail.insert(tail.begin(), word.back());
        word.pop_back();
    }
    if (isTime(word) || isChecksum(word))
        return "#" + tail;
    dropFolders(word);
    return word.empty() ? tail : withoutMeasure(withoutPlaces(word), before, after) + tail;
}

/// Steps in the order of the flows.
constexpr std::array<const char*, 5> kSteps{"synth_design", "init_design", "place_design",
                                            "route_design", "write_bitstream"};

std::size_t rankOf(const std::string& step) {
    return static_cast<std::size_t>(
        std::distance(kSteps.begin(), std::find(kSteps.begin(), kSteps.end(), step)));
}

/// A call of a tool, as a step tells it in the log.
struct ToolCall {
    std::string tool;
    std::string step;
    /// Whether the step begins with it.
    bool isFirst = false;
};

bool hasWord(const std::string& line, const std::string& word) {
    return (line + " ").find(" " + word + " ") != std::string::npos;
}

std::optional<ToolCall> callIn(const std::string& line) {
    constexpr std::string_view mark = "Command: ";
    if (line.compare(0, mark.size(), mark) != 0)
        return std::nullopt;
    std::string tool = wordAt(line, mark.size());
    tool.erase(0, tool.rfind('/') + 1);
    if (tool == "yosys")
        return ToolCall{tool, "synth_design", true};
    if (tool == "nextpnr-ice40")
        return ToolCall{tool, hasWord(line, "--no-route") ? "place_design" : "route_design", true};
    if (tool == "icetime")
        return ToolCall{tool, "route_design", false};
    if (tool == "icepack")
        return ToolCall{tool, "write_bitstream", true};
    const std::string last = line.substr(line.rfind(' ') + 1);
    return ToolCall{tool, rankOf(last) < kSteps.size() ? last : "", false};
}

/// Where the text of a warning begins and what stands before its mark.
struct Mark {
    std::string before;
    std::string text;
};

/// Without blanks, or a carriage return, at either end.
std::string trimmedLine(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::optional<Mark> markIn(const std::string& line) {
    // Nearly all lines have none.
    if (line.find("arning: ") == std::string::npos && line.find("ARNING: ") == std::string::npos)
        return std::nullopt;
    for (const char* word : {"Warning: ", "WARNING: ", "warning: "}) {
        const std::string mark = word;
        const std::size_t at = line.find(mark);
        const bool isBehind =
            at != std::string::npos && at >= 2 && line.compare(at - 2, 2, ": ") == 0;
        if (at != 0 && !isBehind)
            continue;
        const std::string text = trimmedLine(line.substr(at + mark.size()));
        if (!text.empty())
            return Mark{at == 0 ? std::string() : line.substr(0, at - 2), text};
    }
    return std::nullopt;
}

/// Takes "FILE:LINE" and the columns behind it; false, with `warning` as it was, for else.
bool takePlace(const std::string& before, ToolWarning& warning) {
    const std::size_t colon = before.find(':');
    if (colon == 0 || colon == std::string::npos ||
        before.find_first_not_of("0123456789.-:", colon) != std::string::npos)
        return false;
    const std::string digits = before.substr(colon + 1, 9);
    if (digits.empty() || !isDigit(digits.front()))
        return false;
    warning.file = before.substr(0, colon);
    warning.line = std::stol(digits);
    return true;
}

ToolWarning warningOf(const Mark& mark, const ToolCall& call) {
    ToolWarning warning;
    warning.step = call.step;
    warning.tool = call.tool;
    warning.text = mark.text;
    const bool hasPlace = takePlace(mark.before, warning);
    if (!hasPlace && !mark.before.empty())
        warning.text = mark.before + ": " + mark.text;
    warning.key = warningKey(hasPlace ? warning.file + ": " + mark.text : warning.text);
    return warning;
}

/// What is gathered from a log line by line.
class WarningGathering {
public:
    void readLine(const std::string& line) {
        if (const std::optional<ToolCall> call = callIn(line)) {
            m_call = *call;
            if (m_call.isFirst)
                dropFrom_(rankOf(m_call.step));
        } else if (const std::optional<Mark> mark = markIn(line)) {
            add_(warningOf(*mark, m_call));
        }
    }

    std::vector<ToolWarning> take() { return std::move(m_warnings); }

private:
    static std::string idOf_(const ToolWarning& warning) {
        return warning.step + "\n" + warning.key;
    }

    void add_(const ToolWarning& warning) {
        const auto known = m_places.find(idOf_(warning));
        if (known != m_places.end()) {
            ++m_warnings[known->second].count;
        } else if (m_warnings.size() < kMostWarnings) {
            m_places[idOf_(warning)] = m_warnings.size();
            m_warnings.push_back(warning);
        }
    }

    /// A step that runs again takes back what it and the later ones told.
    void dropFrom_(std::size_t rank) {
        const auto isOld = [rank](const ToolWarning& warning) {
            const std::size_t own = rankOf(warning.step);
            return own >= rank && own < kSteps.size();
        };
        m_warnings.erase(std::remove_if(m_warnings.begin(), m_warnings.end(), isOld),
                         m_warnings.end());
        m_places.clear();
        for (std::size_t i = 0; i < m_warnings.size(); ++i)
            m_places[idOf_(m_warnings[i])] = i;
    }

    ToolCall m_call;
    std::vector<ToolWarning> m_warnings;
    std::unordered_map<std::string, std::size_t> m_places;
};

}  // namespace

std::string warningKey(const std::string& text) {
    std::string key;
    std::string before;
    for (std::size_t at = 0; at < text.size();) {
        if (isBetweenWords(text[at])) {
            const bool isBlank = std::isspace(static_cast<unsigned char>(text[at])) != 0;
            // Rulers and columns are padded to a width.
            if (!isBlank || (!key.empty() && key.back() != ' '))
                key += isBlank ? ' ' : text[at];
            ++at;
            continue;
        }
        const std::string word = wordAt(text, at);
        at += word.size();
        key += keyOfWord(word, before, nextWord(text, at));
        before = word;
    }
    return key;
}

std::vector<ToolWarning> warningsIn(std::istream& log) {
    WarningGathering gathering;
    for (std::string line; std::getline(log, line);) {
        if (line.size() > kLongestWarningLine && line.compare(0, 9, "Command: ") != 0)
            line.resize(kLongestWarningLine);
        gathering.readLine(line);
    }
    return gathering.take();
}

std::vector<ToolWarning> warningsOfLog(const std::string& path) {
    // A pipe of that name would hold its reader.
    if (path.empty() || !HUTFile::isFile(path))
        return {};
    std::ifstream log(path, std::ios::binary);
    return warningsIn(log);
}

std::vector<ToolWarning> warningsOf(const HAXPExpRun& run) {
    return warningsOfLog(run.getDir().empty() ? std::string() : run.pathOf("runme.log"));
}

std::vector<ToolWarning> warningsBeyond(const std::vector<ToolWarning>& warnings,
                                        const std::vector<ToolWarning>& others) {
    std::vector<ToolWarning> beyond;
    std::copy_if(warnings.begin(), warnings.end(), std::back_inserter(beyond),
                 [&others](const ToolWarning& warning) {
                     return std::none_of(others.begin(), others.end(), [&](const auto& other) {
                         return other.step == warning.step && other.key == warning.key;
                     });
                 });
    return beyond;
}

}  // namespace workbench
