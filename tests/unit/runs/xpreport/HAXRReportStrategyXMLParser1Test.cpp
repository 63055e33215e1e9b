// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/schemaFile.h"
#include "tests/unit/runs/xpreport/strategyFiles.h"

namespace {

namespace reports = test::reports;

using reports::FaultCase;
using reports::valueOf;

constexpr char kStrategySchema[] = "report-strategy.xsd";

std::string fileOf(const std::string& content) {
    return "<ReportStrategies Version=\"1\" Minor=\"0\">" + content + "</ReportStrategies>";
}

std::string strategyOf(const std::string& steps, const std::string& name = "S",
                       const std::string& flow = "report_flow") {
    return "<ReportStrategy><ReportStratHandle Name=\"" + name + "\" Flow=\"" + flow +
           "\"><Desc>about</Desc></ReportStratHandle>" + steps + "</ReportStrategy>";
}

std::string placeOf(const std::string& specs) {
    return fileOf(strategyOf("<Step Id=\"place\">" + specs + "</Step>"));
}

/// "report_io" 1.0 with these options.
std::string ioOf(const std::string& options) {
    return placeOf("<Spec Name=\"report_io\" Version=\"1\" Minor=\"0\">" + options + "</Spec>");
}

class ReportStrategyParserTest : public reports::StrategyFileTest {
protected:
    void parse(const std::string& document) {
        m_dir.mark("strategy.xml", document);
        m_parser.parseStrategies(path());
    }

    /// The strategies that were read since the last call.
    std::vector<reports::OwnedStrategy> take() {
        const auto all = test::drain(m_parser.createStrategyIter());
        std::vector<reports::OwnedStrategy> strategies;
        for (; m_taken < all.size(); ++m_taken)
            strategies.emplace_back(all[m_taken]);
        return strategies;
    }

    /// The strategies of a document.
    std::vector<reports::OwnedStrategy> read(const std::string& document) {
        parse(document);
        return take();
    }

    /// The one strategy of a document.
    HAXRReportStrategy* readOne(const std::string& document) {
        m_read = read(document);
        if (m_read.size() != 1)
            throw std::logic_error("there isn't one strategy");
        return m_read.front().get();
    }

    /// The one report of the one strategy.
    HAXRReportSpec* readReport(const std::string& document) {
        const auto specs = test::drain(readOne(document)->createReportSpecIter("place"));
        if (specs.size() != 1)
            throw std::logic_error("there isn't one report");
        return specs.front();
    }

    /// What reading throws, behind "<path>, line "; empty when nothing is thrown.
    std::string errorOf(const std::string& document) {
        std::string text;
        m_output = reports::outputOf([&] {
            try {
                parse(document);
            } catch (const HXMLException& error) {
                text = error.what();
                EXPECT_EQ(error.getMsgId(), "1-126");
            }
        });
        const std::string prefix = path() + ", line ";
        EXPECT_EQ(text.substr(0, prefix.size()), text.empty() ? "" : prefix);
        return text.empty() ? text : text.substr(prefix.size());
    }

    /// Whether the document is read to its end; otherwise one of the errors that
    /// a reader throws must come.
    bool isRead(const std::string& document) {
        try {
            parse(document);
            return true;
        } catch (const HXMLException&) {
        } catch (const HEXAlgException&) {
        } catch (const std::logic_error&) {
        }
        return false;
    }

    using Texts = std::vector<std::string>;

