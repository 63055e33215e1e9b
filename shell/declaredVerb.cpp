// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/declaredVerb.h"

#include <map>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"

namespace shell {

const char kGlobalGroup[] = "Options of every verb";

namespace {

/// What a value is called in help and manual, by the name of its option.
const std::map<std::string, std::string>& valueWords() {
    static const std::map<std::string, std::string> words{{"abandon", "RULE"},
                                                          {"as", "NAME"},
                                                          {"by", "RULE"},
                                                          {"constraints", "FILE"},
                                                          {"define", "MACRO"},
                                                          {"description", "TEXT"},
                                                          {"device", "NAME"},
                                                          {"filter", "WORD"},
                                                          {"flow", "FLOW"},
                                                          {"freq", "MHZ"},
                                                          {"from", "STEP"},
                                                          {"goal", "GOALS"},
                                                          {"host", "HOST"},
                                                          {"host-command", "COMMAND"},
                                                          {"include", "DIR"},
                                                          {"interval", "SECONDS"},
                                                          {"jobs", "N"},
                                                          {"keep", "N"},
                                                          {"keep-mb", "N"},
                                                          {"level", "PERCENT"},
                                                          {"limit", "N"},
                                                          {"lines", "N"},
                                                          {"lsf", "COMMAND"},
                                                          {"margin", "PERCENT"},
                                                          {"name", "NAME"},
                                                          {"output", "FILE"},
                                                          {"package", "NAME"},
                                                          {"port", "PORT"},
                                                          {"reports", "STRATEGY"},
                                                          {"require", "CONDITION"},
                                                          {"run-scripts", "FILE"},
                                                          {"seeds", "SEEDS"},
                                                          {"set", "OPTION=VALUE"},
                                                          {"sge", "COMMAND"},
                                                          {"since", "TIME"},
                                                          {"sort", "COLUMN"},
                                                          {"source", "FILE"},
                                                          {"status", "STATUS"},
                                                          {"strategies", "STRATEGIES"},
                                                          {"strategy", "STRATEGY"},
                                                          {"synth", "RUN"},
                                                          {"synth-strategies", "STRATEGIES"},
                                                          {"then", "RULE"},
                                                          {"to", "STEP"},
                                                          {"top", "MODULE"},
                                                          {"version", "VERSION"},
                                                          {"wait", "SECONDS"},
                                                          {"family", "NAME"}};
    return words;
}

/// Names the values of `command`, which its verb has left as the types that they are read to.
void nameValues(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) {
        if (option->get_positional()) {
            option->type_name("");
            continue;
        }
        const auto& names = option->get_lnames();
        const auto word = names.empty() ? valueWords().end() : valueWords().find(names.front());
        if (word != valueWords().end() && option->get_items_expected_max() > 0)
            option->type_name(word->second);
    }
}

}  // namespace

DeclaredVerb::DeclaredVerb(const VerbEntry& entry, const std::string& name)
    : m_verb(entry.make()), m_command(std::make_unique<CLI::App>(
                                fmt::format("xp {}: {}", name, entry.summary), "xp " + name)) {
    m_verb->declare(*m_command);
    nameValues(*m_command);
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
