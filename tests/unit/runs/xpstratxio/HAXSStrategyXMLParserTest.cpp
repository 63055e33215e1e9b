// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"

#include <ostream>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>

#include "tests/unit/runs/xpstratxio/strategyFixture.h"

namespace {

using test::contentOf;
using test::valueOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class StrategyParserTest : public test::StrategyFileTest {
protected:
    /// What goes to the standard error stream while `content` is read.
    std::string errorsOf(const std::string& content) {
        ::testing::internal::CaptureStderr();
        EXPECT_TRUE(read(content));
        return ::testing::internal::GetCapturedStderr();
    }

    std::vector<std::string> failReasons() const {
        HSTVector<std::string> reasons;
        reasons.push_back("left from before");
        m_parser->getFailReasons(reasons);
        return {reasons.begin(), reasons.end()};
    }

    /// The steps of the strategy that was read.
    std::vector<std::string> steps() const {
        std::vector<std::string> ids;
        for (const HAXPFlowStepOptions* step : test::drain(one().createFlowStepOptionsIter()))
            ids.push_back(step->getOptGrpId());
        return ids;
    }

    std::string defaults() const {
        HAXPStrategy strategy(m_flow);
        strategy.setName("Quick");
        return contentOf(strategy);
    }
};

TEST_F(StrategyParserTest, HasNothingAtFirst) {
    EXPECT_EQ(m_parser->strategyCount(), 0);
    EXPECT_EQ(m_parser->getOneStrategy(), nullptr);
    EXPECT_THAT(test::drain(m_parser->createStrategyIter()), IsEmpty());
    EXPECT_THAT(failReasons(), IsEmpty());
}

TEST_F(StrategyParserTest, ReadsAUserDefinedStrategyOfItsFlow) {
    ASSERT_TRUE(read(fileWith("")));
    EXPECT_EQ(m_parser->strategyCount(), 1);
    EXPECT_THAT(test::drain(m_parser->createStrategyIter()), SizeIs(1));
    EXPECT_EQ(one().getFlow(), m_flow);
    EXPECT_EQ(one().getName(), "Quick");
    EXPECT_EQ(one().getDescription(), "");
    EXPECT_EQ(one().getFilename(), "");
    EXPECT_TRUE(one().isUserDefined());
    EXPECT_FALSE(one().isInternal());
}

TEST_F(StrategyParserTest, StartsFromTheDefaultStepsAtDefaultValues) {
    ASSERT_TRUE(read(fileWith("")));
    EXPECT_EQ(contentOf(one()), defaults());
}

TEST_F(StrategyParserTest, BringsBackADefaultStepThatTheFileDoesNotHave) {
    ASSERT_TRUE(read(fileWith("<Step Id=\"place\" EffortInt=\"9\"/>")));
    EXPECT_THAT(steps(), ElementsAre("synth", "place"));
}

TEST_F(StrategyParserTest, ReadsTheOptionsOfAStep) {
    ASSERT_TRUE(read(fileWith("<Step Id=\"synth\"><Option Id=\"CountInt\" Value=\"7\"/>"
                              "<Option Id=\"WordsList\"><Item Value=\"a b\"/><Item Value=\"c\"/>"
                              "</Option></Step>")));
    const HATOptGroup* const options = one().getOptions("synth");
    EXPECT_EQ(test::intOf(options, "CountInt"), 7);
    EXPECT_THAT(options->getStrListVal(options->getAttrSpecForDbId("WordsList")),
                ElementsAre("a b", "c"));
    EXPECT_EQ(test::intOf(one().getOptions("place"), "CountInt"), 1);
    EXPECT_FALSE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, DropsAnOptionalStepWithoutAWord) {
    ASSERT_TRUE(read(fileWith("<Step Id=\"extra\"><Option Id=\"CountInt\" Value=\"7\"/></Step>"
                              "<Step Id=\"nowhere\" EffortInt=\"x\"/>")));
    EXPECT_EQ(contentOf(one()), defaults());
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_TRUE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, SaysThatAStepHasNoId) {
    EXPECT_EQ(errorsOf(fileWith("<Step EffortInt=\"7\"><Option Id=\"CountInt\" Value=\"7\"/></Step>"
                                "<Step Id=\"synth\"><Option Id=\"CountInt\" Value=\"8\"/></Step>")),
              "ERROR: no Step Id given\n");
    EXPECT_EQ(test::intOf(one().getOptions("synth"), "CountInt"), 8);
    EXPECT_EQ(test::intOf(one().getRunStepOptions("place")->getAttrs(), "EffortInt"), 3);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyParserTest, SaysThatAStrategyHasNoFlowAndDropsIt) {
    EXPECT_EQ(errorsOf(fileOf("<StratHandle Name=\"Quick\" Flow=\"\"/>")),
              "ERROR: no flowId given\n");
    EXPECT_EQ(m_parser->strategyCount(), 0);
    EXPECT_EQ(m_parser->getOneStrategy(), nullptr);
    EXPECT_EQ(errorsOf(fileOf("<StratHandle Name=\"Quick\"/>")), "ERROR: no flowId given\n");
    EXPECT_THAT(failReasons(), IsEmpty());
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyParserTest, DropsAStrategyWithoutAHandle) {
    EXPECT_EQ(errorsOf(fileOf("<Step Id=\"synth\"/>")), "");
    EXPECT_EQ(m_parser->strategyCount(), 0);
}

TEST_F(StrategyParserTest, StopsAtAFlowThatTheCatalogueDoesNotHave) {
    EXPECT_FALSE(read(fileOf("<StratHandle Name=\"Quick\" Flow=\"other flow\"/><Step/>")));
    EXPECT_THAT(failReasons(),
                ElementsAre("Strategy Quick (other flow) not recognized by tarnel."));
    EXPECT_EQ(m_parser->strategyCount(), 0);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyParserTest, TakesAStrategyWithoutAName) {
    EXPECT_TRUE(read(fileOf("<StratHandle Flow=\"kept_flow\"/>")));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_EQ(one().getName(), "");
    EXPECT_EQ(one().stepCount(), 2);
}

TEST_F(StrategyParserTest, JoinsTheTextsOfADescription) {
    ASSERT_TRUE(read(fileOf("<StratHandle Name=\"Quick\" Flow=\"kept_flow\"><Desc>one<b/>two"
                            "<!-- no -->&amp;<![CDATA[<3>]]></Desc></StratHandle>")));
    EXPECT_EQ(one().getDescription(), "onetwo&<3>");
}

TEST_F(StrategyParserTest, TakesNoTextOutsideOfADescription) {
    ASSERT_TRUE(read(fileOf("x<StratHandle Name=\"Quick\" Flow=\"kept_flow\">y<Desc>one</Desc>z"
                            "</StratHandle>w")));
    EXPECT_EQ(one().getDescription(), "one");
}

TEST_F(StrategyParserTest, ReadsADescriptionInManyPiecesAtOnce) {
    std::string pieces;
    std::string whole;
    for (int i = 0; i < 100000; ++i) {
        pieces += "12345<!---->";
        whole += "12345";
    }
    ASSERT_TRUE(read(fileOf("<StratHandle Name=\"Quick\" Flow=\"kept_flow\"><Desc>" + pieces +
                            "</Desc></StratHandle>")));
    EXPECT_EQ(one().getDescription(), whole);
}

TEST_F(StrategyParserTest, GivesOneStrategyOnlyWhenThereIsExactlyOne) {
    const std::string handle = "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/>";
    const std::string inner = "<Strategy>" + handle + "</Strategy>";
    ASSERT_TRUE(read(fileOf(inner + inner)));
    EXPECT_EQ(m_parser->strategyCount(), 2);
    EXPECT_TRUE(m_parser->needsBackup());
    EXPECT_EQ(m_parser->getOneStrategy(), nullptr);
}

TEST_F(StrategyParserTest, WarnsOfAFileByALaterTool) {
    const std::string rest = "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>";
    const std::string root = "<Strategy Version=\"1\" Minor=\"2\">";
    ASSERT_TRUE(read(root + "<Tool Major=\"2024\" Minor=\"2\"/>" + rest));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs WARNING 36-549(" + path() + ", 2024.2, 2023.2)"));
    EXPECT_EQ(m_messages.messages().at(0).ordinal, 3);
    EXPECT_EQ(one().getName(), "Quick");
    EXPECT_TRUE(m_parser->needsBackup());
    EXPECT_EQ(m_parser->getWriterVersion(), "2024.2");
}

/// Versions of the tool that wrote the file, read by 2023.2.
struct WriterCase {
    const char* name;
    const char* major;
    const char* minor;
    bool isLater;
    bool needsBackup;
};

std::ostream& operator<<(std::ostream& os, const WriterCase& row) {
    return os << row.name;
}

class StrategyWriterVersionTest : public StrategyParserTest,
                                  public ::testing::WithParamInterface<WriterCase> {};

TEST_P(StrategyWriterVersionTest, IsComparedWithTheTools) {
    const WriterCase& row = GetParam();
    ASSERT_TRUE(read(std::string("<Strategy Version=\"1\" Minor=\"2\"><Tool Major=\"") + row.major +
                     "\" Minor=\"" + row.minor +
                     "\"/><StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>"));
    EXPECT_EQ(m_messages.has("36-549"), row.isLater);
    EXPECT_EQ(m_parser->needsBackup(), row.needsBackup);
}

INSTANTIATE_TEST_SUITE_P(
    By2023x2, StrategyWriterVersionTest,
    ::testing::Values(WriterCase{"Same", "2023", "2", false, false},
                      WriterCase{"LaterMinor", "2023", "3", true, true},
                      WriterCase{"LaterMinorByNumber", "2023", "10", true, true},
                      WriterCase{"LaterMajorLowerMinor", "2024", "1", true, true},
                      WriterCase{"EarlierMinor", "2023", "1", false, true},
                      WriterCase{"EarlierMajorHigherMinor", "2022", "9", false, true},
                      WriterCase{"TextBehindNumber", "2023_x", "2b", false, false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StrategyParserTest, ThrowsWhenTheWritersVersionIsNoNumber) {
    const std::string handle = "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>";
    const std::string root = "<Strategy Version=\"1\" Minor=\"2\">";
    EXPECT_THROW(read(root + "<Tool Major=\"x\" Minor=\"2\"/>" + handle), std::invalid_argument);
    EXPECT_THROW(read(root + "<Tool Major=\"2023\"/>" + handle), std::invalid_argument);
    EXPECT_THROW(read(root + "<Tool Major=\"99999999999\" Minor=\"1\"/>" + handle),
                 std::out_of_range);
    m_installation.setVersion("unversioned");
    EXPECT_THROW(read(root + "<Tool Major=\"x\" Minor=\"2\"/>" + handle), std::invalid_argument);
    EXPECT_EQ(m_parser->strategyCount(), 0);
}

TEST_F(StrategyParserTest, DoesNotCompareWithAToolWithoutNumbers) {
    m_installation.setVersion("unversioned");
    EXPECT_TRUE(read(fileWith("")));
    EXPECT_EQ(m_parser->strategyCount(), 1);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_FALSE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, ReadsAFileThatDoesNotNameItsTool) {
    ASSERT_TRUE(read("<Strategy Version=\"1\" Minor=\"2\">"
                     "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>"));
    EXPECT_EQ(one().getName(), "Quick");
    EXPECT_EQ(m_parser->getWriterVersion(), "unknown");
    EXPECT_FALSE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, LeavesRootAndFormatVersionToTheBase) {
    EXPECT_FALSE(read("<Report Version=\"1\" Minor=\"2\"/>"));
    EXPECT_FALSE(read("<Strategy Version=\"2\" Minor=\"2\"/>"));
    EXPECT_FALSE(read("<Strategy/>"));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126", "1-126", "1-126"));
    m_messages.clear();
    EXPECT_TRUE(read("<Strategy Version=\"1\" Minor=\"3\"><Tool Major=\"2023\" Minor=\"2\"/>"
                     "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>"));
    EXPECT_THAT(m_messages.ids(), ElementsAre("12-60"));
    EXPECT_TRUE(m_parser->needsBackup());
}

/// The text of an attribute of "place", and the value that it gives.
struct AttributeCase {
    const char* name;
    const char* dbId;
    const char* text;
    const char* value;
};

std::ostream& operator<<(std::ostream& os, const AttributeCase& row) {
    return os << row.name;
}

class StrategyAttributeTest : public StrategyParserTest,
                              public ::testing::WithParamInterface<AttributeCase> {};

TEST_P(StrategyAttributeTest, IsReadByItsKind) {
    const AttributeCase& row = GetParam();
    EXPECT_EQ(valueOf(placeAttrs(std::string(row.dbId) + "=\"" + row.text + "\""), row.dbId),
              row.value);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_FALSE(m_parser->needsBackup());
}

INSTANTIATE_TEST_SUITE_P(
    OfPlace, StrategyAttributeTest,
    ::testing::Values(AttributeCase{"BoolZero", "EnableStepBool", "0", "false"},
                      AttributeCase{"BoolOne", "EnableStepBool", "1", "true"},
                      AttributeCase{"BoolNegative", "EnableStepBool", "-1", "true"},
                      AttributeCase{"BoolWordIsFalse", "EnableStepBool", "true", "false"},
                      AttributeCase{"BoolEmptyIsFalse", "EnableStepBool", "", "false"},
                      AttributeCase{"Int", "EffortInt", "-12", "-12"},
                      AttributeCase{"IntWithTail", "EffortInt", " 12abc", "12"},
                      AttributeCase{"IntDecimalOnly", "EffortInt", "0x10", "0"},
                      AttributeCase{"IntCutTo32Bits", "EffortInt", "4294967298", "2"},
                      AttributeCase{"Long", "LimitLong", "4294967298", "4294967298"},
                      AttributeCase{"LongAtItsEnd", "LimitLong", "99999999999999999999",
                                    "9223372036854775807"},
                      AttributeCase{"String", "PreStepTclHook", " a &lt; b ", " a < b "},
                      AttributeCase{"File", "NoteFile", "/a/b c", "/a/b c"},
                      AttributeCase{"EnumById", "LevelEnum", "high", "High"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StrategyParserTest, KeepsAnEnumWhoseTextIsNoRange) {
    EXPECT_EQ(valueOf(placeAttrs("LevelEnum=\"High\""), "LevelEnum"), "Low");
    EXPECT_THAT(m_messages.summaries(), ElementsAre("runs WARNING 36-136(High, level)"));
    EXPECT_EQ(m_messages.messages().at(0).ordinal, 2);
    EXPECT_TRUE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, PassesOverAnAttributeOfAnotherKind) {
    placeAttrs("REPORTS=\"a\" EffortInt=\"9\"");
    EXPECT_EQ(test::intOf(one().getRunStepOptions("place")->getAttrs(), "EffortInt"), 9);
    EXPECT_THAT(m_messages.summaries(), ElementsAre("runs WARNING 36-137(REPORTS)"));
    EXPECT_EQ(m_messages.messages().at(0).ordinal, 1);
    EXPECT_TRUE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, PassesOverAnAttributeThatTheStepDoesNotHave) {
    placeAttrs("Nowhere=\"a\" EffortInt=\"9\"");
    EXPECT_EQ(test::intOf(one().getRunStepOptions("place")->getAttrs(), "EffortInt"), 9);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_TRUE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, NeverTakesTheIdForAnAttribute) {
    placeAttrs("");
    EXPECT_EQ(contentOf(one()), defaults());
    EXPECT_FALSE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, ReadsNoOptionOutsideOfAStep) {
    ASSERT_TRUE(read(fileWith("<Step Id=\"synth\"/><Option Id=\"CountInt\" Value=\"7\"/>")));
    EXPECT_EQ(contentOf(one()), defaults());
    EXPECT_TRUE(m_parser->needsBackup());
}

TEST_F(StrategyParserTest, TellsAnOptionThatTheStepDoesNotHave) {
    ASSERT_TRUE(read(fileWith("<Step Id=\"synth\"><Option Id=\"Nope\" Value=\"7\"/></Step>")));
    EXPECT_THAT(m_messages.ids(), ElementsAre("12-61"));
    EXPECT_TRUE(m_parser->needsBackup());
}

}  // namespace
