// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/devices.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

constexpr const char* kDatabase = "# comment with .pins in it\n"
                                  ".device 8k 34 34 135174\n"
                                  "\n"
                                  ".pins ct256\n"
                                  "A1 4 33 1\n"
                                  "A10 22 33 1\n"
                                  "\n"
                                  ".pins tq144:4k\n"
                                  "7 0 30 0\n"
                                  "\n"
                                  ".gbufin\n"
                                  "0 16 6\n"
                                  ".pins late\n"
                                  "B1 0 0 0\n";

PackagePins parse(const std::string& text, const std::string& device) {
    std::istringstream stream(text);
    return parsePackages(stream, findDevice(device));
}

TEST(DevicesTest, FindsADeviceByName) {
    EXPECT_EQ(findDevice("hx8k").database, "chipdb-8k.txt");
    EXPECT_EQ(findDevice("up5k").timingFamily, "u");
}

TEST(DevicesTest, ListsAllWhenOneIsUnknown) {
    EXPECT_EQ(
        test::failureOf<StepFailure>([] { findDevice("hx9k"); }),
        "device 'hx9k' is not known. Choose one of hx1k, hx4k, hx8k, lp384, lp1k, lp4k, lp8k, "
        "up3k, up5k, u1k, u2k, u4k.");
}

TEST(PackagesTest, AreReadUpToTheEndOfThePinTables) {
    EXPECT_EQ(parse(kDatabase, "hx8k"), (PackagePins{{"ct256", {"A1", "A10"}}}));
}

TEST(PackagesTest, OfASmallerDeviceStandInTheSameDatabase) {
    EXPECT_EQ(parse(kDatabase, "hx4k"), (PackagePins{{"tq144", {"7"}}}));
}

TEST(PackagesTest, AreNoneInAnEmptyOrForeignText) {
    EXPECT_TRUE(parse("", "hx8k").empty());
    EXPECT_TRUE(parse("A1 4 33 1\n", "hx8k").empty());
}

TEST(PackagesTest, AreReadFromTheDatabaseOfTheDevice) {
    const test::RunDir dir;
    dir.mark("chipdb-8k.txt", kDatabase);
    const Device& device = findDevice("hx8k");
    const PackagePins packages = readPackages(device, dir.path());
    EXPECT_EQ(findPackage(packages, device, "ct256").count("A10"), 1u);
    EXPECT_EQ(test::failureOf<StepFailure>([&] { findPackage(packages, device, "tq144"); }),
              "device hx8k has no package 'tq144'. Choose one of ct256.");
}

TEST(PackagesTest, NameWhatToInstallWhenTheDatabaseIsMissing) {
    const test::RunDir dir;
    EXPECT_EQ(
        test::failureOf<StepFailure>([&] { readPackages(findDevice("hx8k"), dir.path()); }),
        "the pins of hx8k can't be read from '" + dir.path() +
            "/chipdb-8k.txt'. Install package fpga-icestorm-chipdb, or name the folder of the "
            "chip databases with --chipdb.");
}

}  // namespace
