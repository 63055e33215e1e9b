// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace shell {

/// What holds for every verb.
struct Session {
    /// Where the project is looked for: here or in a folder above.
    std::string projectDir = ".";
    /// No colours and no line that is drawn anew, terminal or not. Terminal knows it too.
    bool plain = false;
    /// Neither progress nor notes on standard error. note() knows it too.
    bool quiet = false;
};

/// One verb of xp: its options, and what it does.
class Verb {
public:
    Verb() = default;
    virtual ~Verb();

    Verb(const Verb&) = delete;
    Verb& operator=(const Verb&) = delete;

    /// Hook: adds options and arguments to `command`, with this object's members as
    /// their places. Called once, before run().
    virtual void declare(CLI::App& command) = 0;

    /// Hook: does the work and gives the exit status. Data goes to standard output,
    /// messages to standard error. Throws CommandError or an exception of the library;
    /// the caller words it.
    virtual int run(const Session& session) = 0;
};

/// A verb as it is listed.
struct VerbEntry {
    const char* name;
    /// What it does, as one line of the list.
    const char* summary;
    /// Command lines that show its use, one a line.
    const char* example;
    std::unique_ptr<Verb> (*make)();
    /// The verbs behind this one, such as "copy" behind "strategy"; null for a verb that
    /// stands alone. A verb with others behind it has no make().
    const std::vector<VerbEntry>& (*group)() = nullptr;
};

/// Every verb in the order of the help, "help" excepted.
const std::vector<VerbEntry>& verbs();

/// The one of `verbs` that is called `name`, or null.
const VerbEntry* findVerb(const std::vector<VerbEntry>& verbs, const std::string& name);

/// The verbs behind "strategy" and "reportstrategy".
const std::vector<VerbEntry>& strategyVerbs();
const std::vector<VerbEntry>& reportStrategyVerbs();

/// The verbs behind "report".
const std::vector<VerbEntry>& reportVerbs();

/// Makes a verb of the class V, for a table of verbs.
template <class V> std::unique_ptr<Verb> makeVerb() {
    return std::make_unique<V>();
}

std::unique_ptr<Verb> makeNewVerb();
std::unique_ptr<Verb> makeAddVerb();
std::unique_ptr<Verb> makeCreateVerb();
std::unique_ptr<Verb> makeSweepVerb();
std::unique_ptr<Verb> makeSetVerb();
std::unique_ptr<Verb> makeApplyVerb();
std::unique_ptr<Verb> makeLaunchVerb();
std::unique_ptr<Verb> makeWaitVerb();
std::unique_ptr<Verb> makeWatchVerb();
std::unique_ptr<Verb> makeTopVerb();
std::unique_ptr<Verb> makeKillVerb();
std::unique_ptr<Verb> makeResetVerb();
std::unique_ptr<Verb> makeRmVerb();
std::unique_ptr<Verb> makeUndoVerb();
std::unique_ptr<Verb> makeHistoryVerb();
std::unique_ptr<Verb> makeListVerb();
std::unique_ptr<Verb> makeStatusVerb();
std::unique_ptr<Verb> makeLogVerb();
std::unique_ptr<Verb> makeShowVerb();
std::unique_ptr<Verb> makeCompareVerb();
std::unique_ptr<Verb> makeBestVerb();
std::unique_ptr<Verb> makeDiffVerb();
std::unique_ptr<Verb> makeHtmlVerb();
std::unique_ptr<Verb> makeServeVerb();
std::unique_ptr<Verb> makeWhyVerb();
std::unique_ptr<Verb> makePlanVerb();
std::unique_ptr<Verb> makeTclVerb();
std::unique_ptr<Verb> makeExplainVerb();
std::unique_ptr<Verb> makeDoctorVerb();
std::unique_ptr<Verb> makeBugVerb();
std::unique_ptr<Verb> makeCompletionVerb();

}  // namespace shell
