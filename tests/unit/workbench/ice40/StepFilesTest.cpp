// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/stepFiles.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

TEST(OutputFileTest, ComesToItsNameOnlyWhenItIsCommitted) {
    const test::RunDir dir;
    dir.mark("out.json", "old");
    OutputFile file(dir.path("out.json"));
    file.write("new");
    EXPECT_EQ(dir.read("out.json"), "old");
    EXPECT_TRUE(dir.has(".out.json.part"));
    file.commit();
    EXPECT_EQ(dir.read("out.json"), "new");
    EXPECT_FALSE(dir.has(".out.json.part"));
}

TEST(OutputFileTest, LeavesTheOldFileWhenItIsGivenUp) {
    const test::RunDir dir;
    dir.mark("out.json", "old");
    {
        const OutputFile file(dir.path("out.json"));
        file.write("half");
    }
    EXPECT_EQ(dir.read("out.json"), "old");
    EXPECT_FALSE(dir.has(".out.json.part"));
}

TEST(OutputFileTest, OverwritesThePartOfAKilledStep) {
    const test::RunDir dir;
    dir.mark(".out.json.part", "a long rest of an earlier try");
    OutputFile file(dir.path("out.json"));
    EXPECT_FALSE(file.hasContent());
    file.write("new");
    file.commit();
    EXPECT_EQ(dir.read("out.json"), "new");
}

TEST(OutputFileTest, DoesNotWriteThroughALinkInThePlaceOfThePart) {
    const test::RunDir dir;
    dir.mark("other", "untouched");
    ASSERT_EQ(::symlink(dir.path("other").c_str(), dir.path(".out.json.part").c_str()), 0);
    OutputFile file(dir.path("out.json"));
    file.write("new");
    file.commit();
    EXPECT_EQ(dir.read("other"), "untouched");
}

TEST(OutputFileTest, IsRefusedWhenItIsEmpty) {
    const test::RunDir dir;
    dir.mark("out.json", "old");
    OutputFile file(dir.path("out.json"));
    EXPECT_EQ(test::failureOf<StepFailure>([&] { file.commit(); }),
              "'" + dir.path("out.json") +
                  "' came out empty. Look at the lines above for what the tool says, and at the "
                  "free space of the disk.");
    EXPECT_EQ(dir.read("out.json"), "old");
}

TEST(OutputFileTest, NamesTheFolderThatIsMissing) {
    const test::RunDir dir;
    EXPECT_EQ(test::failureOf<StepFailure>([&] { OutputFile(dir.path("no/out.json")); }),
              "'" + dir.path("no/out.json") +
                  "' can't be written: No such file or directory. Create the folder, then run the "
                  "step again.");
}

TEST(ReadTextTest, GivesTheWholeContent) {
    const test::RunDir dir;
    dir.mark("a", std::string("x\0y\n", 4));
    std::string text;
    std::string reason = "untouched";
    EXPECT_TRUE(readText(dir.path("a"), text, reason));
    EXPECT_EQ(text, std::string("x\0y\n", 4));
    EXPECT_EQ(reason, "untouched");
}

TEST(ReadTextTest, RefusesWhatIsNotAFileWithoutWaiting) {
    const test::RunDir dir;
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    std::string text = "kept";
    std::string reason;
    EXPECT_FALSE(readText(dir.path("pipe"), text, reason));
    EXPECT_EQ(reason, "it is not a regular file");
    EXPECT_FALSE(readText(dir.path(), text, reason));
    EXPECT_EQ(reason, "it is not a regular file");
    EXPECT_FALSE(readText(dir.path("none"), text, reason));
    EXPECT_EQ(reason, "No such file or directory");
    EXPECT_EQ(text, "kept");
}

TEST(ReadTextTest, RefusesAFileThatIsTooLarge) {
    const test::RunDir dir;
    dir.mark("a", "12345");
    std::string text;
    std::string reason;
    EXPECT_TRUE(readText(dir.path("a"), text, reason, 5));
    EXPECT_FALSE(readText(dir.path("a"), text, reason, 4));
    EXPECT_EQ(reason, "it has 5 bytes, more than the 4 that are read");
}

TEST(FingerprintTest, DiffersWithTheText) {
    EXPECT_EQ(fingerprint(""), "cbf29ce484222325");
    EXPECT_EQ(fingerprint("a"), "af63dc4c8601ec8c");
    EXPECT_NE(fingerprint("ab"), fingerprint("ba"));
}

}  // namespace