    HAXRReportStrategyXMLParser1 m_parser;
    std::vector<reports::OwnedStrategy> m_read;
    std::size_t m_taken = 0;
    std::string m_output;
};

TEST_F(ReportStrategyParserTest, HasNoStrategiesAtFirst) {
    EXPECT_TRUE(test::drain(m_parser.createStrategyIter()).empty());
    EXPECT_TRUE(read("<ReportStrategies/>").empty());
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, ReadsAStrategy) {
    const HAXRReportStrategy* strategy = readOne(fileOf(
        "<Tool Major=\"2026\" Minor=\"1\"/>" +
        strategyOf("<Step Id=\"place\"><Spec Name=\"report_io\" Version=\"1\" Minor=\"0\"/>"
                   "<Spec Name=\"report_drc\" Version=\"2\" Minor=\"0\"/></Step>"
                   "<Step Id=\"synth\"><Spec Name=\"report_io\" Version=\"1\" Minor=\"2\"/></Step>",
                   "Pins &lt; all")));
    EXPECT_EQ(strategy->getName(), "Pins < all");
    EXPECT_EQ(strategy->getDescription(), "about");
    EXPECT_EQ(strategy->getFlow(), m_flow);
    EXPECT_TRUE(strategy->isUserDefined());
    EXPECT_FALSE(strategy->isModified());
    EXPECT_EQ(test::drain(strategy->createFlowStepIter()), (Texts{"place", "synth"}));
    EXPECT_EQ(strategy->specCount("place"), 2u);
    EXPECT_NE(strategy->findReportSpec("place", "report_drc", {2, 0}), nullptr);
    EXPECT_NE(strategy->findReportSpec("synth", "report_io", {1, 2}), nullptr);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, BuildsReportsFromTheCatalogue) {
    const HAXRReportSpec* spec = readReport(ioOf(""));
    EXPECT_EQ(spec->getName(), "report_io");
    EXPECT_EQ(spec->getSpecType(), HAXRTypes::REPORT_IO);
    EXPECT_EQ(spec->getShortDescription(), "About report_io");
    EXPECT_EQ(spec->getDisplayName(), "IO");
    EXPECT_EQ(spec->getOptions()->getOptGrpPrettyDisplayName(), "report_io");
    EXPECT_EQ(reports::namesOf(spec->getOptions()),
              (Texts{"on", "off", "count", "pins", "MORE_OPTIONS"}));
    EXPECT_EQ(valueOf(spec->getOptions(), "pins"), "abc");
    EXPECT_FALSE(reports::optionOf(spec->getOptions(), "pins")->isReadOnly());
    EXPECT_EQ(valueOf(spec->getOutputOptions(), "file"), "io.rpt");
    EXPECT_TRUE(reports::optionOf(spec->getOutputOptions(), "file")->isReadOnly());
}

TEST_F(ReportStrategyParserTest, HasNoOutputOptionsWhereTheCatalogueHasNone) {
    EXPECT_EQ(readReport(placeOf("<Spec Name=\"report_drc\"/>"))->getOutputOptions(), nullptr);
}

TEST_F(ReportStrategyParserTest, ReadsSeveralStrategiesInOrder) {
    const auto strategies = read(fileOf(strategyOf("", "A") + strategyOf("", "B")));
    ASSERT_EQ(strategies.size(), 2u);
    EXPECT_EQ(strategies[0]->getName(), "A");
    EXPECT_EQ(strategies[1]->getName(), "B");
    EXPECT_EQ(strategies[0]->stepCount(), 0);
}

TEST_F(ReportStrategyParserTest, AddsTheStrategiesOfAFurtherFile) {
    parse(fileOf(strategyOf("", "A")));
    parse(fileOf(strategyOf("", "B")));
    EXPECT_EQ(take().size(), 2u);
}

TEST_F(ReportStrategyParserTest, DeletesWhatNobodyAskedFor) {
    HAXRReportStrategyXMLParser1 parser;
    m_dir.mark("strategy.xml", ioOf(""));
    parser.parseStrategies(path());
}

TEST_F(ReportStrategyParserTest, KeepsTheDescriptionAsItStands) {
    const auto descriptionOf = [this](const std::string& text) {
        return readOne(fileOf("<ReportStrategy><ReportStratHandle Flow=\"report_flow\"><Desc>" +
                              text + "</Desc></ReportStratHandle></ReportStrategy>"))
            ->getDescription();
    };
    EXPECT_EQ(descriptionOf(""), "");
    EXPECT_EQ(descriptionOf("  a\n b&amp;<![CDATA[<c>]]> "), "  a\n b&<c> ");
    EXPECT_EQ(descriptionOf("\xE6\xBC\xA2"), "\xE6\xBC\xA2");
    EXPECT_EQ(m_read.front()->getName(), "");
}

TEST_F(ReportStrategyParserTest, ReadsADescriptionOfManyPiecesAtOnce) {
    std::string text;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        text += "&lt;abc";
        expected += "<abc";
    }
    readOne(fileOf("<ReportStrategy><ReportStratHandle Flow=\"report_flow\"><Desc>" + text +
                   "</Desc></ReportStratHandle></ReportStrategy>"));
    EXPECT_EQ(m_read.front()->getDescription(), expected);
}

