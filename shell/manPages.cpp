// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/manPages.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "shell/declaredVerb.h"
#include "shell/exitStatus.h"
#include "shell/optionText.h"
#include "shell/verb.h"

namespace shell {

const char kManPagesWord[] = "man-pages";

namespace {

/// `text` so that the formatter shows it as it stands: no escape, no request, and signs
/// that can be copied back to a command line.
std::string roff(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '\\':
            escaped += "\\e";
            break;
        case '-':
            escaped += "\\-";
            break;
        case '\'':
            escaped += "\\(aq";
            break;
        case '"':
            escaped += "\\(dq";
            break;
        case '`':
            escaped += "\\(ga";
            break;
        case '^':
            escaped += "\\(ha";
            break;
        case '~':
            escaped += "\\(ti";
            break;
        default:
            escaped += c;
        }
    }
    return !escaped.empty() && escaped.front() == '.' ? "\\&" + escaped : escaped;
}

std::string bold(const std::string& text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

/// "strategy copy" as the name of its page.
std::string pageName(const std::string& verb) {
    std::string name = verb.empty() ? "xp" : "xp-" + verb;
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string reference(const std::string& verb) {
    return bold(pageName(verb)) + "(1)";
}

std::string head(const std::string& page, const std::string& summary) {
    const std::string product = "Xperiment " + HUTEnv::getProductMajorMinorVersion();
    return fmt::format(".TH {} 1 \"\" \"{}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n",
                       roff(upper(page)), roff(product), roff(page), roff(summary));
}

std::string section(const std::string& title) {
    return ".SH " + title + "\n";
}

/// An entry of a list: what it is called, already for the formatter, and what it says.
std::string item(const std::string& name, const std::string& text) {
    return ".TP\n" + name + "\n" + roff(text) + "\n";
}

std::string examples(const VerbEntry& entry) {
    std::string text = section("EXAMPLES") + ".nf\n";
    std::istringstream lines(entry.example);
    for (std::string line; std::getline(lines, line);)
        text += roff(line) + "\n";
    return text + ".fi\n";
}

std::string statuses() {
    std::string text = section("EXIT STATUS");
    for (const ExitStatusText& one : exitStatuses())
        text += item(bold(std::to_string(one.status)), one.text);
    return text;
}

std::string seeAlso(const std::vector<std::string>& verbs) {
    std::string text = section("SEE ALSO");
    for (std::size_t i = 0; i < verbs.size(); ++i)
        text += reference(verbs[i]) + (i + 1 < verbs.size() ? ",\n" : "\n");
    return text;
}

/// An argument, such as "[run...]".
std::string argumentForm(const CLI::Option& option) {
    std::string form = italic(upper(option.get_name()));
    if (takesSeveral(option))
        form += "...";
    return option.get_required() ? form : "[" + form + "]";
}

/// An option with its value, such as "-j, --jobs N".
std::string optionForm(const CLI::Option& option) {
    std::string form;
    for (const std::string& name : namesOf(option))
        form += (form.empty() ? "" : ", ") + bold(name);
    const std::string value = valueWord(option);
    return value.empty() ? form : form + " " + italic(value);
}

std::string describeOption(const CLI::Option& option) {
    std::string text = option.get_description();
    if (!option.get_default_str().empty())
        text += " (" + option.get_default_str() + " if unsaid)";
    if (option.get_required() && !option.get_positional())
        text += " (required)";
    return text + ".";
}

std::string optionSections(const CLI::App& command) {
    std::string arguments;
    std::string own;
    std::string global;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional())
            arguments += item(italic(upper(option->get_name())), describeOption(*option));
        else
            (option->get_group() == kGlobalGroup ? global : own) +=
                item(optionForm(*option), describeOption(*option));
    }
    std::string text;
    if (!arguments.empty())
        text += section("ARGUMENTS") + arguments;
    if (!own.empty())
        text += section("OPTIONS") + own;
    return text + section("OPTIONS OF EVERY VERB") + global;
}

