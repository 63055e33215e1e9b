// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/knownFailures.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "workbench/failures/failureTable.h"

namespace workbench {

namespace {

/// No more of a line is looked at.
constexpr std::size_t kLongestText = 4096;

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// A literal of a pattern, or one of its signs "*" and "?".
struct Piece {
    char sign = 0;
    std::string literal;
};

std::vector<Piece> piecesOf(const std::string& pattern) {
    std::vector<Piece> pieces;
    for (const char c : pattern) {
        if (c == '*' || c == '?')
            pieces.push_back({c, {}});
        else if (pieces.empty() || pieces.back().sign != 0)
            pieces.push_back({0, std::string(1, c)});
        else
            pieces.back().literal += c;
    }
    return pieces;
}

/// The end of `literal` at exactly `at` of `text`; npos when it doesn't stand there.
std::size_t literalEnd(const std::string& literal, const std::string& text, std::size_t at) {
    for (const char c : literal) {
        if (isBlank(c)) {
            while (at < text.size() && isBlank(text[at]))
                ++at;
        } else if (at < text.size() && text[at] == c) {
            ++at;
        } else {
            return std::string::npos;
        }
    }
    return at;
}

/// The word at `at` behind blanks, and where it ends.
std::string wordAt(const std::string& text, std::size_t& at) {
    while (at < text.size() && isBlank(text[at]))
        ++at;
    const std::size_t begin = at;
    while (at < text.size() && !isBlank(text[at]) && std::strchr("/,:;", text[at]) == nullptr)
        ++at;
    return text.substr(begin, at - begin);
}

/// Matches the pieces one after the other from `at` on. The first place at which a literal
/// stands behind a "*" is taken and never given back, so that a text is looked at once.
bool matchAt(const std::vector<Piece>& pieces, const std::string& text, std::size_t at,
             std::vector<std::string>& captures) {
    std::size_t openFrom = std::string::npos;  // where the "*" before this piece began
    for (const Piece& piece : pieces) {
        if (piece.sign == '*') {
            openFrom = at;
        } else if (piece.sign == '?') {
            captures.push_back(wordAt(text, at));
            if (captures.back().empty())
                return false;
        } else {
            std::size_t begin = at;
            std::size_t end = literalEnd(piece.literal, text, begin);
            while (end == std::string::npos && openFrom != std::string::npos && begin < text.size())
                end = literalEnd(piece.literal, text, ++begin);
            if (end == std::string::npos)
                return false;
            if (openFrom != std::string::npos)
                captures.push_back(trimmed(text.substr(openFrom, begin - openFrom)));
            openFrom = std::string::npos;
            at = end;
        }
    }
    if (openFrom != std::string::npos)
        captures.push_back(trimmed(text.substr(openFrom)));
    return true;
}

/// A pattern that begins with literal words may begin anywhere in the text.
bool matchAnywhere(const std::vector<Piece>& pieces, const std::string& text,
                   std::vector<std::string>& captures) {
    const bool isFree = !pieces.empty() && pieces.front().sign == 0;
    for (std::size_t begin = 0; begin == 0 || (isFree && begin < text.size()); ++begin) {
        captures.clear();
        if (matchAt(pieces, text, begin, captures))
            return true;
    }
    return false;
}

/// A name as its designer wrote it: without the sign in front that marks it as public, and
/// without what a tool put behind it.
std::string designName(std::string name) {
    if (!name.empty() && name.front() == '\\')
        name.erase(0, 1);
    const std::size_t suffix = name.find('$');
    if (suffix != std::string::npos && suffix != 0)
        name.erase(suffix);
    while (!name.empty() && (name.back() == '.' || name.back() == '!'))
        name.pop_back();
    return name;
}

/// `text` with "{0}", "{1}" ... replaced by `names`.
std::string filled(const std::string& text, const std::vector<std::string>& names) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPlace = text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}';
        if (!isPlace) {
            result += text[i];
            continue;
        }
        const auto index = static_cast<std::size_t>(text[i + 1] - '0');
        result += index < names.size() ? names[index] : std::string("?");
        i += 2;
    }
    return result;
}

bool matchesAny(const char* pattern, const std::vector<std::string>& lines,
                std::vector<std::string>& captures) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const auto& line) { return matchWords(pattern, line, captures); });
}

}  // namespace

bool matchWords(const std::string& pattern, const std::string& text,
                std::vector<std::string>& captures) {
    std::vector<std::string> found;
    if (!matchAnywhere(piecesOf(pattern), text.substr(0, kLongestText), found))
        return false;
    captures = std::move(found);
    return true;
}

const char* failureKindName(FailureKind kind) {
    for (const FailureKindName& entry : failureKindNames())
        if (entry.kind == kind)
            return entry.name;
    return "unknown";
}

std::optional<KnownFailure> findKnownFailure(const std::string& error,
                                             const std::vector<std::string>& lines) {
    for (const FailureRule& rule : failureRules()) {
        std::vector<std::string> names;
        std::vector<std::string> more;
        if (!matchWords(rule.pattern, error, names))
            continue;
        if (rule.also != nullptr && !matchesAny(rule.also, lines, more))
            continue;
        names.insert(names.end(), more.begin(), more.end());
        std::transform(names.begin(), names.end(), names.begin(), designName);
        return KnownFailure{rule.kind, filled(rule.what, names), filled(rule.advice, names), names};
    }
    return std::nullopt;
}

std::vector<std::string> knownPatterns() {
    std::vector<std::string> patterns;
    for (const FailureRule& rule : failureRules())
        patterns.emplace_back(rule.pattern);
    return patterns;
}

}  // namespace workbench
