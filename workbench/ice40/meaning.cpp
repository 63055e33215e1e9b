// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/meaning.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "workbench/ice40/blackBox.h"
#include "workbench/ice40/contentHash.h"
#include "workbench/ice40/parseJson.h"

namespace ice40 {

namespace {

using nlohmann::json;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t afterDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && isDigit(text[at]))
        ++at;
    return at;
}

/// Behind ":12" or ":12.5-13.9" at `at`, if a '$' follows; else `at`.
std::size_t afterPlace(std::string_view text, std::size_t at) {
    std::size_t end = afterDigits(text, at + 1);
    if (end == at + 1)
        return at;
    for (const char mark : {'.', '-', '.'}) {
        if (end >= text.size() || text[end] != mark)
            break;
        end = afterDigits(text, end + 1);
    }
    return end < text.size() && text[end] == '$' ? end : at;
}

/// The numbers that yosys counted up for names of its own, and their ranks among each other.
class Counters {
public:
    /// The text in the place of the number `digits`.
    std::string seen(std::string_view digits) {
        constexpr std::size_t kMostDigits = 18;
        if (digits.size() > kMostDigits)
            return std::string(digits);
        const long long number = std::stoll(std::string(digits));
        if (!m_isRanked)
            m_ranks.emplace(number, 0);
        return std::to_string(m_ranks[number]);
    }
    void rank() {
        std::size_t next = 0;
        for (auto& entry : m_ranks)
            entry.second = next++;
        m_isRanked = true;
    }

private:
    std::map<long long, std::size_t> m_ranks;
    bool m_isRanked = false;
};

/// A word of RTLIL that is no text in quotes: without places, its counter by rank.
std::string plainWord(std::string_view word, Counters& counters) {
    std::string plain;
    bool isMadeUp = word.front() == '$';
    for (std::size_t at = 0; at < word.size();) {
        const std::size_t end = word[at] == ':' ? afterPlace(word, at) : at;
        if (end != at) {
            plain += ':';
            isMadeUp = true;
            at = end;
            continue;
        }
        plain += word[at++];
        if (!isMadeUp || plain.back() != '$' || plain.size() == 1)
            continue;
        const std::size_t last = afterDigits(word, at);
        if (last != at)
            plain += counters.seen(word.substr(at, last - at));
        at = last;
    }
    return plain;
}

/// A line of RTLIL; texts in quotes stay.
std::string plainLine(std::string_view line, Counters& counters) {
    const std::size_t quote = line.find('"');
    const std::string_view words = line.substr(0, quote);
    std::string plain;
    for (std::size_t at = 0; at < words.size();) {
        const std::size_t blank = std::min(words.find(' ', at), words.size());
        if (blank != at)
            plain += plainWord(words.substr(at, blank - at), counters) + ' ';
        at = blank + 1;
    }
    return quote == std::string_view::npos ? plain : plain + std::string(line.substr(quote));
}

bool startsWith(std::string_view text, std::string_view head) {
    return text.substr(0, head.size()) == head;
}

/// Calls `take` with each line that counts, without the blanks in front.
template <class Take> void forEachLine(std::string_view text, Take take) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string_view line = text.substr(at, end - at);
        at = end + 1;
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (!line.empty() && line.front() != '#' && !startsWith(line, "autoidx ") &&
            !startsWith(line, "attribute \\src "))
            take(line);
    }
}

/// Puts the parts of each module into an order that their names don't decide.
class Parts {
public:
    explicit Parts(ContentHash& hash) : m_hash(hash) {}

    void add(const std::string& line) {
        m_part += line;
        m_part += '\n';
        const std::string_view word = std::string_view(line).substr(0, line.find(' '));
        if (word == "attribute")
            return;
        if (word == "cell" || word == "process" || word == "switch" || word == "module")
            ++m_depth;
        else if (word == "end")
            --m_depth;
        if (word == "module")
            m_hash.add(take_());
        else if (m_depth == 1)
            m_parts.push_back(take_());
        else if (m_depth <= 0)
            flush();
    }
    void flush() {
        std::sort(m_parts.begin(), m_parts.end());
        for (const std::string& part : m_parts)
            m_hash.add(part);
        m_hash.add(take_());
        m_parts.clear();
        m_depth = 0;
    }

private:
    std::string take_() {
        std::string part;
        part.swap(m_part);
        return part;
    }

    ContentHash& m_hash;
    std::string m_part;
    std::vector<std::string> m_parts;
    int m_depth = 0;
};

/// Hands the text of `value` to `hash`, objects in the order of their keys as they are meant.
/// False for what is nested deeper than any netlist.
bool addJson(const json& value, ContentHash& hash, int depth = 0) {
    constexpr int kDeepest = 32;
    bool isGood = depth < kDeepest;
    if (!isGood)
        return false;
    if (value.is_array()) {
        hash.add("[");
        for (const json& item : value)
            isGood = addJson(item, hash, depth + 1) && isGood;
        hash.add("]");
    } else if (value.is_object()) {
        std::multimap<std::string, const json*> items;
        for (const auto& item : value.items())
            items.emplace(withoutLineNumbers(item.key()), &item.value());
        hash.add("{");
        for (const auto& [name, item] : items) {
            if (name == "src" && item->is_string())
                continue;
            hash.add(json(name).dump(-1, ' ', false, json::error_handler_t::replace));
            hash.add(":");
            isGood = addJson(*item, hash, depth + 1) && isGood;
        }
        hash.add("}");
    } else {
        hash.add(value.dump(-1, ' ', false, json::error_handler_t::replace));
        hash.add(",");
    }
    return isGood;
}

}  // namespace

std::string withoutLineNumbers(const std::string& name) {
    std::string plain;
    for (std::size_t at = 0; at < name.size();) {
        const std::size_t end = name[at] == ':' ? afterPlace(name, at) : at;
        plain += name[at];
        at = std::max(at + 1, end);
    }
    return plain;
}

std::string elaborationMeaning(const std::string& rtlil) {
    Counters counters;
    forEachLine(rtlil, [&](std::string_view line) { plainLine(line, counters); });
    counters.rank();
    ContentHash hash;
    Parts parts(hash);
    forEachLine(rtlil, [&](std::string_view line) { parts.add(plainLine(line, counters)); });
    parts.flush();
    return hash.text();
}

std::string netlistMeaning(const std::string& text) {
    const json document = parseJson(text);
    if (document.is_discarded() || !document.is_object() || !document.contains("modules") ||
        !document["modules"].is_object())
        return {};
    ContentHash hash;
    bool isGood = true;
    for (const auto& module : document["modules"].items()) {
        // The cells of the device are of the tool, not of the design.
        if (isBlackBox(module.value()))
            continue;
        hash.add(json(module.key()).dump(-1, ' ', false, json::error_handler_t::replace));
        isGood = addJson(module.value(), hash) && isGood;
    }
    return isGood ? hash.text() : std::string();
}

std::string constraintsMeaning(const std::string& pcf) {
    ContentHash hash;
    std::istringstream lines(pcf);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string word;
        bool isEmpty = true;
        while (words >> word) {
            hash.add(word + ' ');
            isEmpty = false;
        }
        if (!isEmpty)
            hash.add("\n");
    }
    return hash.text();
}

}  // namespace ice40