// Versions ----------------------------------------------------------------

TEST_F(ReportStrategyParserTest, TakesTheLatestReportWithoutAWholeVersion) {
    for (const char* version : {"", "Version=\"1\"", "Minor=\"0\"", "Version=\"0\" Minor=\"0\""}) {
        const HAXRReportSpec* spec =
            readReport(placeOf("<Spec Name=\"report_io\" " + std::string(version) + "/>"));
        EXPECT_EQ(valueOf(spec->getOptions(), "pins"), "xyz") << version;
        EXPECT_EQ(spec->getVersion(), VersionInfo{}) << version;
    }
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, LeavesOutAVersionThatTheCatalogueLacks) {
    const HAXRReportStrategy* strategy =
        readOne(placeOf("<Spec Name=\"report_io\" Version=\"1\" Minor=\"1\"/>"
                        "<Spec Name=\"report_wide\" Version=\"-56\" Minor=\"0\"/>"
                        "<Spec Name=\"report_drc\"/>"));
    EXPECT_EQ(strategy->specCount("place"), 1u);
    EXPECT_EQ(m_messages.summaries(), (Texts{"runs WARNING 36-389(S, report_io, 1, 1)",
                                             "runs WARNING 36-389(S, report_wide, -56, 0)"}));
}

TEST_F(ReportStrategyParserTest, LeavesOutAReportThatTheCatalogueLacks) {
    const HAXRReportStrategy* strategy = readOne(placeOf("<Spec Name=\"report_x\"/><Spec/>"));
    EXPECT_EQ(strategy->specCount("place"), HAXRReportStrategy::noEntry);
    EXPECT_EQ(m_messages.summaries(),
              (Texts{"runs WARNING 36-372(report_x)", "runs WARNING 36-389(S, report_x, 0, 0)",
                     "runs WARNING 36-372()", "runs WARNING 36-389(S, , 0, 0)"}));
}

TEST_F(ReportStrategyParserTest, WarnsOfAFileOfALaterTool) {
    for (const char* tool : {"Major=\"2027\" Minor=\"0\"", "Major=\"2026\" Minor=\"2\""})
        EXPECT_EQ(read(fileOf("<Tool " + std::string(tool) + "/>" + strategyOf(""))).size(), 1u);
    EXPECT_EQ(m_messages.summaries(),
              (Texts{"runs WARNING 36-548(" + path() + ", 2027.0, 2026.1)",
                     "runs WARNING 36-548(" + path() + ", 2026.2, 2026.1)"}));
}

TEST_F(ReportStrategyParserTest, IsSilentAboutAFileOfTheSameOrAnEarlierTool) {
    for (const char* tool : {"Major=\"2026\" Minor=\"1\"", "Major=\"2026\" Minor=\"0\"",
                             "Major=\"2025\" Minor=\"9\"", "Major=\"2026b\" Minor=\"1 \""})
        EXPECT_EQ(read(fileOf("<Tool " + std::string(tool) + "/>" + strategyOf(""))).size(), 1u);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, ComparesNoVersionsWithoutNumbersOfItsOwn) {
    for (const char* version : {"2026", "next.1", ""}) {
        m_installation.setVersion(version);
        EXPECT_EQ(read(fileOf("<Tool Major=\"9999\" Minor=\"0\"/>" + strategyOf(""))).size(), 1u);
    }
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, DoesNotReadAFileWhoseToolHasNoNumbers) {
    for (const char* version : {"2026.1", "next"}) {
        m_installation.setVersion(version);
        for (const char* tool : {"", "Major=\"x\" Minor=\"0\"", "Major=\"1\" Minor=\"\"",
                                 "Major=\"99999999999\" Minor=\"0\""}) {
            const std::string document =
                fileOf("<Tool " + std::string(tool) + "/>" + strategyOf(""));
            EXPECT_EQ(test::thrownText<std::logic_error>([&] { parse(document); }), "stoi") << tool;
        }
    }
    EXPECT_TRUE(take().empty());
}

