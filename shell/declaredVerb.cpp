// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/declaredVerb.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"

namespace shell {

const char kGlobalGroup[] = "Options of every verb";

DeclaredVerb::DeclaredVerb(const VerbEntry& entry, const std::string& name)
    : m_verb(entry.make()), m_command(std::make_unique<CLI::App>(
                                fmt::format("xp {}: {}", name, entry.summary), "xp " + name)) {
    m_verb->declare(*m_command);
    m_command->add_option("-C", m_session.projectDir, "Work on the project in this folder")
        ->type_name("DIR")
        ->group(kGlobalGroup);
    m_command->add_flag("-q,--quiet", m_session.quiet, "No progress and no notes")
        ->group(kGlobalGroup);
    m_command->add_flag("--plain", m_session.plain, "No colours, and no line that is drawn anew")
        ->group(kGlobalGroup);
    m_command->get_help_ptr()->description("Show this help")->group(kGlobalGroup);
}

DeclaredVerb::~DeclaredVerb() = default;

bool takeGlobal(const std::vector<std::string>& words, std::size_t& i, Session& session) {
    const std::string& word = words[i];
    if (word == "-q" || word == "--quiet")
        session.quiet = true;
    else if (word == "--plain")
        session.plain = true;
    else if (word == "-C" && i + 1 < words.size())
        session.projectDir = words[++i];
    else if (word == "-C")
        throw CommandError(kExitUsage, "-C needs a folder. Say for example: xp -C DIR status");
    else
        return false;
    ++i;
    return true;
}

}  // namespace shell
