// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpecParser.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <unistd.h>

#include "environment/containers/HSTKeyValIter.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/errors/HXMLException.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"
#include "tests/unit/runs/xpreport/schemaFile.h"

namespace {

namespace reports = test::reports;

using reports::FaultCase;
using reports::valueOf;

constexpr char kCatalogueSchema[] = "report-catalogue.xsd";

/// A report of the version 1.0 with this inside.
std::string reportOf(const std::string& content, const std::string& name = "report_io") {
    return "<ReportSpec name=\"" + name +
           "\" short_description=\"about\" Version=\"1\" Minor=\"0\">" + content + "</ReportSpec>";
}

std::string catalogueOf(const std::string& reports) {
    return "<Reports>" + reports + "</Reports>";
}

std::string optionsOf(const std::string& options) {
    return catalogueOf(reportOf("<Options>" + options + "</Options>"));
}

/// A catalogue that is filled from a file "report.xml" in a folder of its own.
/// Messages are recorded.
class ReportSpecParserTest : public ::testing::Test {
protected:
    std::string path() const { return m_dir.path("report.xml"); }

    void read(const std::string& document) {
        m_dir.mark("report.xml", document);
        HAXRReportSpecParser(m_catalogue.get(), path()).parseReportSpecs();
    }

    HAXRReportSpec* spec(const std::string& name = "report_io",
                         const VersionInfo& version = {1, 0}) const {
        return m_catalogue->find(name, version);
    }

    /// The options of the one report of a document.
    HATOptGroup* readOptions(const std::string& options) {
        read(optionsOf(options));
        return spec() == nullptr ? nullptr : spec()->getOptions();
    }

    int reportCount() const {
        m_catalogue->populateLatestSpecs();
        int count = 0;
        const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> reports(
            m_catalogue->createReportSpecIterator());
        for (; reports->hasNext(); ++count)
            reports->next();
        return count;
    }

    /// What reading throws, behind "<path>, line "; what it prints goes to
    /// m_output. Empty when nothing is thrown.
    std::string errorOf(const std::string& document) {
        std::string text;
        m_output = reports::outputOf([&] {
            try {
                read(document);
            } catch (const HXMLException& error) {
                text = error.what();
                EXPECT_EQ(error.getMsgId(), "1-126");
            }
        });
        const std::string prefix = path() + ", line ";
        EXPECT_EQ(text.substr(0, prefix.size()), text.empty() ? "" : prefix);
        return text.empty() ? text : text.substr(prefix.size());
    }

    /// What is wrong with a document that is no catalogue, behind its path; its
    /// reports must not be known.
    std::string faultOf(const std::string& document) {
        m_messages.clear();
        read(document);
        EXPECT_EQ(reportCount(), 0);
        if (m_messages.ids() != std::vector<std::string>{"36-367"})
            return "no message";
        EXPECT_EQ(m_messages.messages()[0].domain, "runs");
        EXPECT_EQ(m_messages.messages()[0].mask, ComMsgMgr::kError);
        return m_messages.messages()[0].args.at(0).substr(path().size());
    }

