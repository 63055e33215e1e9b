// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/bitstreamStep.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

using Words = std::vector<std::string>;

TEST(BitstreamWordsTest, NameInputAndOutput) {
    BitstreamOptions options;
    options.asc = "a.asc";
    EXPECT_EQ(bitstreamWords(options, "a.bin"), (Words{"icepack", "a.asc", "a.bin"}));
    options.noDeepSleep = true;
    options.skipRamInit = true;
    EXPECT_EQ(bitstreamWords(options, "a.bin"), (Words{"icepack", "-s", "-n", "a.asc", "a.bin"}));
}

TEST(BitstreamStepTest, RefusesAMissingDesign) {
    const test::RunDir dir;
    BitstreamOptions options;
    options.asc = dir.path("a.asc");
    options.bin = dir.path("a.bin");
    EXPECT_EQ(test::failureOf<StepFailure>([&] { runBitstream(options); }),
              "routed design '" + options.asc +
                  "' can't be read: No such file or directory. Run the routing first.");
    EXPECT_FALSE(dir.has("a.bin"));
}

TEST(BitstreamStepTest, RefusesATextThatIsNoRoutedDesign) {
    const test::RunDir dir;
    dir.mark("a.asc", "hello\n");
    BitstreamOptions options;
    options.asc = dir.path("a.asc");
    options.bin = dir.path("a.bin");
    EXPECT_EQ(test::failureOf<StepFailure>([&] { runBitstream(options); }),
              "'" + options.asc + "' is not a routed design. Run the routing again.");
}

}  // namespace
