// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/cluster/HCClusterConfMgr.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/cluster/HCClusterConf.h"
#include "environment/containers/HSTFwdIter.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClusterConfMgrTest : public ::testing::Test {
protected:
    void add(const std::string& name, const std::string& killCmd = "") {
        auto conf = std::make_unique<HCClusterConf>(name);
        conf->setKillCmd(killCmd);
        m_manager.addClusterConf(conf.release());
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        const std::unique_ptr<HSTFwdIter<const HCClusterConf*>> confs(
            m_manager.createClusterConfIter());
        while (confs->hasNext())
            found.push_back(confs->next()->getName());
        return found;
    }

    HCClusterConfMgr m_manager;
};

TEST_F(ClusterConfMgrTest, KnowsNoneAtFirst) {
    EXPECT_EQ(m_manager.getClusterConf("sge"), nullptr);
    EXPECT_EQ(m_manager.getClusterConf(""), nullptr);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ClusterConfMgrTest, FindsAConfigurationByItsName) {
    add("sge", "qdel -f");
    add("lsf");
    ASSERT_NE(m_manager.getClusterConf("sge"), nullptr);
    EXPECT_EQ(m_manager.getClusterConf("sge")->getName(), "sge");
    EXPECT_EQ(m_manager.getClusterConf("sge")->getKillCmd(), "qdel -f");
    EXPECT_EQ(m_manager.getClusterConf("lsf")->getKillCmd(), "");
    EXPECT_EQ(m_manager.getClusterConf("SGE"), nullptr);
}

TEST_F(ClusterConfMgrTest, GivesThemInTheOrderInWhichTheyCame) {
    add("sge");
    add("lsf");
    EXPECT_THAT(names(), ElementsAre("sge", "lsf"));
}

TEST_F(ClusterConfMgrTest, ReplacesOneOfTheSameName) {
    add("sge", "old");
    add("sge", "new");
    EXPECT_THAT(names(), ElementsAre("sge"));
    EXPECT_EQ(m_manager.getClusterConf("sge")->getKillCmd(), "new");
}

TEST_F(ClusterConfMgrTest, RemovesOne) {
    add("sge");
    EXPECT_TRUE(m_manager.removeClusterConf("sge"));
    EXPECT_EQ(m_manager.getClusterConf("sge"), nullptr);
    EXPECT_FALSE(m_manager.removeClusterConf("sge"));
}

TEST_F(ClusterConfMgrTest, TakesNoNull) {
    m_manager.addClusterConf(nullptr);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ClusterConfMgrTest, LeavesAWalkHalfWay) {
    add("sge");
    add("lsf");
    const std::unique_ptr<HSTFwdIter<const HCClusterConf*>> confs(
        m_manager.createClusterConfIter());
    EXPECT_EQ(confs->next()->getName(), "sge");
    EXPECT_TRUE(confs->hasNext());
}

TEST(ClusterConfMgrInstanceTest, IsOneForTheProcess) {
    EXPECT_NE(HCClusterConfMgr::getInstance(), nullptr);
    EXPECT_EQ(HCClusterConfMgr::getInstance(), HCClusterConfMgr::getInstance());
}

}  // namespace
