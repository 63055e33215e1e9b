// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runGate.h"

#include <array>
#include <cstdio>
#include <random>
#include <set>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/RunDir.h"

namespace {

/// A run directory on a file system whose clock runs as the test says, in steps of two
/// seconds, and a gate that reads that clock.
class RunGateTest : public ::testing::Test {
protected:
    RunGateTest() { stamp_(); }

    /// Lets time pass.
    void pass(double seconds) { m_now += seconds; }

    void mark(const std::string& name) {
        m_dir.mark(name);
        stamp_();
    }
    void unmark(const std::string& name) {
        m_dir.unmark(name);
        stamp_();
    }
    void rename(const std::string& from, const std::string& to) {
        ASSERT_EQ(std::rename(m_dir.path(from).c_str(), m_dir.path(to).c_str()), 0);
        stamp_();
    }

    void read(bool settled = true) {
        m_gate.open(m_dir.path());
        m_gate.close(settled);
    }
    bool isUnchanged() const { return m_gate.isUnchanged(m_dir.path()); }

    test::RunDir m_dir;
    /// In seconds.
    double m_now = 4e9;
    workbench::RunGate m_gate{[this] {
                                  return timespec{static_cast<time_t>(m_now), 0};
                              },
                              lookWithCoarseTimes_};

private:
    /// Both times of a directory on the coarse clock: the kernel keeps the second one
    /// itself, and finer than many file systems do.
    static int lookWithCoarseTimes_(const char* path, struct stat* info) {
        const int result = ::stat(path, info);
        info->st_ctim = info->st_mtim;
        return result;
    }
    /// The directory changed now, as the coarse clock has it.
    void stamp_() {
        const auto coarse = static_cast<time_t>(m_now / 2) * 2;
        const std::array<timespec, 2> times{timespec{coarse, 0}, timespec{coarse, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, m_dir.path().c_str(), times.data(), 0), 0);
    }
};

TEST_F(RunGateTest, TrustsNothingBeforeTheFirstReading) {
    EXPECT_FALSE(isUnchanged());
}

TEST_F(RunGateTest, SparesThePollOfADirectoryThatIsLongUnchanged) {
    pass(60);
    read();
    EXPECT_TRUE(isUnchanged());
    pass(60);
    EXPECT_TRUE(isUnchanged());
}

TEST_F(RunGateTest, LooksAgainWhenTheDirectoryWasTooFreshToTrust) {
    pass(60);
    mark("a");
    pass(1);
    read();
    EXPECT_FALSE(isUnchanged());
    pass(10);
    EXPECT_FALSE(isUnchanged());
    read();
    EXPECT_TRUE(isUnchanged());
}

TEST_F(RunGateTest, LooksAgainWhenAMarkerCameByRename) {
    mark("a.new");
    pass(60);
    read();
    rename("a.new", "a");
    EXPECT_FALSE(isUnchanged());
}

TEST_F(RunGateTest, LooksAgainWhenTheResultWasNotSettled) {
    pass(60);
    read(false);
    EXPECT_FALSE(isUnchanged());
}

TEST_F(RunGateTest, LooksAgainInAnotherDirectory) {
    pass(60);
    read();
    const test::RunDir other;
    EXPECT_FALSE(m_gate.isUnchanged(other.path()));
}

TEST_F(RunGateTest, LooksAgainWhenADirectoryTookThePlaceOfTheOther) {
    m_dir.folder("run");
    pass(60);
    m_gate.open(m_dir.path("run"));
    m_gate.close(true);
    rename("run", "before");
    m_dir.folder("run");
    EXPECT_FALSE(m_gate.isUnchanged(m_dir.path("run")));
}

TEST_F(RunGateTest, NeverTrustsADirectoryThatIsNotThere) {
    pass(60);
    m_gate.open(m_dir.path("gone"));
    m_gate.close(true);
    EXPECT_FALSE(m_gate.isUnchanged(m_dir.path("gone")));
}

TEST_F(RunGateTest, NeverTrustsATimeAheadOfTheClock) {
    pass(60);
    mark("a");
    pass(-3600);
    read();
    EXPECT_FALSE(isUnchanged());
}

TEST_F(RunGateTest, ForgetsOnDemand) {
    pass(60);
    read();
    m_gate.forget();
    EXPECT_FALSE(isUnchanged());
}

/// A history of markers that come, go and are renamed while time passes by random
/// amounts, from nothing to several ticks of the file system's clock.
class RunGateHistory : public RunGateTest, public ::testing::WithParamInterface<unsigned> {
protected:
    /// What the plain walk sees.
    std::set<std::string> walk() const {
        std::set<std::string> found;
        for (const std::string& name : names()) {
            if (m_dir.has(name))
                found.insert(name);
        }
        return found;
    }

    static const std::array<std::string, 4>& names() {
        static const std::array<std::string, 4> all{"a", "b", "c", "d"};
        return all;
    }

    void change() {
        const std::string& one = names().at(m_random() % 4);
        const std::string& other = names().at(m_random() % 4);
        if (!m_dir.has(one))
            mark(one);
        else if (m_random() % 2 == 0)
            unmark(one);
        else
            rename(one, other);
    }

    std::mt19937 m_random{GetParam()};
};

TEST_P(RunGateHistory, SeesWhatThePlainWalkSees) {
    std::set<std::string> seen;
    int spared = 0;
    for (int i = 0; i < 2000; ++i) {
        if (m_random() % 3 == 0) {
            ASSERT_NO_FATAL_FAILURE(change());
        }
        pass(static_cast<double>(m_random() % 8) * 0.5);
        if (m_random() % 2 == 0)
            continue;
        if (isUnchanged()) {
            ++spared;
        } else {
            m_gate.open(m_dir.path());
            seen = walk();
            m_gate.close(true);
        }
        ASSERT_EQ(seen, walk()) << "after " << i << " steps";
    }
    EXPECT_GT(spared, 50);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RunGateHistory, ::testing::Range(1U, 21U));

}  // namespace
