// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"

#include <cerrno>

#include <gmock/gmock.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpstratxio/strategyFixture.h"

namespace {

using test::contentOf;
using test::thrownText;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class StrategyWriterTest : public test::StrategyFileTest {
protected:
    StrategyWriterTest() { m_strategy.setName("Quick"); }

    HATOptGroup* options(const std::string& step) const { return m_strategy.getOptions(step); }
    HATOptGroup* attrs(const std::string& step) const {
        return m_strategy.getRunStepOptions(step)->getAttrs();
    }

    const std::unique_ptr<HAXPStrategy> m_owned = std::make_unique<HAXPStrategy>(m_flow);
    HAXPStrategy& m_strategy = *m_owned;
};

TEST_F(StrategyWriterTest, WritesTheWholeFileInOrder) {
    m_strategy.setDescription("Little effort");
    test::setInt(options("synth"), "CountInt", 7);
    test::setBool(attrs("synth"), "EnableStepBool", false);
    save(m_strategy);
    EXPECT_EQ(content(),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<Strategy Version="1" Minor="2">
  <Tool Major="2023" Minor="2"/>
  <StratHandle Name="Quick" Flow="kept_flow">
    <Desc>Little effort</Desc>
  </StratHandle>
  <Step Id="synth" EnableStepBool="0" PreStepTclHook="" PostStepTclHook="">
    <Option Id="CountInt" Value="7"/>
  </Step>
  <Step Id="place" EnableStepBool="1" PreStepTclHook="" PostStepTclHook="" EffortInt="3" LimitLong="4" NoteFile="" LevelEnum="low"/>
</Strategy>
)");
}

TEST_F(StrategyWriterTest, WritesTheIdOfTheFlow) {
    EXPECT_NE(m_flow->getName(), m_flow->getFlowId());
    save(m_strategy);
    EXPECT_THAT(content(), HasSubstr("Flow=\"" + m_flow->getFlowId() + "\""));
}

TEST_F(StrategyWriterTest, WritesNoDescriptionThatIsEmpty) {
    save(m_strategy);
    EXPECT_THAT(content(), HasSubstr("<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/>"));
    EXPECT_THAT(content(), Not(HasSubstr("Desc")));
}

TEST_F(StrategyWriterTest, WritesTheVersionOfTheToolAsText) {
    m_installation.setVersion("next.beta");
    save(m_strategy);
    EXPECT_THAT(content(), HasSubstr("<Tool Major=\"next\" Minor=\"beta\"/>"));
}

TEST_F(StrategyWriterTest, WritesAFlowWithoutStepsWithoutSteps) {
    HAXPStrategy empty;
    empty.setName("Empty");
    empty.setFlow(m_flow, false);
    save(empty);
    EXPECT_THAT(content(), Not(HasSubstr("Step")));
}

TEST_F(StrategyWriterTest, WritesFromThePartsOfAStrategy) {
    HAXSStrategyXMLWriter writer(path());
    writer.writeStrategy("Other", "Text", m_flow, m_strategy.createFlowStepOptionsIter());
    ASSERT_TRUE(read());
    EXPECT_EQ(one().getName(), "Other");
    EXPECT_EQ(one().getDescription(), "Text");
    EXPECT_EQ(one().stepCount(), 2);
}

TEST_F(StrategyWriterTest, WritesWhatReadsBack) {
    m_strategy.setName(" a<b> & \"c\"\t\n\xC3\xA4 ");
    m_strategy.setDescription("\n one\r\n <two> ]]> & \n\n");
    test::setInt(options("synth"), "CountInt", -8);
    test::setText(options("place"), "ModeEnum", "Small");
    test::setText(options("place"), "TextString", " <x a=\"1\">\n\t' ");
    test::setText(attrs("place"), "PreStepTclHook", "/a b/\"hook\".tcl");
    test::setInt(attrs("place"), "EffortInt", -2147483647 - 1);
    test::setText(attrs("place"), "LimitLong", "-9000000000");
    test::setText(attrs("place"), "NoteFile", "/n\xC3\xB6te");
    test::setText(attrs("place"), "LevelEnum", "High");
    test::setBool(attrs("place"), "EnableStepBool", false);
    save(m_strategy);
    ASSERT_TRUE(read());
    EXPECT_EQ(contentOf(one()), contentOf(m_strategy));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_FALSE(m_parser->needsBackup());
}

TEST_F(StrategyWriterTest, KeepsADescriptionOfBlanks) {
    m_strategy.setDescription(" \n ");
    save(m_strategy);
    ASSERT_TRUE(read());
    EXPECT_EQ(one().getDescription(), " \n ");
}

TEST_F(StrategyWriterTest, ReplacesTheFile) {
    m_dir.mark("kept.psg", std::string(100000, 'x'));
    save(m_strategy);
    EXPECT_TRUE(read());
}

TEST_F(StrategyWriterTest, ReservesANewName) {
    EXPECT_TRUE(HAXSStrategyXMLWriter(path()).writeNewStrategy(&m_strategy));
    const std::string before = content();
    m_strategy.setDescription("Later");
    EXPECT_FALSE(HAXSStrategyXMLWriter(path()).writeNewStrategy(&m_strategy));
    EXPECT_EQ(content(), before);
}

TEST_F(StrategyWriterTest, RefusesWhatXmlCanNotHoldBeforeTheFileIsTouched) {
    save(m_strategy);
    const std::string before = content();
    m_strategy.setDescription("bell \a");
    EXPECT_THROW(save(m_strategy), HXMLException);
    m_strategy.setDescription("half \xC3");
    EXPECT_THROW(save(m_strategy), HXMLException);
    EXPECT_EQ(content(), before);
}

TEST_F(StrategyWriterTest, RefusesAStrategyWithoutAFlow) {
    HAXPStrategy strategy;
    EXPECT_EQ(thrownText<HEXAlgException>([&] { save(strategy); }),
              "can't write a strategy without a flow");
    EXPECT_FALSE(m_dir.has("kept.psg"));
}

TEST_F(StrategyWriterTest, LeavesTheWholeOldOrTheWholeNewFileOnAFaultyDisk) {
    save(m_strategy);
    const std::string before = content();
    m_strategy.setDescription("Later");
    bool failed = true;
    for (int call = 1; failed && call < 100; ++call) {
        test::FaultyDisk disk;
        disk.failOnce(call, ENOSPC);
        const std::string text = thrownText<HXMLException>([&] { save(m_strategy); });
        failed = disk.hasFailed();
        if (text != "nothing thrown" && text.rfind("Saved", 0) != 0) {
            EXPECT_THAT(text, HasSubstr(path()));
            EXPECT_EQ(content(), before) << "call " << call;
        }
    }
    EXPECT_FALSE(failed);
    EXPECT_THAT(content(), HasSubstr("Later"));
}

}  // namespace
