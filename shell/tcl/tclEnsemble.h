// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

struct Tcl_Interp;
struct Tcl_Obj;

/// The ensembles of commands, as tables. One table is behind what a subcommand takes, its
/// usage message, its help and the completion at the prompt.
namespace shell::tcl {

class Call;
class TclSession;

/// An "-option VALUE" of a subcommand.
struct OptionRule {
    const char* name;
    const char* value;
    const char* help;
};

struct Subcommand {
    const char* name;
    /// The words behind it, as its usage shows them.
    const char* parameters;
    const char* summary;
    /// How many words there may be, options apart; -1 for any number.
    int least;
    int most;
    std::vector<OptionRule> options;
    /// Does the work and gives the result, which has no reference yet. Throws what
    /// setError() knows.
    Tcl_Obj* (*work)(Call& call);
    /// The words from this one on are names and values in turn: a value may begin with a
    /// dash. 0 for none.
    int pairsFrom = 0;
};

struct Ensemble {
    const char* name;
    const char* summary;
    std::vector<Subcommand> subcommands;
};

/// One call of a subcommand: its words, taken apart. Good for the call alone.
class Call {
public:
    /// Takes `words`, those behind the subcommand, apart.
    /// @throws HTCErrors::error an option isn't known, stands twice or lacks its value, or
    /// there are too few or too many words.
    Call(TclSession& session, const Ensemble& ensemble, const Subcommand& subcommand,
         const std::vector<Tcl_Obj*>& words);

    TclSession& session() const { return m_session; }
    Tcl_Interp* interp() const;

    const std::vector<Tcl_Obj*>& words() const { return m_words; }
    std::size_t count() const { return m_words.size(); }
    /// The words from `first` on.
    std::vector<Tcl_Obj*> wordsFrom(std::size_t first) const;
    std::string word(std::size_t place) const;
    std::vector<std::string> textsFrom(std::size_t first) const;

    bool has(const char* option) const;
    /// The value of an option as it was given, a handle perhaps; null when it isn't there.
    Tcl_Obj* value(const char* option) const;
    /// The value of an option, or `otherwise` when it isn't there.
    std::string text(const char* option, const std::string& otherwise = "") const;
    bool flag(const char* option, bool otherwise = false) const;
    long integer(const char* option, long least, long most, long otherwise) const;
    std::vector<std::string> list(const char* option) const;
    std::vector<std::pair<std::string, std::string>> dict(const char* option) const;
    /// @throws HTCErrors::error it isn't there.
    std::string required(const char* option) const;

    /// @throws HTCErrors::error always: the words don't fit.
    [[noreturn]] void failUsage() const;

private:
    void take_(const std::vector<Tcl_Obj*>& words);
    bool isOption_(const std::string& word) const;
    const OptionRule& rule_(const std::string& word) const;

    TclSession& m_session;
    const Ensemble& m_ensemble;
    const Subcommand& m_subcommand;
    std::vector<Tcl_Obj*> m_words;
    std::map<std::string, Tcl_Obj*> m_options;
};

/// All of them, in the order of the help.
const std::vector<const Ensemble*>& ensembles();

const Ensemble& projectEnsemble();
const Ensemble& flowEnsemble();
const Ensemble& runEnsemble();
const Ensemble& strategyEnsemble();
const Ensemble& reportEnsemble();
const Ensemble& launchEnsemble();

/// The one called so, or null.
const Ensemble* findEnsemble(const std::string& name);
const Subcommand* findSubcommand(const Ensemble& ensemble, const std::string& name);

/// @throws HTCErrors::error always: there is no such subcommand; it names one that may be meant.
[[noreturn]] void failSubcommand(const Ensemble& ensemble, const std::string& name);

/// "run wait ?RUN ...? ?-timeout MS?"
std::string usageOf(const Ensemble& ensemble, const Subcommand& subcommand);

/// The help of all, of an ensemble, or of one of its subcommands.
/// @throws HTCErrors::error there is no such one.
std::string helpText(const std::vector<std::string>& words);

/// What may stand in the place of the last word of `line`, a command that is being typed:
/// ensembles, subcommands and options; nothing for other words.
std::vector<std::string> completions(const std::string& line);

}  // namespace shell::tcl