    test::RunDir m_dir;
    test::MessageRecorder m_messages;
    std::unique_ptr<HAXRReportSpecMgr> m_catalogue = std::make_unique<HAXRReportSpecMgr>();
    std::string m_output;
};

TEST_F(ReportSpecParserTest, NeedsItsFileBeforeAnythingIsRead) {
    EXPECT_EQ(test::thrownText<HEXFileNotFoundException>(
                  [this] { HAXRReportSpecParser(m_catalogue.get(), path()); }),
              path());
}

TEST_F(ReportSpecParserTest, ReadsAnEmptyCatalogue) {
    read("<?xml version=\"1.0\"?>\n<Reports>\n</Reports>\n");
    read("<Reports/>");
    EXPECT_EQ(reportCount(), 0);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, ReadsAReport) {
    read("<Reports><ReportSpec name=\"report_timing_summary\" displayName=\"report_my_timing\""
         " short_description=\"Slack &amp; more\" Version=\"2\" Minor=\"7\"/></Reports>");
    const HAXRReportSpec* const report = spec("report_timing_summary", {2, 7});
    ASSERT_NE(report, nullptr);
    EXPECT_EQ(report->getName(), "report_timing_summary");
    EXPECT_EQ(report->getDisplayName(), "My Timing");
    EXPECT_EQ(report->getShortDescription(), "Slack & more");
    EXPECT_EQ(report->getSpecType(), HAXRTypes::REPORT_TIMING_SUMMARY);
    EXPECT_EQ(report->getVersion(), (VersionInfo{2, 7}));
    EXPECT_EQ(report->getOptions()->getOptGrpId(), "OPTIONS");
    EXPECT_EQ(report->getOptions()->getOptGrpPrettyDisplayName(), "report_timing_summary");
    EXPECT_EQ(report->getOutputOptions(), nullptr);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, ShowsAReportByItsNameWithoutADisplayName) {
    read(catalogueOf(reportOf("", "report_clock_networks")));
    EXPECT_EQ(spec("report_clock_networks")->getDisplayName(), "Clock Networks");
    read("<Reports><ReportSpec name=\"report_io\" displayName=\"\" short_description=\"\""
         " Version=\"1\" Minor=\"0\"/></Reports>");
    EXPECT_EQ(spec()->getDisplayName(), "IO");
}

TEST_F(ReportSpecParserTest, TakesAReportOfNoKind) {
    read(catalogueOf(reportOf("", "report_foo")));
    ASSERT_NE(spec("report_foo"), nullptr);
    EXPECT_EQ(spec("report_foo")->getSpecType(), HAXRTypes::REPORT_OTHER);
}

TEST_F(ReportSpecParserTest, ReadsUnicode) {
    read("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + optionsOf("<Option name=\"\xE4\""
                                                                       " type=\"string\"/>"));
    EXPECT_EQ(reports::namesOf(spec()->getOptions())[0], "\xC3\xA4");
}

TEST_F(ReportSpecParserTest, KeepsEachVersionOfAReport) {
    read("<Reports>"
         "<ReportSpec name=\"report_io\" short_description=\"a\" Version=\"1\" Minor=\"0\"/>"
         "<ReportSpec name=\"report_io\" short_description=\"b\" Version=\"1\" Minor=\"1\"/>"
         "</Reports>");
    m_catalogue->populateLatestSpecs();
    EXPECT_EQ(spec("report_io", {1, 0})->getShortDescription(), "a");
    EXPECT_EQ(m_catalogue->find("report_io")->getShortDescription(), "b");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, KeepsTheFirstOfTwoEntriesOfAVersion) {
    read("<Reports>"
         "<ReportSpec name=\"report_io\" short_description=\"a\" Version=\"1\" Minor=\"3\"/>"
         "<ReportSpec name=\"report_io\" short_description=\"b\" Version=\"1\" Minor=\"3\"/>"
         "<ReportSpec name=\"report_drc\" short_description=\"c\" Version=\"1\" Minor=\"3\"/>"
         "</Reports>");
    EXPECT_EQ(spec("report_io", {1, 3})->getShortDescription(), "a");
    EXPECT_NE(spec("report_drc", {1, 3}), nullptr);
    EXPECT_EQ(m_messages.summaries(),
              std::vector<std::string>{"runs WARNING 36-390(report_io, 1, 3)"});
}

TEST_F(ReportSpecParserTest, NeverTakesTheVersionZeroAsADuplicate) {
    const std::string entry = "<ReportSpec name=\"report_io\" short_description=\"a\""
                              " Version=\"0\" Minor=\"0\"/>";
    read(catalogueOf(entry + entry));
    EXPECT_EQ(m_messages.summaries(),
              (std::vector<std::string>(2, "runs WARNING 36-372(report_io)")));
    m_catalogue->populateLatestSpecs();
    ASSERT_NE(m_catalogue->find("report_io"), nullptr);
    EXPECT_EQ(m_catalogue->find("report_io")->getVersion(), VersionInfo{});
}

