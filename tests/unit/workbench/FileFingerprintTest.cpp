// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/fileFingerprint.h"

#include <array>
#include <cstdlib>
#include <ostream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/RunDir.h"

namespace {

using workbench::FileFingerprint;
using workbench::FileStamp;
using workbench::FileWatch;

/// A watch that counts the files which it reads, at a time of the test's choice.
class FileWatchTest : public ::testing::Test {
protected:
    FileWatchTest() { m_dir.mark("a.v", "module a; endmodule\n"); }

    std::string path() const { return m_dir.path("a.v"); }
    FileWatch& watch() { return m_watch; }
    /// The watch's clock is this far ahead of the real one.
    void setAhead(long seconds) { m_aheadSec = seconds; }
    FileFingerprint look(const FileFingerprint& known = {}) { return m_watch.look(path(), known); }
    /// What a watch of another process sees.
    FileFingerprint lookAnew(const FileFingerprint& known) {
        return FileWatch(clock_(), read_()).look(path(), known);
    }
    /// Gives the file both times, to the nanosecond, that it had at `stamp`; the time of
    /// the change can't be set.
    void setModified(const FileStamp& stamp) const {
        const std::array<timespec, 2> times{stamp.modified, stamp.modified};
        ASSERT_EQ(utimensat(AT_FDCWD, path().c_str(), times.data(), 0), 0);
    }

    test::RunDir m_dir;
    int m_reads = 0;

private:
    FileWatch::Clock clock_() {
        return [this] {
            timespec now{};
            clock_gettime(CLOCK_REALTIME, &now);
            now.tv_sec += m_aheadSec;
            return now;
        };
    }
    FileWatch::Read read_() {
        return [this](const std::string& file) {
            ++m_reads;
            return workbench::readFingerprint(file);
        };
    }