std::string synopsis(const CLI::App& command, const std::string& name) {
    std::string text = section("SYNOPSIS") + bold("xp " + name) + " [" + italic("OPTIONS") + "]";
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional())
            text += " " + argumentForm(*option);
    }
    return text + "\n";
}

/// `before` is the group's name and a blank, or empty.
std::string verbPage(const VerbEntry& entry, const std::string& before) {
    const std::string name = before + entry.name;
    DeclaredVerb declared(entry, name);
    const CLI::App& command = declared.command();
    std::vector<std::string> others{""};
    if (!before.empty())
        others.push_back(before.substr(0, before.size() - 1));
    return head(pageName(name), entry.summary) + synopsis(command, name) + optionSections(command) +
           statuses() + examples(entry) + seeAlso(others);
}

std::string verbItems(const std::vector<VerbEntry>& verbs, const std::string& before) {
    std::string text;
    for (const VerbEntry& verb : verbs)
        text += item(reference(before + verb.name), verb.summary);
    return text;
}

std::string groupPage(const VerbEntry& entry) {
    return head(pageName(entry.name), entry.summary) + section("SYNOPSIS") +
           bold(std::string("xp ") + entry.name) + " " + italic("VERB") + " [" +
           italic("ARGUMENTS") + "]\n" + section("VERBS") +
           verbItems(entry.group(), std::string(entry.name) + " ") + statuses() + examples(entry) +
           seeAlso({""});
}

std::string environment() {
    return section("ENVIRONMENT") +
           item(bold("NO_COLOR"), "No colours, when it is set and isn't empty.") +
           item(bold("COLUMNS"), "How wide lines may be; the terminal tells otherwise.") +
           item(bold("TERM"), "With dumb no escape byte is written.") +
           item(bold("PAGER"), "Shows reports on a terminal.");
}

std::string mainPage() {
    return head("xp", "the workbench for designs on iCE40 devices") + section("SYNOPSIS") +
           bold("xp") + " [" + bold("-C") + " " + italic("DIR") + "] [" + bold("-q") + "] [" +
           bold("--plain") + "] " + italic("VERB") + " [" + italic("ARGUMENTS") + "]\n" +
           section("DESCRIPTION") +
           "Takes a Verilog design through runs to a bitstream. A run is one pass of a flow, "
           "synthesis or implementation, in a folder of its own.\n"
           "Data goes to standard output, messages and progress to standard error.\n" +
           section("VERBS") + verbItems(verbs(), "") + section("OPTIONS") +
           item(bold("-C") + " " + italic("DIR"), "Work on the project in this folder.") +
           item(bold("-q") + ", " + bold("--quiet"),
                "No progress and no notes on standard error; errors stay.") +
           item(bold("--plain"), "No colours, and no line that is drawn anew.") +
           item(bold("-h") + ", " + bold("--help"), "Show the list of verbs.") +
           item(bold("--version"), "Show the version.") + statuses() + environment();
}

}  // namespace

std::map<std::string, std::string> manPages() {
    std::map<std::string, std::string> pages{{"xp.1", mainPage()}};
    for (const VerbEntry& verb : verbs()) {
        const std::string name = verb.name;
        pages[pageName(name) + ".1"] = verb.group == nullptr ? verbPage(verb, "") : groupPage(verb);
        if (verb.group == nullptr)
            continue;
        for (const VerbEntry& inner : verb.group())
            pages[pageName(name + " " + inner.name) + ".1"] = verbPage(inner, name + " ");
    }
    return pages;
}

int writeManPages(const std::string& dir) {
    HUTFile(dir).mkDirRecursive();
    for (const auto& [name, text] : manPages()) {
        std::string path = dir;
        path += "/";
        path += name;
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file << text;
        if (!file.flush())
            throw CommandError(kExitRefused,
                               fmt::format("{} can't be written: {}. Check the folder's rights.",
                                           path, std::strerror(errno)));
    }
    return kExitDone;
}

}  // namespace shell
