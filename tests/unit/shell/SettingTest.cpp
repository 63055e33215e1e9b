// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/setting.h"

#include <string>

#include <gtest/gtest.h>

#include "shell/exitStatus.h"
#include "tests/support/thrownText.h"

namespace {

TEST(SettingTest, IsCutAtItsFirstSign) {
    const auto settings = shell::readSettings({"place_design.seed=7", "define=A=B", "top="});
    ASSERT_EQ(settings.size(), 3U);
    EXPECT_EQ(settings[0].name, "place_design.seed");
    EXPECT_EQ(settings[0].value, "7");
    EXPECT_EQ(settings[1].value, "A=B");
    EXPECT_EQ(settings[2].value, "");
}

TEST(SettingTest, NeedsANameAndASign) {
    for (const std::string word : {"seed", "=7", ""})
        EXPECT_EQ(test::thrownText<shell::CommandError>([&word] { shell::readSettings({word}); }),
                  "'" + word + "' sets nothing. Say option=value, for example seed=7.");
}

}  // namespace
