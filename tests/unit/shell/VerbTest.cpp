// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/verb.h"

#include <memory>
#include <set>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <gtest/gtest.h>

namespace {

/// Every verb with what stands before its name: "xp " or "xp strategy ".
template <class Look> void forEachVerb(Look look) {
    for (const shell::VerbEntry& verb : shell::verbs()) {
        look(verb, "xp ");
        if (verb.group == nullptr)
            continue;
        for (const shell::VerbEntry& inner : verb.group())
            look(inner, "xp " + std::string(verb.name) + " ");
    }
}

TEST(VerbTest, EachIsListedOnceWithASummaryAndAnExample) {
    std::set<std::string> names;
    forEachVerb([&names](const shell::VerbEntry& verb, const std::string& before) {
        const std::string name = before + verb.name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_FALSE(std::string(verb.summary).empty()) << name;
        EXPECT_NE(std::string(verb.example).find(name), std::string::npos) << name;
    });
}

TEST(VerbTest, EachStandsAloneOrHasOthersBehindIt) {
    forEachVerb([](const shell::VerbEntry& verb, const std::string&) {
        EXPECT_NE(verb.make == nullptr, verb.group == nullptr) << verb.name;
    });
}

TEST(VerbTest, EachDescribesEveryArgument) {
    forEachVerb([](const shell::VerbEntry& verb, const std::string& before) {
        if (verb.make == nullptr)
            return;
        CLI::App command;
        const std::unique_ptr<shell::Verb> object = verb.make();
        object->declare(command);
        for (const CLI::Option* option : command.get_options())
            EXPECT_FALSE(option->get_description().empty())
                << before << verb.name << " " << option->get_name();
    });
}

TEST(VerbTest, IsFoundByItsWholeName) {
    ASSERT_NE(shell::findVerb(shell::verbs(), "status"), nullptr);
    EXPECT_STREQ(shell::findVerb(shell::verbs(), "status")->name, "status");
    EXPECT_EQ(shell::findVerb(shell::verbs(), "stat"), nullptr);
    EXPECT_EQ(shell::findVerb(shell::verbs(), ""), nullptr);
}

}  // namespace
