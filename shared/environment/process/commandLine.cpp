// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/commandLine.h"

namespace process {

namespace {

constexpr const char* kBlanks = " \t\r\n";

bool isBlank(char c) {
    return std::string(kBlanks).find(c) != std::string::npos;
}

/// Reads one word from `at` on, which stands on its first character.
std::string readWord(const std::string& line, std::string::size_type& at) {
    std::string word;
    char quote = '\0';
    for (; at < line.size() && (quote != '\0' || !isBlank(line[at])); ++at) {
        const char c = line[at];
        if (c == '\\' && quote != '\'' && at + 1 < line.size())
            word += line[++at];
        else if (quote == c)
            quote = '\0';
        else if (quote == '\0' && (c == '\'' || c == '"'))
            quote = c;
        else
            word += c;
    }
    return word;
}

std::string showWord(const std::string& word) {
    static const char kPlain[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_@%+=:,./-";
    if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos)
        return word;
    return quoteWord(word);
}

}  // namespace

std::vector<std::string> splitCommand(const std::string& line) {
    std::vector<std::string> words;
    std::string::size_type at = line.find_first_not_of(kBlanks);
    while (at != std::string::npos) {
        words.push_back(readWord(line, at));
        at = line.find_first_not_of(kBlanks, at);
    }
    return words;
}

std::string quoteWord(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string showCommand(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : " ") + showWord(word);
    return line;
}

}  // namespace process