    long m_aheadSec = 60;
    FileWatch m_watch{clock_(), read_()};
};

TEST_F(FileWatchTest, TellsTheContentByItsSha1) {
    m_dir.mark("a.v", "abc");
    EXPECT_EQ(look().sha1, "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(look().stamp.size, 3U);
    m_dir.mark("a.v");
    EXPECT_EQ(look().sha1, "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST_F(FileWatchTest, ReadsAFileOfManyBlocksWhole) {
    std::string text(200000, 'x');
    m_dir.mark("a.v", text);
    const FileFingerprint before = look();
    text.back() = 'y';
    m_dir.mark("a.v", text);
    EXPECT_FALSE(look().isSameContent(before));
}

TEST_F(FileWatchTest, DoesNotReadAFileThatIsAsItWas) {
    const FileFingerprint known = look();
    EXPECT_TRUE(known.isSettled);
    look(known);
    look();
    EXPECT_EQ(m_reads, 1);
    lookAnew(known);
    EXPECT_EQ(m_reads, 1);
}

TEST_F(FileWatchTest, ReadsATouchedFileAndFindsItsContentTheSame) {
    const FileFingerprint known = look();
    m_dir.touch("a.v", 1000);
    EXPECT_TRUE(look(known).isSameContent(known));
    EXPECT_EQ(m_reads, 2);
}

TEST_F(FileWatchTest, FindsAChangeThatHidesBehindSizeAndTime) {
    const FileFingerprint known = look();
    m_dir.mark("a.v", "module b; endmodule\n");
    setModified(known.stamp);
    FileStamp now;
    workbench::readStamp(path(), now);
    ASSERT_EQ(now.size, known.stamp.size);
    ASSERT_EQ(now.modified.tv_nsec, known.stamp.modified.tv_nsec);
    EXPECT_FALSE(look(known).isSameContent(known));
    EXPECT_FALSE(lookAnew(known).isSameContent(known));
}

TEST_F(FileWatchTest, FindsAnotherFileInThePlaceOfTheFirst) {
    const FileFingerprint known = look();
    m_dir.mark("b.v", "module b; endmodule\n");
    ASSERT_EQ(std::rename(m_dir.path("b.v").c_str(), path().c_str()), 0);
    setModified(known.stamp);
    EXPECT_FALSE(look(known).isSameContent(known));
}

TEST_F(FileWatchTest, ReadsAgainWhatWasChangedRightBeforeItWasRead) {
    setAhead(0);
    // As on a clock of whole seconds: a change within the same one leaves no trace.
    FileFingerprint fresh = look();
    fresh.isSettled = false;
    lookAnew(fresh);
    lookAnew(fresh);
    EXPECT_EQ(m_reads, 3);
}

TEST_F(FileWatchTest, TakesAFileForWhatItWasAsLongAsAMomentLasts) {
    {
        const FileWatch::Moment moment(watch());
        const FileFingerprint first = look();
        m_dir.mark("a.v", "something else");
        EXPECT_EQ(look().sha1, first.sha1);
        const FileWatch::Moment another(watch());
        EXPECT_EQ(look().sha1, first.sha1);
        EXPECT_EQ(m_reads, 1);
    }
    EXPECT_EQ(look().stamp.size, 14U);
    EXPECT_EQ(m_reads, 2);
}

TEST_F(FileWatchTest, AFileThatIsMissingAtFirstIsMissingForTheMoment) {
    FileStamp stamp;
    const std::string later = m_dir.path("later.v");
    {
        const FileWatch::Moment moment(watch());
        EXPECT_EQ(watch().stampOf(later, stamp), FileFingerprint::kMissing);
        m_dir.mark("later.v", "abc");
        EXPECT_EQ(watch().stampOf(later, stamp), FileFingerprint::kMissing);
        EXPECT_EQ(stamp.size, 0U);
    }
    EXPECT_EQ(watch().stampOf(later, stamp), FileFingerprint::kPresent);
    EXPECT_EQ(stamp.size, 3U);
}

TEST_F(FileWatchTest, LooksForAProgramOnceAMoment) {
    const std::string before = std::getenv("PATH");
    setenv("PATH", m_dir.path().c_str(), 1);
    std::string path = "as it was";
    {
        const FileWatch::Moment moment(watch());
        EXPECT_FALSE(watch().findProgram("tool", path));
        m_dir.mark("tool");
        ASSERT_EQ(chmod(m_dir.path("tool").c_str(), 0700), 0);
        EXPECT_FALSE(watch().findProgram("tool", path));
        EXPECT_EQ(path, "as it was");
    }
    EXPECT_TRUE(watch().findProgram("tool", path));
    EXPECT_EQ(path, m_dir.path("tool"));
    setenv("PATH", before.c_str(), 1);
}

TEST_F(FileWatchTest, TellsAMissingFileFromOneThatCanNotBeRead) {
    m_dir.unmark("a.v");
    EXPECT_EQ(look().state, FileFingerprint::kMissing);
    m_dir.mark("file");
    EXPECT_EQ(FileWatch().look(m_dir.path("file/a.v")).state, FileFingerprint::kMissing);
    m_dir.folder("a.v");
    EXPECT_EQ(look().state, FileFingerprint::kUnreadable);
    ASSERT_EQ(symlink("loop", m_dir.path("loop").c_str()), 0);
    EXPECT_EQ(FileWatch().look(m_dir.path("loop")).state, FileFingerprint::kUnreadable);
}

TEST_F(FileWatchTest, NeverWaitsForAPipe) {
    m_dir.unmark("a.v");
    ASSERT_EQ(mkfifo(path().c_str(), 0644), 0);
    EXPECT_EQ(look().state, FileFingerprint::kUnreadable);
    EXPECT_EQ(workbench::readFingerprint(path()).state, FileFingerprint::kUnreadable);
}

TEST_F(FileWatchTest, LooksBehindALink) {
    const FileFingerprint known = look();
    ASSERT_EQ(symlink("a.v", m_dir.path("link.v").c_str()), 0);
    EXPECT_TRUE(FileWatch().look(m_dir.path("link.v")).isSameContent(known));
}

/// When a file was last changed, and when it was read.
struct AgeCase {
    const char* name;
    timespec modified;
    timespec changed;
    timespec now;
    bool isOldEnough;
};

std::ostream& operator<<(std::ostream& os, const AgeCase& row) {
    return os << row.name;
}

class FileAgeTable : public ::testing::TestWithParam<AgeCase> {};

TEST_P(FileAgeTable, SaysWhetherALaterChangeShows) {
    FileStamp stamp;
    stamp.inode = 1;
    stamp.modified = GetParam().modified;
    stamp.changed = GetParam().changed;
    EXPECT_EQ(workbench::isOldEnough(stamp, GetParam().now), GetParam().isOldEnough);
}

INSTANTIATE_TEST_SUITE_P(
    Ages, FileAgeTable,
    ::testing::Values(
        AgeCase{"CoarseClockSameSecond", {100, 0}, {100, 0}, {100, 900000000}, false},
        AgeCase{"CoarseClockTwoSeconds", {100, 0}, {100, 0}, {102, 0}, false},
        AgeCase{"CoarseClockLater", {100, 0}, {100, 0}, {102, 1}, true},
        AgeCase{"FineClockSameTick", {100, 5}, {100, 5}, {100, 5}, false},
        AgeCase{"FineClockLater", {100, 5}, {100, 5}, {100, 60000000}, true},
        AgeCase{"FineClockOverTheSecond", {100, 990000000}, {100, 990000000}, {101, 0}, false},
        AgeCase{"OldTimeSetOnAFreshFile", {1, 0}, {100, 5}, {100, 6}, false},
        AgeCase{"TimeAheadOfTheClock", {200, 0}, {100, 5}, {150, 0}, false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FileAgeTest, AFileThatWasWrittenMeanwhileIsNeverOldEnough) {
    EXPECT_FALSE(workbench::isOldEnough(FileStamp(), {4000000000, 0}));
}

}  // namespace