TEST_F(ReportSpecParserTest, TakesVersionsOverTwoBillionAsNegative) {
    read("<Reports>"
         "<ReportSpec name=\"report_io\" short_description=\"a\" Version=\"4294967295\""
         " Minor=\"2147483648\"/>"
         "<ReportSpec name=\"report_io\" short_description=\"b\" Version=\"1\" Minor=\"0\"/>"
         "</Reports>");
    EXPECT_NE(spec("report_io", {-1, -2147483647 - 1}), nullptr);
    m_catalogue->populateLatestSpecs();
    EXPECT_EQ(m_catalogue->find("report_io")->getShortDescription(), "b");
}

TEST_F(ReportSpecParserTest, AddsToWhatTheCatalogueHas) {
    read(catalogueOf(reportOf("", "report_io")));
    read(catalogueOf(reportOf("", "report_io") + reportOf("", "report_drc")));
    EXPECT_EQ(reportCount(), 2);
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"36-390"});
}

// Options -----------------------------------------------------------------

TEST_F(ReportSpecParserTest, EndsTheOptionsOfEveryReportWithMoreOptions) {
    const HATOptGroup* options = readOptions("<Option name=\"a\" type=\"string\"/>");
    EXPECT_EQ(reports::namesOf(options), (std::vector<std::string>{"a", "MORE_OPTIONS"}));
    const HATAttrSpec* more = reports::optionOf(options, "MORE_OPTIONS");
    EXPECT_EQ(more->getAttrType(), HATAttrTypes::kString);
    EXPECT_EQ(more->getDescription(), "Use this field to specify additional options");
    EXPECT_EQ(more->getStringDefault(), "");
    EXPECT_EQ(options->getOptionsSpec()->getDbId(more), "MORE_OPTIONS");
    read(catalogueOf(reportOf("", "report_drc")));
    EXPECT_EQ(reports::namesOf(spec("report_drc")->getOptions()),
              std::vector<std::string>{"MORE_OPTIONS"});
}

TEST_F(ReportSpecParserTest, TreatsAnOptionNamedMoreOptionsLikeAnyOther) {
    const HATOptGroup* options =
        readOptions("<Option name=\"MORE_OPTIONS\" type=\"int\" def_value=\"1\"/>");
    EXPECT_EQ(reports::namesOf(options), (std::vector<std::string>(2, "MORE_OPTIONS")));
    EXPECT_EQ(valueOf(options, "MORE_OPTIONS"), "1");
}

TEST_F(ReportSpecParserTest, KeepsOptionsInOrderUnderTheirNames) {
    const HATOptGroup* options =
        readOptions("<Option name=\"b\" type=\"bool\"/>"
                    "<Option name=\"a\" type=\"string\" description=\"x\"/>");
    EXPECT_EQ(reports::namesOf(options), (std::vector<std::string>{"b", "a", "MORE_OPTIONS"}));
    EXPECT_NE(options->getAttrSpecForDbId("a"), nullptr);
    EXPECT_EQ(options->getOptionsSpec()->getInvokeStr(reports::optionOf(options, "a")), "");
    EXPECT_EQ(reports::optionOf(options, "a")->getDescription(), "");
    EXPECT_FALSE(reports::optionOf(options, "a")->isReadOnly());
}

TEST_F(ReportSpecParserTest, DropsAnIntegerWhoseDefaultIsNone) {
    const HATOptGroup* options = readOptions("<Option name=\"a\" type=\"int\" def_value=\"1x\"/>"
                                             "<Option name=\"b\" type=\"int\" def_value=\" \"/>"
                                             "<Option name=\"c\" type=\"int\" def_value=\"2\"/>");
    EXPECT_EQ(reports::namesOf(options), (std::vector<std::string>{"c", "MORE_OPTIONS"}));
    EXPECT_EQ(m_messages.summaries(),
              (std::vector<std::string>{"runs WARNING 36-394(report.xml, 1x, a)",
                                        "runs WARNING 36-394(report.xml,  , b)"}));
}

TEST_F(ReportSpecParserTest, DropsAnOptionOfAnUnknownTypeSilently) {
    EXPECT_EQ(reports::namesOf(readOptions("<Option name=\"a\" type=\"Integer\" def_value=\"1\"/>"
                                           "<Option name=\"b\" type=\"\"/>"
                                           "<Option name=\"c\" type=\" int\"/>")),
              std::vector<std::string>{"MORE_OPTIONS"});
    EXPECT_TRUE(m_messages.ids().empty());
}

