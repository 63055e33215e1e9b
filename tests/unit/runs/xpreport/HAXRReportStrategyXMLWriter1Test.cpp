// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategyXMLWriter1.h"

#include <cerrno>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestParam.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "tests/unit/runs/xpreport/strategyFiles.h"

namespace {

namespace reports = test::reports;

using reports::OwnedStrategy;

class ReportStrategyWriterTest : public reports::StrategyFileTest {
protected:
    HAXRReportSpec* add(const std::string& stepId, const std::string& name,
                        const VersionInfo& version) {
        std::unique_ptr<HAXRReportSpec> spec(
            HAXRReportSpecMgr::getGlobal()->getReportSpec(name, version));
        HAXRReportSpec* const added = m_strategy->addSpec(stepId, spec.get(), false);
        static_cast<void>(spec.release());
        return added;
    }
    HAXRReportSpec* addIo() { return add("place", "report_io", {1, 0}); }

    /// Writes the strategy; gives the file, which must keep the schema.
    std::string write() {
        HAXRReportStrategyXMLWriter1(path()).writeReportStrategy(m_strategy.get());
        std::string document = m_dir.read("strategy.xml");
        EXPECT_TRUE(reports::isValidBySchema("report-strategy.xsd", document)) << document;
        return document;
    }

    /// The lines of the file between the first and the last step's tags.
    std::string writeSteps() {
        const std::string document = write();
        const std::size_t begin = document.find("    <Step");
        return begin == std::string::npos
                   ? ""
                   : document.substr(begin, document.rfind("  </ReportStrategy>") - begin);
    }

    OwnedStrategy readBack() {
        HAXRReportStrategyXMLParser1 parser;
        parser.parseStrategies(path());
        const auto strategies = test::drain(parser.createStrategyIter());
        return OwnedStrategy(strategies.at(0));
    }

    /// What saving throws.
    std::string refusal() {
        return test::thrownText<HXMLException>(
            [this] { HAXRReportStrategyXMLWriter1(path()).writeReportStrategy(m_strategy.get()); });
    }

