// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclEnsemble.h"

#include <algorithm>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/suggestion.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclSession.h"
#include "shell/tcl/tclValue.h"

namespace shell::tcl {

namespace {

/// ". Did you mean 'create'?", or ". It is one of create, list."
std::string meantOrKnown(const std::string& typed, const std::vector<std::string>& known) {
    const std::string meant = suggestionFor(typed, known);
    if (!meant.empty())
        return fmt::format(". Did you mean '{}'?", meant);
    return known.empty() ? "." : fmt::format(". It is one of {}.", fmt::join(known, ", "));
}

std::vector<std::string> subcommandNames(const Ensemble& ensemble) {
    std::vector<std::string> names;
    for (const Subcommand& subcommand : ensemble.subcommands)
        names.emplace_back(subcommand.name);
    names.emplace_back("help");
    return names;
}

std::vector<std::string> optionNames(const Subcommand& subcommand) {
    std::vector<std::string> names;
    for (const OptionRule& option : subcommand.options)
        names.emplace_back(option.name);
    return names;
}

std::vector<std::string> ensembleNames() {
    std::vector<std::string> names;
    for (const Ensemble* ensemble : ensembles())
        names.emplace_back(ensemble->name);
    return names;
}

std::string subcommandHelp(const Ensemble& ensemble, const Subcommand& subcommand) {
    std::string text = fmt::format("{}\n\n{}\n", usageOf(ensemble, subcommand), subcommand.summary);
    for (const OptionRule& option : subcommand.options)
        text += fmt::format("  {:<24}{}\n", fmt::format("{} {}", option.name, option.value),
                            option.help);
    return text;
}

std::string ensembleHelp(const Ensemble& ensemble) {
    std::string text = fmt::format("{}: {}\n\n", ensemble.name, ensemble.summary);
    for (const Subcommand& subcommand : ensemble.subcommands)
        text += fmt::format("  {:<14}{}\n", subcommand.name, subcommand.summary);
    return text + fmt::format("\n\"{} help SUBCOMMAND\" tells more.\n", ensemble.name);
}

std::string wholeHelp() {
    std::string text = "Commands:\n";
    for (const Ensemble* ensemble : ensembles())
        text += fmt::format("  {:<12}{}\n", ensemble->name, ensemble->summary);
    return text + "\n\"ENSEMBLE help\" lists the subcommands of one.\n";
}

}  // namespace

Call::Call(TclSession& session, const Ensemble& ensemble, const Subcommand& subcommand,
           const std::vector<Tcl_Obj*>& words)
    : m_session(session), m_ensemble(ensemble), m_subcommand(subcommand) {
    take_(words);
    const auto found = static_cast<int>(m_words.size());
    if (found < subcommand.least || (subcommand.most >= 0 && found > subcommand.most))
        failUsage();
    if (subcommand.pairsFrom > 0 && found > subcommand.pairsFrom &&
        (found - subcommand.pairsFrom) % 2 != 0)
        failUsage();
}

Tcl_Interp* Call::interp() const {
    return m_session.interp();
}

std::vector<Tcl_Obj*> Call::wordsFrom(std::size_t first) const {
    if (first >= m_words.size())
        return {};
    return {m_words.begin() + static_cast<std::ptrdiff_t>(first), m_words.end()};
}

std::string Call::word(std::size_t place) const {
    return textOf(m_words.at(place));
}

std::vector<std::string> Call::textsFrom(std::size_t first) const {
    std::vector<std::string> texts;
    for (Tcl_Obj* word : wordsFrom(first))
        texts.push_back(textOf(word));
    return texts;
}

bool Call::has(const char* option) const {
    return value(option) != nullptr;
}

std::string Call::text(const char* option, const std::string& otherwise) const {
    Tcl_Obj* found = value(option);
    return found == nullptr ? otherwise : textOf(found);
}

bool Call::flag(const char* option, bool otherwise) const {
    Tcl_Obj* found = value(option);
    return found == nullptr ? otherwise : booleanOf(found, option);
}

long Call::integer(const char* option, long least, long most, long otherwise) const {
    Tcl_Obj* found = value(option);
    return found == nullptr ? otherwise : integerOf(found, option, least, most);
}

std::vector<std::string> Call::list(const char* option) const {
    Tcl_Obj* found = value(option);
    return found == nullptr ? std::vector<std::string>() : listOf(found, option);
}

std::vector<std::pair<std::string, std::string>> Call::dict(const char* option) const {
    Tcl_Obj* found = value(option);
    return found == nullptr ? std::vector<std::pair<std::string, std::string>>()
                            : dictOf(found, option);
}

std::string Call::required(const char* option) const {
    if (!has(option))
        fail(Code::kOptionMissing, {option},
             fmt::format("The option {} is missing: should be \"{}\".", option,
                         usageOf(m_ensemble, m_subcommand)));
    return text(option);
}

void Call::failUsage() const {
    fail(Code::kCommandArguments, {m_ensemble.name, m_subcommand.name},
         fmt::format("wrong # args: should be \"{}\"", usageOf(m_ensemble, m_subcommand)));
}

void Call::take_(const std::vector<Tcl_Obj*>& words) {
    bool takesOptions = true;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const int place = static_cast<int>(m_words.size());
        const bool isValue = m_subcommand.pairsFrom > 0 && place > m_subcommand.pairsFrom &&
                             (place - m_subcommand.pairsFrom) % 2 != 0;
        // A handle stays one: only what looks like an option is read as text here.
        const std::string word = takesOptions && !isValue ? textOf(words[i]) : std::string();
        if (word == "--") {
            takesOptions = false;
        } else if (isOption_(word)) {
            const OptionRule& rule = rule_(word);
            if (i + 1 == words.size())
                fail(Code::kOptionMissing, {word},
                     fmt::format("The option {} needs a value: {} {}.", word, word, rule.value));
            if (!m_options.emplace(word, words[++i]).second)
                fail(Code::kOptionTwice, {word}, fmt::format("The option {} stands twice.", word));
        } else {
            m_words.push_back(words[i]);
        }
    }
}