// Flows and steps ---------------------------------------------------------

TEST_F(ReportStrategyParserTest, LeavesOutStrategiesWithoutAKnownFlow) {
    ::testing::internal::CaptureStderr();
    const auto strategies =
        read(fileOf(strategyOf("", "A", "") + strategyOf("", "B", "unknown") + strategyOf("")));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "ERROR: FlowId is not given in report strategy A\n"
              "ERROR: FlowId is not valid in report strategy B\n");
    ASSERT_EQ(strategies.size(), 1u);
    EXPECT_EQ(strategies[0]->getName(), "S");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, EndsAtAStepThatTheFlowLacks) {
    const std::string steps = "<Step Id=\"place\"><Spec Name=\"report_io\"/></Step>"
                              "<Step Id=\"unknown\"><Spec Name=\"report_io\"/></Step>";
    EXPECT_EQ(test::thrownText<HEXAlgException>([&] {
                  parse(fileOf(strategyOf("", "A") + strategyOf(steps, "B") + strategyOf("", "C")));
              }),
              "NULL Step");
    const auto strategies = take();
    ASSERT_EQ(strategies.size(), 1u);
    EXPECT_EQ(strategies[0]->getName(), "A");
}

TEST_F(ReportStrategyParserTest, EndsAtAReportWithoutAStep) {
    EXPECT_EQ(test::thrownText<HEXAlgException>(
                  [&] { parse(fileOf(strategyOf("<Step><Spec Name=\"report_io\"/></Step>"))); }),
              "NULL Step");
}

TEST_F(ReportStrategyParserTest, DoesNotLookAtAStepWithoutReports) {
    const HAXRReportStrategy* strategy =
        readOne(fileOf(strategyOf("<Step Id=\"unknown\"/><Step Id=\"place\"/>")));
    EXPECT_EQ(strategy->stepCount(), 0);
}

// Options -----------------------------------------------------------------

TEST_F(ReportStrategyParserTest, SetsOptionsByTheirKinds) {
    const HAXRReportSpec* spec = readReport(ioOf("<Option name=\"on\" def_value=\"false\"/>"
                                                 "<Option name=\"off\" def_value=\"TRUE\"/>"
                                                 "<Option name=\"count\" def_value=\"-4\"/>"
                                                 "<Option name=\"pins\" def_value=\" a  b \"/>"
                                                 "<Option name=\"MORE_OPTIONS\""
                                                 " def_value=\"-verbose\"/>"));
    EXPECT_EQ(valueOf(spec->getOptions(), "on"), "false");
    EXPECT_EQ(valueOf(spec->getOptions(), "off"), "true");
    EXPECT_EQ(valueOf(spec->getOptions(), "count"), "-4");
    EXPECT_EQ(valueOf(spec->getOptions(), "pins"), " a  b ");
    EXPECT_EQ(valueOf(spec->getOptions(), "MORE_OPTIONS"), "-verbose");
    EXPECT_EQ(reports::optionOf(spec->getOptions(), "pins")->getStringDefault(), "abc");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, ReadsABoolAsFalseUnlessItIsTrueOrOne) {
    for (const char* text : {"on", "yes", "0", "", "2", " true"})
        EXPECT_EQ(valueOf(readReport(
                              ioOf("<Option name=\"on\" def_value=\"" + std::string(text) + "\"/>"))
                              ->getOptions(),
                          "on"),
                  "false");
    EXPECT_EQ(
        valueOf(readReport(ioOf("<Option name=\"off\" def_value=\"1\"/>"))->getOptions(), "off"),
        "true");
    EXPECT_EQ(valueOf(readReport(ioOf("<Option name=\"on\"/>"))->getOptions(), "on"), "false");
}

