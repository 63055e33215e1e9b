// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclAdvice.h"

#include <map>
#include <regex>
#include <set>

namespace shell::tcl {

namespace {

/// The command of each verb, where there is one.
const std::map<std::string, std::string>& commands() {
    static const std::map<std::string, std::string> all{
        {"new", "project new"},       {"add", "project add"},
        {"create", "run create"},     {"sweep", "run sweep"},
        {"set", "run set"},           {"apply", "run apply"},
        {"launch", "run launch"},     {"plan", "launch plan"},
        {"wait", "run wait"},         {"kill", "run kill"},
        {"reset", "run reset"},       {"rm", "run delete"},
        {"undo", "run undo"},         {"history", "run history"},
        {"ls", "run list"},           {"status", "run status"},
        {"log", "run log"},           {"show", "run info"},
        {"why", "run why"},           {"explain", "run explain"},
        {"strategy", "strategy"},     {"reportstrategy", "strategy"},
        {"compare", "run compare"},   {"diff", "run diff"},
        {"best", "run best"},         {"html", "project html"},
        {"serve", "project serve"},   {"report", "report"},
        {"doctor", "project doctor"}, {"bug", "run bug"},
    };
    return all;
}

/// `name` as it is written here: what is a flag for xp takes a value.
std::string optionText(const std::string& name) {
    static const std::set<std::string> flags{"dependants", "families", "force", "kill"};
    return "-" + name + (flags.count(name) != 0 ? " true" : "");
}

}  // namespace

std::string tclAdvice(const std::string& text) {
    static const std::regex words("\\bxp ([a-z]+)\\b|(^|[ \"'(])--([a-z]+)\\b");
    std::string advice;
    std::sregex_iterator match(text.begin(), text.end(), words);
    std::string rest = text;
    bool isTcl = true;
    for (; match != std::sregex_iterator(); ++match) {
        advice += match->prefix();
        rest = match->suffix();
        const std::string verb = (*match)[1];
        if (verb.empty()) {
            advice += isTcl ? (*match)[2].str() + optionText((*match)[3]) : match->str();
            continue;
        }
        const auto command = commands().find(verb);
        isTcl = command != commands().end();
        advice += isTcl ? command->second : match->str();
    }
    return advice + rest;
}

}  // namespace shell::tcl