bool Call::isOption_(const std::string& word) const {
    if (word.size() < 2 || word[0] != '-')
        return false;
    return (word[1] >= 'a' && word[1] <= 'z') || (word[1] >= 'A' && word[1] <= 'Z');
}

const OptionRule& Call::rule_(const std::string& word) const {
    const auto& options = m_subcommand.options;
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&word](const auto& option) { return word == option.name; });
    if (found == options.end())
        fail(Code::kOptionUnknown, {word},
             fmt::format("'{} {}' has no option {}{}", m_ensemble.name, m_subcommand.name, word,
                         meantOrKnown(word, optionNames(m_subcommand))));
    return *found;
}

Tcl_Obj* Call::value(const char* option) const {
    const auto found = m_options.find(option);
    return found == m_options.end() ? nullptr : found->second;
}

const std::vector<const Ensemble*>& ensembles() {
    static const std::vector<const Ensemble*> all{&projectEnsemble(), &flowEnsemble(),
                                                  &runEnsemble(),     &strategyEnsemble(),
                                                  &reportEnsemble(),  &launchEnsemble()};
    return all;
}

const Ensemble* findEnsemble(const std::string& name) {
    for (const Ensemble* ensemble : ensembles()) {
        if (name == ensemble->name)
            return ensemble;
    }
    return nullptr;
}

const Subcommand* findSubcommand(const Ensemble& ensemble, const std::string& name) {
    for (const Subcommand& subcommand : ensemble.subcommands) {
        if (name == subcommand.name)
            return &subcommand;
    }
    return nullptr;
}

void failSubcommand(const Ensemble& ensemble, const std::string& name) {
    fail(Code::kCommandUnknown, {ensemble.name, name},
         fmt::format("There is no command '{} {}'{}", ensemble.name, name,
                     meantOrKnown(name, subcommandNames(ensemble))));
}

std::string usageOf(const Ensemble& ensemble, const Subcommand& subcommand) {
    std::string text = fmt::format("{} {}", ensemble.name, subcommand.name);
    if (*subcommand.parameters != '\0')
        text += fmt::format(" {}", subcommand.parameters);
    for (const OptionRule& option : subcommand.options)
        text += fmt::format(" ?{} {}?", option.name, option.value);
    return text;
}

std::string helpText(const std::vector<std::string>& words) {
    if (words.empty())
        return wholeHelp();
    const Ensemble* ensemble = findEnsemble(words[0]);
    if (ensemble == nullptr)
        fail(Code::kCommandUnknown, {"help", words[0]},
             fmt::format("There is no command '{}'{}", words[0],
                         meantOrKnown(words[0], ensembleNames())));
    if (words.size() == 1)
        return ensembleHelp(*ensemble);
    const Subcommand* subcommand = findSubcommand(*ensemble, words[1]);
    if (subcommand == nullptr)
        failSubcommand(*ensemble, words[1]);
    return subcommandHelp(*ensemble, *subcommand);
}

std::vector<std::string> completions(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    std::string last;
    if (!line.empty() && line.back() != ' ' && !words.empty()) {
        last = words.back();
        words.pop_back();
    }
    std::vector<std::string> known;
    if (words.empty()) {
        known = ensembleNames();
    } else if (const Ensemble* ensemble = findEnsemble(words[0])) {
        if (words.size() == 1)
            known = subcommandNames(*ensemble);
        else if (const Subcommand* subcommand = findSubcommand(*ensemble, words[1]))
            known = optionNames(*subcommand);
    }
    std::vector<std::string> found;
    std::copy_if(known.begin(), known.end(), std::back_inserter(found),
                 [&last](const std::string& word) { return word.rfind(last, 0) == 0; });
    return found;
}

}  // namespace shell::tcl
