// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "shell/verb.h"

namespace CLI {
class App;
}

namespace shell {

/// A verb whose options are declared: to be run, or to tell of them. Help, completion and
/// the manual pages ask this, so that none of them knows another option than the verb.
class DeclaredVerb {
public:
    /// `name` is how it is called behind "xp", such as "strategy copy". `entry` stands alone.
    DeclaredVerb(const VerbEntry& entry, const std::string& name);
    ~DeclaredVerb();

    DeclaredVerb(const DeclaredVerb&) = delete;
    DeclaredVerb& operator=(const DeclaredVerb&) = delete;

    CLI::App& command() { return *m_command; }
    Verb& verb() { return *m_verb; }
    /// Where the options of every verb go.
    Session& session() { return m_session; }

private:
    Session m_session;
    std::unique_ptr<Verb> m_verb;
    std::unique_ptr<CLI::App> m_command;
};

/// Takes the option at `i` of `words` that holds for every verb, with its value; whether it
/// is one. @throws CommandError it lacks its value.
bool takeGlobal(const std::vector<std::string>& words, std::size_t& i, Session& session);

/// The group of those options in help and manual.
extern const char kGlobalGroup[];

}  // namespace shell
