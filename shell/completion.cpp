// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/completion.h"

#include <algorithm>
#include <exception>
#include <memory>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/completedNames.h"
#include "shell/declaredVerb.h"
#include "shell/exitStatus.h"
#include "shell/optionText.h"
#include "shell/startsWith.h"
#include "shell/verb.h"
#include "workbench/printable.h"

namespace shell {

const char kCompleteWord[] = "__complete";

namespace {

using Words = std::vector<std::string>;

bool isOptionWord(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

/// Bash breaks words at '=': "--flow", "=", "im" is one word.
Words joinAtEquals(const Words& words) {
    Words joined;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] != "=" || joined.empty()) {
            joined.push_back(words[i]);
            continue;
        }
        joined.back() += "=";
        if (i + 1 < words.size())
            joined.back() += words[++i];
    }
    return joined;
}

void addCandidate(Completion& completion, const std::string& name, const std::string& text) {
    completion.candidates.push_back({name, text});
}

Completion verbNames(const std::vector<VerbEntry>& all, bool isTop) {
    Completion completion;
    for (const VerbEntry& verb : all)
        addCandidate(completion, verb.name, verb.summary);
    if (isTop)
        addCandidate(completion, "help", "show the list of verbs, or the help of a verb");
    return completion;
}

Completion globalOptions() {
    Completion completion;
    addCandidate(completion, "-C", "work on the project in a folder");
    addCandidate(completion, "--quiet", "no progress and no notes");
    addCandidate(completion, "--plain", "no colours");
    addCandidate(completion, "--help", "show the help");
    addCandidate(completion, "--version", "show the version");
    return completion;
}

Completion optionCandidates(const CLI::App& command) {
    Completion completion;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : namesOf(*option)) {
            // The short ones that have a long one are no help to who looks for a name.
            if (startsWith(name, "--") || option->get_lnames().empty())
                addCandidate(completion, name, option->get_description());
        }
    }
    return completion;
}

const CLI::Option* findOption(const CLI::App& command, const std::string& name) {
    for (const CLI::Option* option : command.get_options()) {
        const Words names = namesOf(*option);
        if (std::find(names.begin(), names.end(), name) != names.end())
            return option;
    }
    return nullptr;
}

/// The words behind a verb: the arguments among them, and the option that the last one
/// belongs to, null for an argument.
struct Reading {
    Words arguments;
    const CLI::Option* open = nullptr;
};

Reading readArguments(const CLI::App& command, const Words& words) {
    Reading reading;
    bool takesMore = false;
    for (const std::string& word : words) {
        if (isOptionWord(word)) {
            reading.open = findOption(command, word);
            takesMore = reading.open != nullptr && takesSeveral(*reading.open);
            if (reading.open != nullptr && !takesValue(*reading.open))
                reading.open = nullptr;
        } else if (reading.open != nullptr) {
            if (!takesMore)
                reading.open = nullptr;
        } else {
            reading.arguments.push_back(word);
        }
    }
    return reading;
}

/// The name of the argument that stands at `at` among the arguments; empty when that is one
/// too many.
std::string argumentAt(const CLI::App& command, std::size_t at) {
    for (const CLI::Option* option : command.get_options()) {
        if (!option->get_positional())
            continue;
        if (at == 0 || takesSeveral(*option))
            return option->get_name();
        --at;
    }
    return {};
}

/// The names that can follow `before`, for the value that the declaration calls `what`. The
/// parts of a list, "a,b", are completed one by one.
Completion values(const std::string& what, const NameContext& context, const std::string& typed) {
    Completion completion = namesFor(what, context);
    const std::size_t comma = typed.rfind(',');
    if (comma == std::string::npos || !isList(what))
        return completion;
    for (Completion::Candidate& candidate : completion.candidates)
        candidate.name = typed.substr(0, comma + 1) + candidate.name;
    return completion;
}

