// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPJob.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "tests/support/drained.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/standInRuns.h"

namespace {

using test::drained;
using test::thrownText;
using Runs = std::vector<HAXPExpRun*>;

TEST(JobTest, KnowsItsIdAndScript) {
    HAXPJob job(7);
    EXPECT_EQ(job.getJobId(), 7);
    EXPECT_EQ(job.getScript(), "");
    job.setScript("/w/runme.sh");
    EXPECT_EQ(job.getScript(), "/w/runme.sh");
    job.setScript("");
    EXPECT_EQ(job.getScript(), "");
    EXPECT_EQ(HAXPJob(-3).getJobId(), -3);
}

TEST(JobTest, IsEmptyAndDoneAtFirst) {
    const HAXPJob job(1);
    EXPECT_EQ(job.runCount(), 0);
    EXPECT_EQ(job.failedRunCount(), 0);
    EXPECT_EQ(job.exportedRunCount(), 0);
    EXPECT_TRUE(job.allRunsAttempted());
    EXPECT_TRUE(drained(job.createRunIter()).empty());
    EXPECT_TRUE(drained(job.createFailedRunIter()).empty());
    EXPECT_TRUE(drained(job.createExportedRunIter()).empty());
}

/// What a job holds before a test begins.
struct Load {
    const char* name;
    int open;
    int failed;
    int exported;
};

std::ostream& operator<<(std::ostream& os, const Load& load) {
    return os << load.name;
}

/// A job of other runs, most of them marked perhaps, and two more, "a" and "b".
class JobRunsTest : public ::testing::TestWithParam<Load> {
protected:
    void SetUp() override {
        const Load& load = GetParam();
        for (int i = 0; i < total(); ++i)
            m_job.addRun(m_runs[i]);
        for (int i = 0; i < load.failed; ++i)
            m_job.markAsFailed(m_runs[i]);
        for (int i = 0; i < load.exported; ++i)
            m_job.markAsExported(m_runs[load.failed + i]);
        m_a = m_runs[total()];
        m_b = m_runs[total() + 1];
        m_job.addRun(m_a);
        m_job.addRun(m_b);
    }

    static int total() { return GetParam().open + GetParam().failed + GetParam().exported; }
    HAXPExpRun* stranger() const { return m_runs[total() + 2]; }
    Runs others(int first, int count) const {
        Runs runs;
        for (int i = first; i < first + count; ++i)
            runs.push_back(m_runs[i]);
        return runs;
    }
    static Runs with(Runs runs, const Runs& more) {
        runs.insert(runs.end(), more.begin(), more.end());
        return runs;
    }

    std::string failing(HAXPExpRun* run) {
        return thrownText<HEXAlgException>([&] { m_job.markAsFailed(run); });
    }
    std::string exporting(HAXPExpRun* run) {
        return thrownText<HEXAlgException>([&] { m_job.markAsExported(run); });
    }
    void expectMarks(const Runs& failed, const Runs& exported) const {
        const Load& load = GetParam();
        EXPECT_EQ(drained(m_job.createRunIter()), with(others(0, total()), {m_a, m_b}));
        EXPECT_EQ(drained(m_job.createFailedRunIter()), with(others(0, load.failed), failed));
        EXPECT_EQ(drained(m_job.createExportedRunIter()),
                  with(others(load.failed, load.exported), exported));
        EXPECT_EQ(m_job.runCount(), total() + 2);
        EXPECT_EQ(m_job.failedRunCount(), load.failed + static_cast<int>(failed.size()));
        EXPECT_EQ(m_job.exportedRunCount(), load.exported + static_cast<int>(exported.size()));
    }

