// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/indexedRunList.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/runs/xperiment/standInRuns.h"

namespace {

using xperiment::IndexedRunList;

class IndexedRunListTest : public ::testing::Test {
protected:
    void fill(int count) {
        for (int i = 0; i < count; ++i)
            m_list.insert(m_runs[i]);
    }
    /// The runs that are found, of the first `count`.
    int found(int count) const {
        int hits = 0;
        for (int i = 0; i < count; ++i)
            hits += m_list.contains(m_runs[i]) ? 1 : 0;
        return hits;
    }

    test::StandInRuns m_runs{2000};
    IndexedRunList m_list;
};

TEST_F(IndexedRunListTest, IsIndexedFromItsFiveHundredthRunOn) {
    EXPECT_FALSE(m_list.hasIndex());
    fill(499);
    EXPECT_FALSE(m_list.hasIndex());
    m_list.insert(m_runs[499]);
    EXPECT_TRUE(m_list.hasIndex());
    fill(2000);
    EXPECT_TRUE(m_list.hasIndex());
}

TEST_F(IndexedRunListTest, CountsDistinctRunsOnly) {
    fill(499);
    fill(499);
    EXPECT_EQ(m_list.size(), 499U);
    EXPECT_FALSE(m_list.hasIndex());
}

TEST_F(IndexedRunListTest, FindsEveryRunOnEitherSideOfTheIndex) {
    for (const int count : {0, 1, 498, 499, 500, 501, 2000}) {
        fill(count);
        EXPECT_EQ(found(2000), count);
        EXPECT_EQ(m_list.size(), static_cast<std::size_t>(count));
    }
}

TEST_F(IndexedRunListTest, KeepsTheOrderOfInsertion) {
    std::vector<HAXPExpRun*> expected;
    for (int i = 1999; i >= 0; --i) {
        m_list.insert(m_runs[i]);
        m_list.insert(m_runs[1999]);
        expected.push_back(m_runs[i]);
    }
    EXPECT_EQ(m_list.runs(), expected);
}

}  // namespace