Completion completeVerb(const VerbEntry& entry, const std::string& name, const Words& words,
                        NameContext context) {
    DeclaredVerb declared(entry, name);
    const CLI::App& command = declared.command();
    const std::string& typed = words.back();
    const Reading reading = readArguments(command, {words.begin(), words.end() - 1});
    context.verb = name;
    context.arguments = reading.arguments;
    context.typed = typed;
    const std::size_t equals = typed.find('=');
    if (startsWith(typed, "--") && equals != std::string::npos) {
        const std::string option = typed.substr(0, equals);
        Completion completion = values(option, context, typed.substr(equals + 1));
        for (Completion::Candidate& candidate : completion.candidates)
            candidate.name = option + "=" + candidate.name;
        return completion;
    }
    if (startsWith(typed, "-"))
        return optionCandidates(command);
    if (reading.open != nullptr)
        return values(namesOf(*reading.open).back(), context, typed);
    return values(argumentAt(command, reading.arguments.size()), context, typed);
}

/// `words` stand behind "help".
Completion completeHelp(const Words& words) {
    if (words.size() == 1)
        return verbNames(verbs(), true);
    const VerbEntry* verb = findVerb(verbs(), words.front());
    if (words.size() > 2 || verb == nullptr || verb->group == nullptr)
        return {};
    return verbNames(verb->group(), false);
}

/// Takes options of every verb from the front, but never the last word.
void takeGlobalsButLast(Words& words, Session& session) {
    std::size_t i = 0;
    while (i + 1 < words.size() && isOptionWord(words[i])) {
        if (words[i] == "-C" && i + 2 == words.size())
            break;
        if (!takeGlobal(words, i, session))
            ++i;
    }
    words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(i));
}

Completion folders() {
    Completion completion;
    completion.kind = Completion::kFolders;
    return completion;
}

Completion completeWords(Words words) {
    Session session;
    takeGlobalsButLast(words, session);
    if (words.size() == 2 && words.front() == "-C")
        return folders();
    if (words.size() == 1)
        return startsWith(words.front(), "-") ? globalOptions() : verbNames(verbs(), true);
    if (words.front() == "help")
        return completeHelp({words.begin() + 1, words.end()});
    const VerbEntry* verb = findVerb(verbs(), words.front());
    if (verb == nullptr)
        return {};
    std::string name = words.front();
    words.erase(words.begin());
    if (verb->group != nullptr) {
        takeGlobalsButLast(words, session);
        if (words.size() == 1)
            return verbNames(verb->group(), false);
        name += " " + words.front();
        verb = findVerb(verb->group(), words.front());
        words.erase(words.begin());
    }
    NameContext context;
    context.projectDir = session.projectDir;
    return verb == nullptr ? Completion() : completeVerb(*verb, name, words, context);
}

const char* offerWord(Completion::Kind kind) {
    return kind == Completion::kFiles     ? "files"
           : kind == Completion::kFolders ? "folders"
                                          : "names";
}

}  // namespace

Completion complete(std::vector<std::string> words) {
    words = joinAtEquals(words);
    if (words.empty())
        words.emplace_back();
    Completion completion;
    try {
        completion = completeWords(words);
    } catch (const std::exception&) {
        // Whoever completes gets no candidates; the verb itself will tell what is wrong.
        return {};
    }
    auto& all = completion.candidates;
    all.erase(
        std::remove_if(all.begin(), all.end(),
                       [&words](const auto& one) { return !startsWith(one.name, words.back()); }),
        all.end());
    return completion;
}

int printCompletions(const std::vector<std::string>& words) {
    const Completion completion = complete(words);
    fmt::print("{}\n", offerWord(completion.kind));
    for (const Completion::Candidate& candidate : completion.candidates) {
        // A name that holds what a terminal takes as a command can't be typed anyway.
        if (workbench::printable(candidate.name) == candidate.name)
            fmt::print("{}\t{}\n", candidate.name, workbench::printable(candidate.text));
    }
    return kExitDone;
}

}  // namespace shell