    test::StandInRuns m_runs{static_cast<std::size_t>(total()) + 3};
    HAXPJob m_job{1};
    HAXPExpRun* m_a = nullptr;
    HAXPExpRun* m_b = nullptr;
};

TEST_P(JobRunsTest, ListsRunsInTheOrderOfTheirRegistration) {
    expectMarks({}, {});
}

TEST_P(JobRunsTest, RegistersARunOnce) {
    m_job.addRun(m_a);
    m_job.addRun(m_b);
    m_job.addRun(m_a);
    expectMarks({}, {});
}

TEST_P(JobRunsTest, MarksRunsInTheOrderOfTheMarks) {
    m_job.markAsFailed(m_b);
    m_job.markAsFailed(m_a);
    expectMarks({m_b, m_a}, {});
}

TEST_P(JobRunsTest, KeepsFailedAndExportedRunsApart) {
    m_job.markAsExported(m_a);
    m_job.markAsFailed(m_b);
    expectMarks({m_b}, {m_a});
}

TEST_P(JobRunsTest, HasAttemptedARunOnceItIsMarked) {
    EXPECT_FALSE(m_job.hasRunBeenAttempted(m_a));
    m_job.markAsFailed(m_a);
    EXPECT_TRUE(m_job.hasRunBeenAttempted(m_a));
    EXPECT_FALSE(m_job.hasRunBeenAttempted(m_b));
    m_job.markAsExported(m_b);
    EXPECT_TRUE(m_job.hasRunBeenAttempted(m_b));
}

TEST_P(JobRunsTest, HasNotAttemptedAStranger) {
    EXPECT_FALSE(m_job.hasRunBeenAttempted(stranger()));
    EXPECT_FALSE(m_job.hasRunBeenAttempted(nullptr));
}

TEST_P(JobRunsTest, IsDoneWhenEveryRunIsMarked) {
    for (int i = GetParam().failed + GetParam().exported; i < total(); ++i)
        m_job.markAsExported(m_runs[i]);
    EXPECT_FALSE(m_job.allRunsAttempted());
    m_job.markAsFailed(m_a);
    EXPECT_FALSE(m_job.allRunsAttempted());
    m_job.markAsExported(m_b);
    EXPECT_TRUE(m_job.allRunsAttempted());
    m_job.addRun(stranger());
    EXPECT_FALSE(m_job.allRunsAttempted());
}

TEST_P(JobRunsTest, RefusesToMarkAStranger) {
    EXPECT_EQ(failing(stranger()), "Job::markAsFailed : run not registered");
    EXPECT_EQ(exporting(stranger()), "Job::markAsExported : run not registered");
    EXPECT_EQ(failing(nullptr), "Job::markAsFailed : run not registered");
    expectMarks({}, {});
}

TEST_P(JobRunsTest, RefusesToMarkAFailedRunAgain) {
    m_job.markAsFailed(m_a);
    EXPECT_EQ(failing(m_a), "Job::markAsFailed : run already failed");
    EXPECT_EQ(exporting(m_a), "Job::markAsExported : run already failed");
    expectMarks({m_a}, {});
}

TEST_P(JobRunsTest, RefusesToMarkAnExportedRunAgain) {
    m_job.markAsExported(m_a);
    EXPECT_EQ(failing(m_a), "Job::markAsFailed : run already exported");
    EXPECT_EQ(exporting(m_a), "Job::markAsExported : run already exported");
    expectMarks({}, {m_a});
}

TEST_P(JobRunsTest, MayBeWalkedInPart) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRun*>> iter(m_job.createRunIter());
    ASSERT_TRUE(iter->hasNext());
    EXPECT_EQ(iter->next(), total() == 0 ? m_a : m_runs[0]);
    EXPECT_TRUE(iter->hasNext());
}

INSTANTIATE_TEST_SUITE_P(
    Load, JobRunsTest,
    ::testing::Values(Load{"Alone", 0, 0, 0}, Load{"JustNotIndexed", 496, 0, 0},
                      Load{"IndexedByTheFirst", 499, 0, 0}, Load{"IndexedByTheSecond", 498, 0, 0},
                      Load{"AmongMany", 2000, 0, 0}, Load{"AmongManyFailed", 10, 600, 0},
                      Load{"AmongManyExported", 10, 0, 600}, Load{"AmongManyMarked", 10, 499, 499}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(JobTest, HoldsALaunchOfAHundredThousandRuns) {
    constexpr int kRuns = 100000;
    const test::StandInRuns runs(kRuns);
    HAXPJob job(1);
    for (int i = 0; i < kRuns; ++i)
        job.addRun(runs[i]);
    for (int i = 0; i < kRuns; ++i)
        i % 3 == 0 ? job.markAsFailed(runs[i]) : job.markAsExported(runs[i]);
    EXPECT_EQ(job.failedRunCount(), 33334);
    EXPECT_EQ(job.exportedRunCount(), 66666);
    EXPECT_TRUE(job.allRunsAttempted());
}

}  // namespace