TEST_F(ReportStrategyParserTest, KeepsTheDefaultOfANumberThatIsNone) {
    for (const char* text : {"", "x", "1.5", "99999999999"})
        EXPECT_EQ(valueOf(readReport(ioOf("<Option name=\"count\" def_value=\"" +
                                          std::string(text) + "\"/>"))
                              ->getOptions(),
                          "count"),
                  "3");
    readReport(ioOf("<Option name=\"count\"/>"));
    EXPECT_EQ(m_messages.summaries(), Texts(5, "runs WARNING 36-393(S, count)"));
}

TEST_F(ReportStrategyParserTest, PassesOverOptionsThatTheReportLacks) {
    const HAXRReportSpec* spec = readReport(ioOf("<Option name=\"gone\" def_value=\"1\"/><Option/>"
                                                 "<Option name=\"file\" def_value=\"x\"/>"
                                                 "<Option name=\"pins\" def_value=\"p\"/>"));
    EXPECT_EQ(valueOf(spec->getOptions(), "pins"), "p");
    EXPECT_EQ(m_messages.summaries(), (Texts{"runs WARNING 36-388(S, gone, report_io, 1, 0)",
                                             "runs WARNING 36-388(S, , report_io, 1, 0)",
                                             "runs WARNING 36-388(S, file, report_io, 1, 0)"}));
}

TEST_F(ReportStrategyParserTest, PassesOverTypeAndTextOfAnOption) {
    const HAXRReportSpec* spec =
        readReport(ioOf("<Option name=\"pins\" type=\"int\" def_value=\"p\">old text</Option>"));
    EXPECT_EQ(valueOf(spec->getOptions(), "pins"), "p");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportStrategyParserTest, LeavesTheCatalogueAsItIs) {
    readReport(ioOf("<Option name=\"pins\" def_value=\"p\"/>"));
    EXPECT_EQ(valueOf(readReport(ioOf(""))->getOptions(), "pins"), "abc");
}

TEST_F(ReportStrategyParserTest, MakesDisplayNamesOfRawOnes) {
    const auto shownName = [this](const std::string& attribute) {
        return readReport(placeOf("<Spec Name=\"report_io\" " + attribute + "/>"))
            ->getDisplayName();
    };
    EXPECT_EQ(shownName("DisplayName=\"report_my_pins\""), "My Pins");
    EXPECT_EQ(shownName("DisplayName=\"\""), "IO");
    EXPECT_EQ(shownName(""), "IO");
}

// Documents that are no report strategies ---------------------------------

/// The complaints begin with the line.
class ReportStrategyFaultTable : public ReportStrategyParserTest,
                                 public ::testing::WithParamInterface<FaultCase> {};