    OwnedStrategy m_strategy = makeStrategy();
};

TEST_F(ReportStrategyWriterTest, WritesAWholeFile) {
    m_strategy->setDescription("Pins < all");
    reports::setNumber(addIo()->getOptions(), "count", 20);
    add("place", "report_drc", {2, 0});
    add("synth", "report_io", {1, 2});
    EXPECT_EQ(write(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<ReportStrategies Version=\"1\" Minor=\"0\">\n"
                       "  <Tool Major=\"2026\" Minor=\"1\"/>\n"
                       "  <ReportStrategy>\n"
                       "    <ReportStratHandle Name=\"Mine\" Flow=\"report_flow\">\n"
                       "      <Desc>Pins &lt; all</Desc>\n"
                       "    </ReportStratHandle>\n"
                       "    <Step Id=\"place\">\n"
                       "      <Spec Name=\"report_io\" Version=\"1\" Minor=\"0\">\n"
                       "        <Option name=\"count\" def_value=\"20\"/>\n"
                       "      </Spec>\n"
                       "      <Spec Name=\"report_drc\" Version=\"2\" Minor=\"0\"/>\n"
                       "    </Step>\n"
                       "    <Step Id=\"synth\">\n"
                       "      <Spec Name=\"report_io\" Version=\"1\" Minor=\"2\"/>\n"
                       "    </Step>\n"
                       "  </ReportStrategy>\n"
                       "</ReportStrategies>\n");
}

TEST_F(ReportStrategyWriterTest, WritesNoEmptyNameButAnEmptyDescription) {
    m_strategy->setName("");
    EXPECT_EQ(write(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<ReportStrategies Version=\"1\" Minor=\"0\">\n"
                       "  <Tool Major=\"2026\" Minor=\"1\"/>\n"
                       "  <ReportStrategy>\n"
                       "    <ReportStratHandle Flow=\"report_flow\">\n"
                       "      <Desc/>\n"
                       "    </ReportStratHandle>\n"
                       "  </ReportStrategy>\n"
                       "</ReportStrategies>\n");
}

TEST_F(ReportStrategyWriterTest, WritesOptionsThatDifferFromTheirDefaults) {
    HATOptGroup* const options = addIo()->getOptions();
    reports::setFlag(options, "on", false);
    reports::setFlag(options, "off", true);
    reports::setNumber(options, "count", 0);
    reports::setText(options, "pins", "");
    reports::setText(options, "MORE_OPTIONS", "-a \"b\"");
    EXPECT_EQ(writeSteps(),
              "    <Step Id=\"place\">\n"
              "      <Spec Name=\"report_io\" Version=\"1\" Minor=\"0\">\n"
              "        <Option name=\"on\" def_value=\"false\"/>\n"
              "        <Option name=\"off\" def_value=\"true\"/>\n"
              "        <Option name=\"count\" def_value=\"0\"/>\n"
              "        <Option name=\"pins\" def_value=\"\"/>\n"
              "        <Option name=\"MORE_OPTIONS\" def_value=\"-a &quot;b&quot;\"/>\n"
              "      </Spec>\n"
              "    </Step>\n");
}

TEST_F(ReportStrategyWriterTest, WritesNoOutputOptions) {
    reports::setText(addIo()->getOutputOptions(), "file", "other.rpt");
    EXPECT_EQ(writeSteps(), "    <Step Id=\"place\">\n"
                            "      <Spec Name=\"report_io\" Version=\"1\" Minor=\"0\"/>\n"
                            "    </Step>\n");
}

TEST_F(ReportStrategyWriterTest, WritesDisplayNamesWhereTheParameterSaysSo) {
    addIo()->setDisplayName("My pins", false);
    EXPECT_EQ(writeSteps().find("DisplayName"), std::string::npos);
    const test::TestParam shown("runs.enableReportDisplayName", true);
    EXPECT_NE(writeSteps().find("<Spec Name=\"report_io\" DisplayName=\"My pins\" Version=\"1\""),
              std::string::npos);
    m_strategy->findReportSpec("place", "report_io")->setDisplayName("", false);
    EXPECT_NE(writeSteps().find("<Spec Name=\"report_io\" DisplayName=\"report_io\" Version=\"1\""),
              std::string::npos);
}

TEST_F(ReportStrategyWriterTest, CutsVersionsToAByte) {
    add("place", "report_wide", {200, 0});
    EXPECT_NE(write().find("<Spec Name=\"report_wide\" Version=\"-56\" Minor=\"0\"/>"),
              std::string::npos);
    EXPECT_EQ(readBack()->specCount("place"), HAXRReportStrategy::noEntry);
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"36-389"});
}

TEST_F(ReportStrategyWriterTest, LeavesOutARemovedStepAndKeepsAnEmptyOne) {
    addIo();
    const std::unique_ptr<HAXRReportSpec> spec(add("synth", "report_drc", {2, 0}));
    m_strategy->removeStep("place");
    m_strategy->removeSpec("synth", spec.get(), false);
    EXPECT_EQ(writeSteps(), "    <Step Id=\"synth\"/>\n");
}

TEST_F(ReportStrategyWriterTest, WritesAReportWithoutOptions) {
    HAXRReportSpec* const spec = addIo();
    const std::unique_ptr<HATOptGroup> options(spec->getOptions());
    spec->setOptions(nullptr);
    EXPECT_EQ(writeSteps(), "    <Step Id=\"place\">\n"
                            "      <Spec Name=\"report_io\" Version=\"1\" Minor=\"0\"/>\n"
                            "    </Step>\n");
}

TEST_F(ReportStrategyWriterTest, IsReadBackAsItWas) {
    m_strategy->setName("a\"<b>&'\t\xE6\xBC\xA2");
    m_strategy->setDescription(" two\n lines\r\nand <tags> ]]> ");
    HATOptGroup* const options = addIo()->getOptions();
    reports::setFlag(options, "on", false);
    reports::setNumber(options, "count", -2147483647 - 1);
    reports::setText(options, "pins", " a\n\tb\r ");
    add("place", "report_io", {1, 0});
    add("extra", "report_drc", {2, 0});
    write();
    const OwnedStrategy read = readBack();
    EXPECT_EQ(read->getName(), m_strategy->getName());
    EXPECT_EQ(read->getDescription(), m_strategy->getDescription());
    EXPECT_FALSE(read->differsFrom(m_strategy.get()));
    EXPECT_FALSE(m_strategy->differsFrom(read.get()));
    EXPECT_EQ(test::drain(read->createFlowStepIter()),
              test::drain(m_strategy->createFlowStepIter()));
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyWriterTest, IsReadBackWhateverItsTextsHold) {
    std::mt19937 random(20260101);
    const std::vector<std::string> pieces = {"<",  ">", "&",   "\"", "'",  "\n", "\r",
                                             "\t", " ", "]]>", "a",  "%s", "\\", "\xC3\xA4"};
    const auto randomText = [&] {
        std::string made;
        for (unsigned length = random() % 8; length > 0; --length)
            made += pieces[random() % pieces.size()];
        return made;
    };
    for (int round = 0; round < 100; ++round) {
        m_strategy = makeStrategy();
        m_strategy->setName(randomText());
        m_strategy->setDescription(randomText());
        for (const char* stepId : {"extra", "place", "synth"}) {
            for (unsigned count = random() % 3; count > 0; --count) {
                HATOptGroup* const options = add(stepId, "report_io", {1, 0})->getOptions();
                reports::setFlag(options, "on", random() % 2 == 0);
                reports::setNumber(options, "count", static_cast<int>(random() % 5));
                reports::setText(options, "pins", randomText());
            }
        }
        write();
        const OwnedStrategy read = readBack();
        ASSERT_EQ(read->getName(), m_strategy->getName()) << round;
        ASSERT_EQ(read->getDescription(), m_strategy->getDescription()) << round;
        ASSERT_FALSE(read->differsFrom(m_strategy.get())) << round;
    }
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyWriterTest, FollowsADefaultThatChangedInTheCatalogue) {
    reports::setText(add("place", "report_io", {1, 2})->getOptions(), "pins", "abc");
    add("synth", "report_io", {1, 2});
    write();
    HATAttrSpec* const pins = reports::optionOf(
        HAXRReportSpecMgr::getGlobal()->find("report_io", {1, 2})->getOptions(), "pins");
    pins->setStringDefault("new");
    const OwnedStrategy read = readBack();
    pins->setStringDefault("xyz");
    EXPECT_EQ(reports::valueOf(read->findReportSpec("place", "report_io")->getOptions(), "pins"),
              "abc");
    EXPECT_EQ(reports::valueOf(read->findReportSpec("synth", "report_io")->getOptions(), "pins"),
              "new");
}

// Failures ----------------------------------------------------------------

TEST_F(ReportStrategyWriterTest, ReplacesNoFileByWhatXmlCannotHold) {
    m_dir.mark("strategy.xml", "old");
    m_strategy->setDescription("bell \x07");
    const std::string text = refusal();
    EXPECT_EQ(text.substr(0, path().size() + 31), "The file " + path() + " could not be written:");
    EXPECT_NE(text.find("the character U+0007"), std::string::npos);
    EXPECT_EQ(m_dir.read("strategy.xml"), "old");
}

TEST_F(ReportStrategyWriterTest, TellsAFolderThatIsNotThere) {
    const std::string lost = m_dir.path("missing/strategy.xml");
    try {
        HAXRReportStrategyXMLWriter1(lost).writeReportStrategy(m_strategy.get());
        ADD_FAILURE() << "nothing thrown";
    } catch (const HXMLException& error) {
        EXPECT_EQ(error.getMsgId(), "1-508");
        EXPECT_NE(std::string(error.what()).find("No such file or directory"), std::string::npos);
    }
}

TEST_F(ReportStrategyWriterTest, KeepsTheOldFileWhenTheDiskFailsAnywhere) {
    addIo();
    const std::string before = write();
    m_strategy->setDescription("changed");
    int call = 1;
    for (bool hasFailed = true; hasFailed; ++call) {
        ASSERT_LT(call, 100);
        test::FaultyDisk disk;
        disk.failFrom(call, ENOSPC);
        const std::string text = refusal();
        hasFailed = disk.hasFailed();
        const std::string after = m_dir.read("strategy.xml");
        if (text == "nothing thrown") {
            EXPECT_NE(after.find("changed"), std::string::npos) << call;
        } else {
            EXPECT_TRUE(after == before || after.find("changed</Desc>") != std::string::npos)
                << call;
        }
        if (call == 1) {
            EXPECT_NE(text.find("No space left on device"), std::string::npos);
        }
    }
    EXPECT_GT(call, 4);
}

TEST_F(ReportStrategyWriterTest, WritesNoStrategyThatCouldNotBeReadAgain) {
    HAXRReportStrategy strategy(nullptr);
    HAXRReportStrategyXMLWriter1 writer(path());
    for (HAXRReportStrategy* unfit : {&strategy, static_cast<HAXRReportStrategy*>(nullptr)})
        EXPECT_EQ(test::thrownText<HEXAlgException>([&] { writer.writeReportStrategy(unfit); }),
                  "a report strategy without a flow can't be written");
    EXPECT_FALSE(m_dir.has("strategy.xml"));
}

}  // namespace
