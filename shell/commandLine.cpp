// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/commandLine.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <system_error>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "environment/errors/HEXAll.h"
#include "environment/installation/HUTEnv.h"
#include "shell/completion.h"
#include "shell/declaredVerb.h"
#include "shell/exitStatus.h"
#include "shell/manPages.h"
#include "shell/note.h"
#include "shell/suggestion.h"
#include "shell/terminal.h"
#include "shell/verb.h"

namespace shell {

namespace {

const char kUsage[] = "usage: xp [-C DIR] [-q] [--plain] VERB [ARGUMENTS]";

/// The command line taken apart: what stands before the verb, and the rest.
struct CommandWords {
    Session session;
    bool wantsHelp = false;
    bool wantsVersion = false;
    std::string verb;
    std::vector<std::string> rest;
};

/// @throws CommandError an option before the verb isn't known or lacks its value.
CommandWords readWords(const std::vector<std::string>& words) {
    static const std::vector<std::string> known{"--help", "--version", "--quiet", "--plain"};
    CommandWords read;
    std::size_t i = 0;
    while (i < words.size() && !words[i].empty() && words[i].front() == '-') {
        const std::string& word = words[i];
        if (takeGlobal(words, i, read.session))
            continue;
        if (word == "-h" || word == "--help")
            read.wantsHelp = true;
        else if (word == "--version")
            read.wantsVersion = true;
        else
            throw CommandError(kExitUsage, fmt::format("There is no option {}. {}", word,
                                                       hintFor(word, known, kUsage)));
        ++i;
    }
    if (i < words.size())
        read.verb = words[i++];
    read.rest.assign(words.begin() + static_cast<std::ptrdiff_t>(i), words.end());
    return read;
}

std::string verbList(const std::vector<VerbEntry>& all) {
    std::string text;
    for (const VerbEntry& verb : all)
        text += fmt::format("  {:<16}{}\n", verb.name, verb.summary);
    return text;
}

std::string topList() {
    return verbList(verbs()) +
           fmt::format("  {:<16}{}\n", "help", "show this list, or the help of a verb");
}

std::string statusList() {
    std::string text;
    for (const ExitStatusText& one : exitStatuses())
        text += fmt::format("  {:<5}{}\n", one.status, one.text);
    return text;
}

void printHelp() {
    fmt::print(
        "{}\n\n"
        "Takes a Verilog design through runs to a bitstream for iCE40 devices.\n\n"
        "Verbs:\n{}\n"
        "Options, before or behind the verb:\n"
        "  -C DIR       work on the project in DIR instead of the one here\n"
        "  -q, --quiet  no progress and no notes on standard error\n"
        "  --plain      no colours, and no line that is drawn anew; so do NO_COLOR (colours\n"
        "               alone) and TERM=dumb\n"
        "  -h, --help   show this help\n"
        "  --version    show the version\n\n"
        "Exit status:\n{}\n"
        "\"xp help VERB\" tells more, with examples.\n",
        kUsage, topList(), statusList());
}

/// The examples of a verb, one a line, moved in.
std::string examplesOf(const VerbEntry& verb) {
    std::string examples = verb.example;
    for (std::size_t at = examples.find('\n'); at != std::string::npos;
         at = examples.find('\n', at + 3))
        examples.insert(at + 1, "  ");
    return "Examples:\n  " + examples + "\n";
}

/// The one of `all` called `name`. @throws CommandError there is none; it names a near one.
/// `listing` is the command that lists them.
const VerbEntry& requireVerb(const std::vector<VerbEntry>& all, const std::string& name,
                             const std::string& listing) {
    if (const VerbEntry* verb = findVerb(all, name))
        return *verb;
    std::vector<std::string> known{"help"};
    for (const VerbEntry& verb : all)
        known.emplace_back(verb.name);
    throw CommandError(
        kExitUsage, fmt::format("There is no verb '{}'. {}", name,
                                hintFor(name, known, fmt::format("\"{}\" lists them.", listing))));
}

/// A verb and how it is called, such as "strategy copy".
struct Call {
    const VerbEntry* verb;
    std::string name;
};

bool isHelp(const std::string& word) {
    return word == "help" || word == "-h" || word == "--help";
}

void takeGlobals(std::vector<std::string>& words, Session& session) {
    std::size_t taken = 0;
    while (taken < words.size() && takeGlobal(words, taken, session)) {
    }
    words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(taken));
}

/// Takes the words that name a verb from the front of `words`: one, or two when a verb of
/// a group follows. @throws CommandError there is no such verb.
Call takeVerb(std::vector<std::string>& words, Session& session) {
    Call call{&requireVerb(verbs(), words.front(), "xp help"), words.front()};
    words.erase(words.begin());
    if (call.verb->group != nullptr)
        takeGlobals(words, session);
    if (call.verb->group == nullptr || words.empty() || isHelp(words.front()))
        return call;
    call.verb = &requireVerb(call.verb->group(), words.front(), "xp help " + call.name);
    call.name += " " + words.front();
    words.erase(words.begin());
    return call;
}

int printGroupHelp(const Call& call) {
    fmt::print("xp {0}: {1}\nUsage: xp {0} VERB [ARGUMENTS]\n\nVerbs:\n{2}\n{3}\n"
               "\"xp help {0} VERB\" tells more.\n",
               call.name, call.verb->summary, verbList(call.verb->group()), examplesOf(*call.verb));
    return kExitDone;
}

int printHelpOf(const Call& call) {
    if (call.verb->group != nullptr)
        return printGroupHelp(call);
    DeclaredVerb declared(*call.verb, call.name);
    declared.command().footer(examplesOf(*call.verb));
    fmt::print("{}", declared.command().help());
    return kExitDone;
}

/// The long options of `command`.
std::vector<std::string> longOptions(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    }
    return names;
}

