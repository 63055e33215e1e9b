// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPMgr.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXDataException.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/sampleUuid.h"

using test::drain;
using test::kUuid;

namespace {

/// A catalogue of its own.
class CatalogueTest : public ::testing::Test {
protected:
    /// The catalogue leaves its flows alone, so the fixture deletes them.
    HAXPFlow* createFlow(const std::string& name, const std::string& flowId) {
        m_flows.emplace_back(m_catalogue->createFlow(name, "1.0", flowId));
        return m_flows.back().get();
    }

    template <class Type> std::string refusal(const Type& type, HAXPFlow* flow) {
        return test::thrownText<HEXDataException>([&] { m_catalogue->setDefaultFlow(type, flow); });
    }

    std::vector<std::unique_ptr<HAXPFlow>> m_flows;
    std::unique_ptr<HAXPMgr> m_catalogue = std::make_unique<HAXPMgr>();
};

TEST_F(CatalogueTest, IsOneForTheProcess) {
    EXPECT_NE(HAXPMgr::getGlobal(), nullptr);
    EXPECT_EQ(HAXPMgr::getGlobal(), HAXPMgr::getGlobal());
}

TEST_F(CatalogueTest, IsEmptyAtFirst) {
    EXPECT_EQ(m_catalogue->flowCount(), 0);
    EXPECT_TRUE(drain(m_catalogue->createFlowIter()).empty());
    EXPECT_EQ(m_catalogue->getFlowById(""), nullptr);
    for (int type = 0; type < HAXPTypes::flowTypeCount; ++type)
        EXPECT_EQ(m_catalogue->getDefaultFlow(static_cast<HAXPTypes::FlowType>(type)), nullptr);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPFlowType()), nullptr);
}

TEST_F(CatalogueTest, MakesAFlowOfThreeTexts) {
    const HAXPFlow* flow = createFlow("Synthesis", "synth");
    EXPECT_EQ(flow->getName(), "Synthesis");
    EXPECT_EQ(flow->getVersion(), "1.0");
    EXPECT_EQ(flow->getFlowId(), "synth");
}

TEST_F(CatalogueTest, ListsFlowsInOrderOfCreation) {
    HAXPFlow* synth = createFlow("Synthesis", "synth");
    HAXPFlow* impl = createFlow("Implementation", "impl");
    EXPECT_EQ(drain(m_catalogue->createFlowIter()), (std::vector<HAXPFlow*>{synth, impl}));
    EXPECT_EQ(m_catalogue->flowCount(), 2);
}

TEST_F(CatalogueTest, FindsTheFirstFlowWithExactlyAnId) {
    HAXPFlow* first = createFlow("Synthesis", "synth");
    createFlow("Synthesis", "synth");
    EXPECT_EQ(m_catalogue->flowCount(), 2);
    EXPECT_EQ(m_catalogue->getFlowById("synth"), first);
    EXPECT_EQ(m_catalogue->getFlowById("Synth"), nullptr);
    EXPECT_EQ(m_catalogue->getFlowById("Synthesis"), nullptr);
}

TEST_F(CatalogueTest, KeepsADefaultFlowForEachType) {
    HAXPFlow* synth = createFlow("Synthesis", "synth");
    HAXPFlow* impl = createFlow("Implementation", "impl");
    m_catalogue->setDefaultFlow(HAXPTypes::FLOW_SYNTH, synth);
    m_catalogue->setDefaultFlow(HAXPTypes::FLOW_UNKNOWN, impl);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_SYNTH), synth);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_UNKNOWN), impl);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_ENTIRE_DESIGN), nullptr);
}

TEST_F(CatalogueTest, RefusesASecondDefaultFlowOfAType) {
    HAXPFlow* first = createFlow("Synthesis", "synth");
    HAXPFlow* second = createFlow("Other", "other");
    m_catalogue->setDefaultFlow(HAXPTypes::FLOW_SYNTH, first);
    for (HAXPFlow* flow : {second, first, static_cast<HAXPFlow*>(nullptr)})
        EXPECT_EQ(refusal(HAXPTypes::FLOW_SYNTH, flow), "Default flow already set for flowType!");
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_SYNTH), first);
}

TEST_F(CatalogueTest, TakesADefaultFlowAfterNull) {
    HAXPFlow* flow = createFlow("Synthesis", "synth");
    EXPECT_EQ(refusal(HAXPTypes::FLOW_SYNTH, nullptr), "nothing thrown");
    EXPECT_EQ(refusal(HAXPTypes::FLOW_SYNTH, flow), "nothing thrown");
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_SYNTH), flow);
}

TEST_F(CatalogueTest, KeepsUniversalDefaultFlowsByUuidAlone) {
    HAXPFlow* flow = createFlow("Synthesis", "synth");
    m_catalogue->setDefaultFlow(HAXPFlowType(kUuid, "Synthesis"), flow);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPFlowType(kUuid, "another name")), flow);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPFlowType("", "Synthesis")), nullptr);
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPTypes::FLOW_SYNTH), nullptr);
}

TEST_F(CatalogueTest, CallsASecondUniversalDefaultFlowInvalid) {
    HAXPFlow* first = createFlow("Synthesis", "synth");
    HAXPFlow* second = createFlow("Other", "other");
    m_catalogue->setDefaultFlow(HAXPFlowType(kUuid, "Synthesis"), first);
    EXPECT_EQ(refusal(HAXPFlowType(kUuid, "another name"), second), "Invalid universal flow type");
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPFlowType(kUuid, "")), first);
}

TEST_F(CatalogueTest, TakesNullForAUniversalDefaultFlowForGood) {
    HAXPFlow* flow = createFlow("Synthesis", "synth");
    EXPECT_EQ(refusal(HAXPFlowType(kUuid, ""), nullptr), "nothing thrown");
    EXPECT_EQ(refusal(HAXPFlowType(kUuid, ""), flow), "Invalid universal flow type");
    EXPECT_EQ(m_catalogue->getDefaultFlow(HAXPFlowType(kUuid, "")), nullptr);
}

TEST_F(CatalogueTest, SupportsFlowsThatAreNotLegacy) {
    HAXPFlow* flow = createFlow("Synthesis", "synth");
    EXPECT_TRUE(m_catalogue->isFlowSupported(flow));
    flow->setLegacy(true);
    EXPECT_FALSE(m_catalogue->isFlowSupported(flow));
    EXPECT_TRUE(flow->isEnabled());
    EXPECT_FALSE(m_catalogue->isFlowSupported(nullptr));
}

TEST_F(CatalogueTest, LeavesItsFlowsAloneWhenItGoes) {
    const HAXPFlow* flow = createFlow("Synthesis", "synth");
    m_catalogue.reset();
    EXPECT_EQ(flow->getName(), "Synthesis");
}

TEST_F(CatalogueTest, TellsTheStatisticsOfTheProcess) {
    EXPECT_EQ(m_catalogue->statSpecCount(), HAXPStatMgr::getGlobal()->statSpecCount());
    EXPECT_EQ(drain(m_catalogue->createStatSpecIter()),
              drain(HAXPStatMgr::getGlobal()->createStatSpecIter()));
}

}  // namespace