TEST_P(ReportStrategyFaultTable, IsRefusedWithItsLine) {
    const std::string fault = GetParam().fault;
    EXPECT_EQ(errorOf(GetParam().document).substr(0, fault.size() + 2),
              fault.substr(0, 1) + ": " + fault.substr(2) + ".");
    EXPECT_EQ(m_output, path() + ":" + fault.substr(0, 1) + ": Error: " + fault.substr(2) + "\n");
    EXPECT_TRUE(take().empty());
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_P(ReportStrategyFaultTable, BreaksTheSchemaToo) {
    EXPECT_FALSE(reports::isValidBySchema(kStrategySchema, GetParam().document));
}

INSTANTIATE_TEST_SUITE_P(
    Documents, ReportStrategyFaultTable,
    ::testing::Values(
        FaultCase{"OtherRoot", "<Strategies/>",
                  "1 the root element is \"Strategies\" in the place of \"ReportStrategies\""},
        FaultCase{"NoHandle", fileOf("\n<ReportStrategy/>"),
                  "2 \"ReportStrategy\" lacks the element \"ReportStratHandle\" in its place"},
        FaultCase{"HandleBehindAStep",
                  fileOf("<ReportStrategy><Step Id=\"place\"/><ReportStratHandle><Desc/>"
                         "</ReportStratHandle></ReportStrategy>"),
                  "1 \"ReportStrategy\" lacks the element \"ReportStratHandle\" in its place"},
        FaultCase{"TwoHandles",
                  fileOf("<ReportStrategy><ReportStratHandle><Desc/></ReportStratHandle>\n"
                         "<ReportStratHandle><Desc/></ReportStratHandle></ReportStrategy>"),
                  "2 the element \"ReportStratHandle\" isn't allowed here in \"ReportStrategy\""},
        FaultCase{"NoDesc", fileOf("<ReportStrategy>\n<ReportStratHandle/></ReportStrategy>"),
                  "2 \"ReportStratHandle\" lacks the element \"Desc\" in its place"},
        FaultCase{"TwoDescs",
                  fileOf("<ReportStrategy><ReportStratHandle><Desc/>\n<Desc/></ReportStratHandle>"
                         "</ReportStrategy>"),
                  "2 the element \"Desc\" isn't allowed here in \"ReportStratHandle\""},
        FaultCase{"ElementInDesc",
                  fileOf("<ReportStrategy><ReportStratHandle><Desc>\n<b>x</b></Desc>"
                         "</ReportStratHandle></ReportStrategy>"),
                  "2 the element \"b\" isn't allowed here in \"Desc\""},
        FaultCase{"ToolBehindAStrategy",
                  fileOf(strategyOf("") + "\n<Tool Major=\"1\" Minor=\"0\"/>"),
                  "2 the element \"Tool\" isn't allowed here in \"ReportStrategies\""},
        FaultCase{"TwoTools", fileOf("<Tool/>\n<Tool/>"),
                  "2 the element \"Tool\" isn't allowed here in \"ReportStrategies\""},
        FaultCase{"ElementInTool", fileOf("<Tool Major=\"1\" Minor=\"0\"><Step/></Tool>"),
                  "1 the element \"Step\" isn't allowed here in \"Tool\""},
        FaultCase{"SpecInStrategy", fileOf(strategyOf("\n<Spec Name=\"report_io\"/>")),
                  "2 the element \"Spec\" isn't allowed here in \"ReportStrategy\""},
        FaultCase{"StepInStep", fileOf(strategyOf("<Step><Step/></Step>")),
                  "1 the element \"Step\" isn't allowed here in \"Step\""},
        FaultCase{"ElementInOption", ioOf("<Option name=\"pins\"><Option/></Option>"),
                  "1 the element \"Option\" isn't allowed here in \"Option\""},
        FaultCase{"TextInSpec", ioOf("text"), "1 \"Spec\" can't hold text"},
        FaultCase{"VersionTooLarge", "<ReportStrategies Version=\"128\"/>",
                  "1 the attribute \"Version\" of \"ReportStrategies\" is \"128\", which is no "
                  "whole number from -128 to 127"},
        FaultCase{"MinorNoNumber", "<ReportStrategies Minor=\"one\"/>",
                  "1 the attribute \"Minor\" of \"ReportStrategies\" is \"one\", which is no "
                  "whole number from -128 to 127"},
        FaultCase{"SpecVersionTooSmall", placeOf("<Spec Version=\"-129\"/>"),
                  "1 the attribute \"Version\" of \"Spec\" is \"-129\", which is no "
                  "whole number from -128 to 127"},
        FaultCase{"SpecMinorEmpty", placeOf("<Spec Minor=\"\"/>"),
                  "1 the attribute \"Minor\" of \"Spec\" is \"\", which is no "
                  "whole number from -128 to 127"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReportStrategyParserTest, TakesTheWholeRangeOfVersions) {
    for (const char* version : {"-128", "127", "+5", "-0", "007"}) {
        const std::string document =
            "<ReportStrategies Version=\"" + std::string(version) + "\" Minor=\"0\"/>";
        EXPECT_EQ(errorOf(document), "") << version;
        EXPECT_TRUE(reports::isValidBySchema(kStrategySchema, document)) << version;
    }
}

TEST_F(ReportStrategyParserTest, AgreesWithTheSchemaOnAWholeFile) {
    EXPECT_TRUE(reports::isValidBySchema(
        kStrategySchema,
        fileOf("<Tool Major=\"2026\" Minor=\"x\"/>" +
               strategyOf("<Step/><Step Id=\"place\"><Spec/><Spec Name=\"report_io\""
                          " DisplayName=\"\" Version=\"1\" Minor=\"0\"><Option/><Option"
                          " name=\"a\" type=\"b\" def_value=\"c\">text</Option></Spec>"
                          "</Step>"))));
}

TEST_F(ReportStrategyParserTest, RefusesHostileFiles) {
    EXPECT_EQ(errorOf("<!DOCTYPE a [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;\">]>" +
                      ioOf("<Option name=\"&b;\"/>"))
                  .substr(0, 39),
              "1: a DOCTYPE isn't allowed in this file");
    std::string deep;
    for (int i = 0; i < 10000; ++i)
        deep += "<Step>";
    EXPECT_EQ(errorOf(deep).substr(0, 33), "1: elements nested deeper than 64");
    EXPECT_EQ(
        errorOf(ioOf("<Option name=\"" + std::string((1 << 20) + 1, 'x') + "\"/>")).substr(0, 54),
        "1: the attribute \"name\" is longer than 1048576 bytes. ");
    EXPECT_EQ(errorOf("<?xml version=\"1.0\" encoding=\"UTF-7\"?>" + ioOf("")).substr(0, 23),
              "1: the encoding \"UTF-7\"");
    EXPECT_NE(errorOf(ioOf("<Option name=\"\xFF\"/>")), "");
    EXPECT_TRUE(take().empty());
}

TEST_F(ReportStrategyParserTest, RefusesAFileThatCannotBeRead) {
    EXPECT_EQ(reports::outputOf(
                  [this] { EXPECT_THROW(m_parser.parseStrategies(path()), HXMLException); }),
              path() + ":0: Error: No such file or directory\n");
    m_dir.folder("strategy.xml");
    reports::outputOf([this] { EXPECT_THROW(m_parser.parseStrategies(path()), HXMLException); });
    EXPECT_TRUE(take().empty());
}

TEST_F(ReportStrategyParserTest, RefusesAFileCutAtAnyByte) {
    const std::string whole =
        "<?xml version=\"1.0\"?>" + ioOf("<Option name=\"count\" def_value=\"5\"/>");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(errorOf(whole.substr(0, length)), "") << length;
        EXPECT_TRUE(take().empty()) << length;
    }
    EXPECT_EQ(valueOf(readReport(whole)->getOptions(), "count"), "5");
}

TEST_F(ReportStrategyParserTest, TakesOrRefusesAFileWithAnyByteChanged) {
    const std::string whole = fileOf("<Tool Major=\"2026\" Minor=\"1\"/>" + strategyOf("", "A") +
                                     strategyOf("<Step Id=\"place\"><Spec Name=\"report_io\""
                                                " Version=\"1\" Minor=\"0\"><Option name=\"count\""
                                                " def_value=\"5\"/></Spec></Step>"));
    int readFiles = 0;
    int refusedFiles = 0;
    ::testing::internal::CaptureStderr();
    reports::outputOf([&] {
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (const char byte : {'\0', '<', '"', '/', 'x', '9', '\xFF'}) {
                std::string changed = whole;
                changed[at] = byte;
                if (isRead(changed))
                    ++readFiles;
                else
                    ++refusedFiles;
                EXPECT_LE(take().size(), 2u);
            }
        }
    });
    ::testing::internal::GetCapturedStderr();
    EXPECT_GT(readFiles, 100);
    EXPECT_GT(refusedFiles, 100);
}

}  // namespace