/// What helps who typed an option that isn't there; empty when all are.
std::string hintForOptions(const CLI::App& command, const std::vector<std::string>& words) {
    const std::vector<std::string> known = longOptions(command);
    for (const std::string& word : words) {
        const std::string name = word.substr(0, word.find('='));
        const bool isOption = name.size() > 2 && name.compare(0, 2, "--") == 0;
        if (isOption && std::find(known.begin(), known.end(), name) == known.end())
            return hintFor(name, known, "");
    }
    return {};
}

/// @throws CommandError the words don't fit.
void parse(CLI::App& command, const Call& call, std::vector<std::string> words) {
    std::reverse(words.begin(), words.end());
    try {
        command.parse(words);
    } catch (const CLI::CallForHelp&) {
        return;
    } catch (const CLI::ParseError& error) {
        const std::string hint = hintForOptions(command, words);
        throw CommandError(kExitUsage,
                           fmt::format("{}: {}.{} \"xp help {}\" tells its arguments.", call.name,
                                       error.what(), hint.empty() ? "" : " " + hint, call.name));
    }
}

int runVerb(const CommandWords& words) {
    std::vector<std::string> rest = words.rest;
    rest.insert(rest.begin(), words.verb);
    Session session = words.session;
    const Call call = takeVerb(rest, session);
    if (call.verb->group != nullptr) {
        if (!rest.empty())
            return printGroupHelp(call);
        throw CommandError(kExitUsage,
                           fmt::format("Say what to do: xp {} VERB [ARGUMENTS].\n\nVerbs:\n{}",
                                       call.name, verbList(call.verb->group())));
    }
    DeclaredVerb declared(*call.verb, call.name);
    declared.session() = session;
    parse(declared.command(), call, rest);
    Terminal::setPlain(declared.session().plain);
    setQuiet(declared.session().quiet);
    return declared.command().get_help_ptr()->count() > 0 ? printHelpOf(call)
                                                          : declared.verb().run(declared.session());
}

int printHelpOf(std::vector<std::string> words) {
    if (words.front() == "help") {
        printHelp();
        return kExitDone;
    }
    Session session;
    return printHelpOf(takeVerb(words, session));
}

int dispatch(const std::vector<std::string>& all) {
    // Of the shells' scripts and of the build: no verbs for people.
    if (!all.empty() && all.front() == kCompleteWord)
        return printCompletions({all.begin() + 1, all.end()});
    if (all.size() == 2 && all.front() == kManPagesWord)
        return writeManPages(all.back());
    const CommandWords words = readWords(all);
    if (words.wantsVersion) {
        fmt::print("xp {}\n", HUTEnv::getProductMajorMinorVersion());
        return kExitDone;
    }
    if (words.wantsHelp || (words.verb == "help" && words.rest.empty())) {
        printHelp();
        return kExitDone;
    }
    if (words.verb == "help")
        return printHelpOf(words.rest);
    if (words.verb.empty())
        throw CommandError(kExitUsage,
                           fmt::format("Say what to do. {}\n\nVerbs:\n{}", kUsage, topList()));
    return runVerb(words);
}

/// Who reads standard output went away; nothing is wrong with that.
constexpr int kReaderGone = 128 + SIGPIPE;

/// How to end when standard output could not be written, for the reason `error`.
int tellUnwritten(int error) {
    if (error == EPIPE)
        return kReaderGone;
    tellError("Standard output can't be written. Make room where it goes, or send it somewhere "
              "else.");
    return kExitRefused;
}

/// `status`, unless what went to standard output was lost.
int writtenStatus(int status) {
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    return tellUnwritten(errno);
}

}  // namespace

int runCommandLine(const std::vector<std::string>& words) {
    try {
        return writtenStatus(dispatch(words));
    } catch (const CommandError& error) {
        tellError(error.what());
        return error.status();
    } catch (const HEXAll& error) {
        tellError(error.what());
        return kExitRefused;
    } catch (const std::system_error& error) {
        if (std::ferror(stdout) != 0)
            return tellUnwritten(error.code().value());
        tellError(fmt::format("{}. This should not happen; please report it.", error.what()));
        return kExitRefused;
    } catch (const std::exception& error) {
        tellError(fmt::format("{}. This should not happen; please report it.", error.what()));
        return kExitRefused;
    }
}

}  // namespace shell