/// A type and a default, and what the option is.
struct OptionCase {
    const char* name;
    const char* attributes;
    HATAttrTypes::AttrType kind;
    const char* value;
};

std::ostream& operator<<(std::ostream& os, const OptionCase& row) {
    return os << row.name;
}

class ReportOptionTable : public ReportSpecParserTest,
                          public ::testing::WithParamInterface<OptionCase> {};

TEST_P(ReportOptionTable, IsDeclared) {
    const HATOptGroup* options =
        readOptions("<Option name=\"o\" " + std::string(GetParam().attributes) + "/>");
    EXPECT_EQ(reports::optionOf(options, "o")->getAttrType(), GetParam().kind);
    EXPECT_EQ(valueOf(options, "o"), GetParam().value);
    EXPECT_TRUE(options->isDefault(reports::optionOf(options, "o")));
    EXPECT_TRUE(m_messages.ids().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Options, ReportOptionTable,
    ::testing::Values(
        OptionCase{"BoolOne", R"(type="bool" def_value="1")", HATAttrTypes::kBool, "true"},
        OptionCase{"BoolTrue", R"(type="bool" def_value="true")", HATAttrTypes::kBool, "true"},
        OptionCase{"BoolTrueInCapitals", R"(type="BOOL" def_value="TRUE")", HATAttrTypes::kBool,
                   "true"},
        OptionCase{"BoolYes", R"(type="bool" def_value="yes")", HATAttrTypes::kBool, "false"},
        OptionCase{"BoolZero", R"(type="bool" def_value="0")", HATAttrTypes::kBool, "false"},
        OptionCase{"BoolEmpty", R"(type="bool" def_value="")", HATAttrTypes::kBool, "false"},
        OptionCase{"BoolAbsent", R"(type="Bool")", HATAttrTypes::kBool, "false"},
        OptionCase{"Int", R"(type="int" def_value="12")", HATAttrTypes::kInt, "12"},
        OptionCase{"IntZero", R"(type="INT" def_value="0")", HATAttrTypes::kInt, "0"},
        OptionCase{"IntNegative", R"(type="int" def_value="-7")", HATAttrTypes::kInt, "-7"},
        OptionCase{"IntEmpty", R"(type="int" def_value="")", HATAttrTypes::kString, ""},
        OptionCase{"IntAbsent", R"(type="int")", HATAttrTypes::kString, ""},
        OptionCase{"String", R"(type="string" def_value=" a b ")", HATAttrTypes::kString, " a b "},
        OptionCase{"StringEmpty", R"(type="String" def_value="")", HATAttrTypes::kString, ""},
        OptionCase{"StringAbsent", R"(type="string")", HATAttrTypes::kString, ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReportSpecParserTest, ReadsOutputOptionsThatCanOnlyBeLookedAt) {
    read(catalogueOf(
        reportOf("<Options/><OutputOptions>"
                 "<OutputOption name=\"file\" type=\"STRING\" def_value=\"io.rpt\"/>"
                 "<OutputOption name=\"pb\" type=\"string\" def_value=\"\" description=\"d\"/>"
                 "<OutputOption name=\"n\" type=\"int\" def_value=\"1\"/>"
                 "</OutputOptions>")));
    const HATOptGroup* const options = spec()->getOutputOptions();
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(options->getOptGrpId(), "OPTIONS");
    EXPECT_EQ(options->getOptGrpPrettyDisplayName(), "report_io");
    EXPECT_EQ(reports::namesOf(options), (std::vector<std::string>{"file", "pb"}));
    EXPECT_EQ(valueOf(options, "file"), "io.rpt");
    EXPECT_EQ(valueOf(options, "pb"), "");
    for (const char* name : {"file", "pb"})
        EXPECT_TRUE(reports::optionOf(options, name)->isReadOnly());
    EXPECT_EQ(reports::namesOf(spec()->getOptions()), std::vector<std::string>{"MORE_OPTIONS"});
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, MakesAnEmptyGroupOfOutputOptionsThatAreAllDropped) {
    read(catalogueOf(reportOf("<OutputOptions>"
                              "<OutputOption name=\"n\" type=\"int\" def_value=\"1\"/>"
                              "</OutputOptions>") +
                     reportOf("<OutputOptions/>", "report_drc")));
    for (const char* name : {"report_io", "report_drc"}) {
        ASSERT_NE(spec(name)->getOutputOptions(), nullptr);
        EXPECT_TRUE(reports::namesOf(spec(name)->getOutputOptions()).empty());
    }
}

// Documents that are no catalogue -----------------------------------------

/// The complaints name the line behind a colon.
class ReportCatalogueFaultTable : public ReportSpecParserTest,
                                  public ::testing::WithParamInterface<FaultCase> {};

TEST_P(ReportCatalogueFaultTable, AddsNothingAndNamesTheLine) {
    EXPECT_EQ(faultOf(GetParam().document), GetParam().fault);
    EXPECT_EQ(m_messages.ids().size(), 1u);
}

TEST_P(ReportCatalogueFaultTable, BreaksTheSchemaToo) {
    EXPECT_FALSE(reports::isValidBySchema(kCatalogueSchema, GetParam().document));
}

#define IO_REPORT "<ReportSpec name=\"report_io\" short_description=\"\" Version=\"1\" Minor=\"0\">"

INSTANTIATE_TEST_SUITE_P(
    Documents, ReportCatalogueFaultTable,
    ::testing::Values(
        FaultCase{"OtherRoot", "<Report/>",
                  ":1: the root element is \"Report\" in the place of \"Reports\""},
        FaultCase{"OtherCase", "<reports/>",
                  ":1: the root element is \"reports\" in the place of \"Reports\""},
        FaultCase{"UnknownElement", "<Reports>\n" IO_REPORT "</ReportSpec>\n<Spec/></Reports>",
                  ":3: the element \"Spec\" isn't allowed here in \"Reports\""},
        FaultCase{"OptionInReports", "<Reports><Option name=\"a\" type=\"string\"/></Reports>",
                  ":1: the element \"Option\" isn't allowed here in \"Reports\""},
        FaultCase{"WrongOrder",
                  "<Reports>\n" IO_REPORT "\n<OutputOptions/>\n<Options/></ReportSpec></Reports>",
                  ":4: the element \"Options\" isn't allowed here in \"ReportSpec\""},
        FaultCase{"OptionsTwice",
                  "<Reports>" IO_REPORT "<Options/>\n<Options/></ReportSpec></Reports>",
                  ":2: the element \"Options\" isn't allowed here in \"ReportSpec\""},
        FaultCase{"OutputOptionsTwice",
                  "<Reports>" IO_REPORT "<OutputOptions/>\n<OutputOptions/></ReportSpec></Reports>",
                  ":2: the element \"OutputOptions\" isn't allowed here in \"ReportSpec\""},
        FaultCase{"ChildOfOption",
                  "<Reports>" IO_REPORT "<Options><Option name=\"a\" type=\"string\">\n<x/>"
                  "</Option></Options></ReportSpec></Reports>",
                  ":2: the element \"x\" isn't allowed here in \"Option\""},
        FaultCase{"OutputOptionInOptions",
                  "<Reports>" IO_REPORT "<Options><OutputOption name=\"a\" type=\"string\""
                  " def_value=\"\"/></Options></ReportSpec></Reports>",
                  ":1: the element \"OutputOption\" isn't allowed here in \"Options\""},
        FaultCase{"Text", "<Reports>\n" IO_REPORT "text</ReportSpec></Reports>",
                  ":2: \"ReportSpec\" can't hold text"},
        FaultCase{"NoName",
                  "<Reports>\n<ReportSpec short_description=\"\" Version=\"1\" Minor=\"0\"/>"
                  "</Reports>",
                  ":2: \"ReportSpec\" lacks the attribute \"name\""},
        FaultCase{"NoDescription",
                  "<Reports><ReportSpec name=\"a\" Version=\"1\" Minor=\"0\"/></Reports>",
                  ":1: \"ReportSpec\" lacks the attribute \"short_description\""},
        FaultCase{"NoVersion",
                  "<Reports><ReportSpec name=\"a\" short_description=\"\" Minor=\"0\"/></Reports>",
                  ":1: \"ReportSpec\" lacks the attribute \"Version\""},
        FaultCase{
            "NoMinor",
            "<Reports><ReportSpec name=\"a\" short_description=\"\" Version=\"0\"/></Reports>",
            ":1: \"ReportSpec\" lacks the attribute \"Minor\""},
        FaultCase{"NoOptionName",
                  "<Reports>" IO_REPORT "<Options>\n<Option type=\"int\"/></Options>"
                  "</ReportSpec></Reports>",
                  ":2: \"Option\" lacks the attribute \"name\""},
        FaultCase{"NoOptionType",
                  "<Reports>" IO_REPORT "<Options>\n<Option name=\"a\"/></Options>"
                  "</ReportSpec></Reports>",
                  ":2: \"Option\" lacks the attribute \"type\""},
        FaultCase{"NoOutputOptionDefault",
                  "<Reports>" IO_REPORT "<OutputOptions><OutputOption name=\"a\" type=\"string\"/>"
                  "</OutputOptions></ReportSpec></Reports>",
                  ":1: \"OutputOption\" lacks the attribute \"def_value\""},
        FaultCase{"FaultBehindAGoodReport",
                  "<Reports>" IO_REPORT "</ReportSpec>\n<ReportSpec/></Reports>",
                  ":2: \"ReportSpec\" lacks the attribute \"name\""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReportSpecParserTest, TakesVersionsOfThirtyTwoBitsAlone) {
    const auto withVersion = [](const std::string& number) {
        return "<Reports><ReportSpec name=\"a\" short_description=\"\" Version=\"" + number +
               "\" Minor=\"7\"/></Reports>";
    };
    for (const char* bad : {"", " ", "-", "-1", "4294967296", "1.0", "0x1", "one", "1 2",
                            "99999999999999999999999999999"}) {
        EXPECT_EQ(faultOf(withVersion(bad)),
                  ":1: the attribute \"Version\" of \"ReportSpec\" is \"" + std::string(bad) +
                      "\", which is no whole number from 0 to 4294967295");
        EXPECT_FALSE(reports::isValidBySchema(kCatalogueSchema, withVersion(bad))) << bad;
    }
    for (const char* good : {"0", "5", "0000000000000000000000005", "4294967295"}) {
        m_catalogue = std::make_unique<HAXRReportSpecMgr>();
        read(withVersion(good));
        EXPECT_EQ(reportCount(), 1) << good;
        EXPECT_TRUE(reports::isValidBySchema(kCatalogueSchema, withVersion(good))) << good;
    }
}

TEST_F(ReportSpecParserTest, PassesOverBlanksAroundAVersion) {
    read("<Reports><ReportSpec name=\"a\" short_description=\"\" Version=\" 5\n\" Minor=\"\t7\"/>"
         "</Reports>");
    EXPECT_NE(spec("a", {5, 7}), nullptr);
}

TEST_F(ReportSpecParserTest, PassesOverAttributesThatItDoesNotKnow) {
    read("<Reports xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
         " xsi:noNamespaceSchemaLocation=\"report-catalogue.xsd\" more=\"1\"/>");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, AgreesWithTheSchemaOnAWholeCatalogue) {
    const std::string document = catalogueOf(
        reportOf("<Options><Option name=\"a\" type=\"odd\" def_value=\"\" description=\"\"/>"
                 "</Options><OutputOptions><OutputOption name=\"f\" type=\"string\""
                 " def_value=\"\" description=\"\"/></OutputOptions>") +
        reportOf("", "report_drc"));
    read(document);
    EXPECT_EQ(reportCount(), 2);
    EXPECT_TRUE(reports::isValidBySchema(kCatalogueSchema, document));
}

// Files that are no XML ---------------------------------------------------

TEST_F(ReportSpecParserTest, TellsOutputAndCallerOfAFileThatIsNoXml) {
    EXPECT_EQ(errorOf("<Reports>\n<ReportSpec></Reports>").substr(0, 3), "2: ");
    const std::string prefix = path() + ":2: Error: ";
    EXPECT_EQ(m_output.substr(0, prefix.size()), prefix);
    EXPECT_GT(m_output.size(), prefix.size() + 1);
    EXPECT_EQ(m_output.find('\n'), m_output.size() - 1);
    EXPECT_TRUE(m_messages.ids().empty());
    EXPECT_EQ(reportCount(), 0);
}

TEST_F(ReportSpecParserTest, GivesTheLineZeroToAReasonWithoutOne) {
    EXPECT_EQ(errorOf(""), "0: the file is empty. Correct the file there, or put a good copy in "
                           "its place, and read it again.");
    EXPECT_EQ(m_output, path() + ":0: Error: the file is empty\n");
}

TEST_F(ReportSpecParserTest, RefusesHostileFiles) {
    const std::string bomb = "<!DOCTYPE Reports [<!ENTITY a \"xxxxxxxxxx\">"
                             "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>" +
                             optionsOf("<Option name=\"&b;\" type=\"string\"/>");
    EXPECT_EQ(errorOf(bomb).substr(0, 40), "1: a DOCTYPE isn't allowed in this file.");
    std::string deep;
    for (int i = 0; i < 10000; ++i)
        deep += "<Reports>\n";
    EXPECT_EQ(errorOf(deep).substr(0, 35), "65: elements nested deeper than 64.");
    const std::string wide =
        optionsOf("<Option type=\"int\" name=\"" + std::string((1 << 20) + 1, 'x') + "\"/>");
    EXPECT_EQ(errorOf(wide).substr(0, 58),
              "1: the attribute \"name\" is longer than 1048576 bytes. Corr");
    EXPECT_EQ(reportCount(), 0);
}

TEST_F(ReportSpecParserTest, RefusesAnAttributeOfAGigabyteWithoutReadingIt) {
    // The disk holds its beginning alone.
    m_dir.mark("report.xml", "<Reports><ReportSpec name=\"");
    ASSERT_EQ(::truncate(path().c_str(), off_t{1} << 30), 0);
    const HAXRReportSpecParser parser(m_catalogue.get(), path());
    const std::string told =
        reports::outputOf([&] { EXPECT_THROW(parser.parseReportSpecs(), HXMLException); });
    EXPECT_EQ(told.rfind(path() + ":0: Error: Larger than ", 0), 0U) << told;
    EXPECT_EQ(reportCount(), 0);
}

TEST_F(ReportSpecParserTest, RefusesWrongEncodings) {
    EXPECT_NE(errorOf("<?xml version=\"1.0\" encoding=\"EBCDIC\"?><Reports/>"), "");
    EXPECT_NE(errorOf(optionsOf("<Option name=\"\xFF\" type=\"string\"/>")), "");
    EXPECT_NE(errorOf("<Reports>\x01</Reports>"), "");
    EXPECT_NE(errorOf(std::string("<\0R\0e", 5)), "");
}

TEST_F(ReportSpecParserTest, ReadsUtf16) {
    const std::string narrow = "<Reports></Reports>";
    std::string wide = "\xFF\xFE";
    for (const char c : narrow)
        wide += {c, '\0'};
    EXPECT_EQ(errorOf(wide), "");
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, RefusesAFolder) {
    m_dir.folder("report.xml/inside");
    const HAXRReportSpecParser parser(m_catalogue.get(), path());
    reports::outputOf([&] { EXPECT_THROW(parser.parseReportSpecs(), HXMLException); });
}

TEST_F(ReportSpecParserTest, RefusesAFileCutAtAnyByte) {
    const std::string whole =
        "<?xml version=\"1.0\"?>" + optionsOf("<Option name=\"a\" type=\"int\" def_value=\"1\"/>");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(errorOf(whole.substr(0, length)), "") << length;
        EXPECT_EQ(reportCount(), 0) << length;
    }
    EXPECT_EQ(errorOf(whole), "");
    EXPECT_EQ(reportCount(), 1);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecParserTest, TellsAFileThatVanishedAfterItWasFound) {
    m_dir.mark("report.xml", "<Reports/>");
    const HAXRReportSpecParser parser(m_catalogue.get(), path());
    m_dir.unmark("report.xml");
    EXPECT_EQ(reports::outputOf([&] { EXPECT_THROW(parser.parseReportSpecs(), HXMLException); }),
              path() + ":0: Error: No such file or directory\n");
}

}  // namespace
