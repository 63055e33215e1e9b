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

TEST(VerbTest, EachIsListedOnceWithASummaryAndAnExample) {
    std::set<std::string> names;
    for (const shell::VerbEntry& verb : shell::verbs()) {
        EXPECT_TRUE(names.insert(verb.name).second) << verb.name;
        EXPECT_FALSE(std::string(verb.summary).empty()) << verb.name;
        EXPECT_EQ(std::string(verb.example).find("xp " + std::string(verb.name)), 0U) << verb.name;
    }
}

TEST(VerbTest, EachDescribesEveryArgument) {
    for (const shell::VerbEntry& verb : shell::verbs()) {
        CLI::App command;
        const std::unique_ptr<shell::Verb> object = verb.make();
        object->declare(command);
        for (const CLI::Option* option : command.get_options())
            EXPECT_FALSE(option->get_description().empty())
                << verb.name << " " << option->get_name();
    }
}

TEST(VerbTest, IsFoundByItsWholeName) {
    ASSERT_NE(shell::findVerb("status"), nullptr);
    EXPECT_STREQ(shell::findVerb("status")->name, "status");
    EXPECT_EQ(shell::findVerb("stat"), nullptr);
    EXPECT_EQ(shell::findVerb(""), nullptr);
}

}  // namespace
