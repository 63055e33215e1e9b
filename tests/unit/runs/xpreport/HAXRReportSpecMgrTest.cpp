// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpecMgr.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "environment/containers/HSTKeyValIter.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/errors/HXMLException.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

namespace reports = test::reports;

using reports::makeReport;

/// A catalogue of its own. Messages are recorded.
class ReportSpecMgrTest : public ::testing::Test {
protected:
    HAXRReportSpec* add(const std::string& name, const VersionInfo& version) {
        HAXRReportSpec* const spec = makeReport(name, {reports::text("a", "x")}, version).release();
        m_catalogue.addReportSpec(spec);
        return spec;
    }

    std::vector<std::string> listedNames() const {
        std::vector<std::string> names;
        using Entry = std::pair<std::string, HAXRReportSpec*>;
        for (const Entry& entry : test::drain<Entry>(m_catalogue.createReportSpecIterator()))
            names.push_back(entry.first);
        return names;
    }

    test::MessageRecorder m_messages;
    HAXRReportSpecMgr m_catalogue;
};

TEST_F(ReportSpecMgrTest, IsOneForTheProcess) {
    ASSERT_NE(HAXRReportSpecMgr::getGlobal(), nullptr);
    EXPECT_EQ(HAXRReportSpecMgr::getGlobal(), HAXRReportSpecMgr::getGlobal());
}

TEST_F(ReportSpecMgrTest, IsEmptyAtFirst) {
    m_catalogue.populateLatestSpecs();
    EXPECT_TRUE(listedNames().empty());
}

TEST_F(ReportSpecMgrTest, WarnsOfAnUnknownReport) {
    add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_drc"), nullptr);
    EXPECT_EQ(m_catalogue.getReportSpec("report_drc"), nullptr);
    EXPECT_EQ(m_messages.summaries(),
              (std::vector<std::string>(2, "runs WARNING 36-372(report_drc)")));
}

TEST_F(ReportSpecMgrTest, FindsAVersionAndTheLatest) {
    HAXRReportSpec* const older = add("report_io", {1, 0});
    HAXRReportSpec* const newer = add("report_io", {1, 2});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io"), newer);
    EXPECT_EQ(m_catalogue.find("report_io", {1, 0}), older);
    EXPECT_EQ(m_catalogue.find("report_io", {1, 2}), newer);
    EXPECT_EQ(m_catalogue.find("report_io", {0, 0}), newer);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecMgrTest, IsSilentAboutAnUnknownVersion) {
    add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io", {2, 0}), nullptr);
    EXPECT_EQ(m_catalogue.find("report_io", {1, 1}), nullptr);
    EXPECT_EQ(m_catalogue.find("report_drc", {1, 0}), nullptr);
    EXPECT_EQ(m_catalogue.getReportSpec("report_io", {2, 0}), nullptr);
    EXPECT_TRUE(m_messages.ids().empty());
}

TEST_F(ReportSpecMgrTest, WarnsWhenTheLatestOfAnUnknownReportIsAskedForByVersion) {
    EXPECT_EQ(m_catalogue.find("report_io", {0, 0}), nullptr);
    EXPECT_EQ(m_catalogue.getReportSpec("report_io", {0, 0}), nullptr);
    EXPECT_EQ(m_messages.ids(), (std::vector<std::string>{"36-372", "36-372"}));
}

TEST_F(ReportSpecMgrTest, FindsByVersionAloneUntilTheLatestArePicked) {
    HAXRReportSpec* const spec = add("report_io", {1, 0});
    EXPECT_EQ(m_catalogue.find("report_io", {1, 0}), spec);
    EXPECT_EQ(m_catalogue.find("report_io"), nullptr);
    EXPECT_TRUE(listedNames().empty());
}

TEST_F(ReportSpecMgrTest, ComparesNamesExactly) {
    add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("Report_io"), nullptr);
    EXPECT_EQ(m_catalogue.find("Report_io", {1, 0}), nullptr);
}

TEST_F(ReportSpecMgrTest, PicksTheGreatestVersionWhateverTheOrder) {
    HAXRReportSpec* const major = add("report_io", {2, 0});
    add("report_io", {1, 9});
    add("report_drc", {1, 1});
    HAXRReportSpec* const minor = add("report_drc", {1, 10});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io"), major);
    EXPECT_EQ(m_catalogue.find("report_drc"), minor);
}

TEST_F(ReportSpecMgrTest, PicksTheFirstOfEqualVersions) {
    HAXRReportSpec* const first = add("report_io", {1, 0});
    add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io"), first);
    EXPECT_EQ(m_catalogue.find("report_io", {1, 0}), first);
}

TEST_F(ReportSpecMgrTest, ComparesVersionsAsSignedNumbers) {
    HAXRReportSpec* const one = add("report_io", {1, 0});
    add("report_io", {-1, 0});
    add("report_io", {1, -5});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io"), one);
}

TEST_F(ReportSpecMgrTest, NeverReplacesALatestVersion) {
    HAXRReportSpec* const first = add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    HAXRReportSpec* const later = add("report_io", {2, 0});
    HAXRReportSpec* const other = add("report_drc", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(m_catalogue.find("report_io"), first);
    EXPECT_EQ(m_catalogue.find("report_io", {2, 0}), later);
    EXPECT_EQ(m_catalogue.find("report_drc"), other);
}

TEST_F(ReportSpecMgrTest, IgnoresNull) {
    m_catalogue.addReportSpec(nullptr);
    m_catalogue.populateLatestSpecs();
    EXPECT_TRUE(listedNames().empty());
}

TEST_F(ReportSpecMgrTest, ListsTheLatestVersionsByName) {
    add("report_io", {1, 0});
    HAXRReportSpec* const newer = add("report_io", {2, 0});
    add("report_drc", {1, 0});
    add("Report", {1, 0});
    m_catalogue.populateLatestSpecs();
    EXPECT_EQ(listedNames(), (std::vector<std::string>{"Report", "report_drc", "report_io"}));
    using Entry = std::pair<std::string, HAXRReportSpec*>;
    EXPECT_EQ(test::drain<Entry>(m_catalogue.createReportSpecIterator()).back().second, newer);
}

TEST_F(ReportSpecMgrTest, HandsOutCopiesThatChangeNothing) {
    HAXRReportSpec* const spec = add("report_io", {1, 0});
    m_catalogue.populateLatestSpecs();
    for (auto* ownedCopy :
         {m_catalogue.getReportSpec("report_io"), m_catalogue.getReportSpec("report_io", {1, 0})}) {
        const std::unique_ptr<HAXRReportSpec> copy(ownedCopy);
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy.get(), spec);
        EXPECT_EQ(copy->getVersion(), (VersionInfo{1, 0}));
        reports::setText(copy->getOptions(), "a", "changed");
        const std::unique_ptr<HATOptGroup> group(copy->getOptions());
        copy->setOptions(nullptr);
    }
    EXPECT_EQ(reports::valueOf(spec->getOptions(), "a"), "x");
}

TEST_F(ReportSpecMgrTest, MakesStaticReports) {
    const std::unique_ptr<HAXRReportSpec> spec(m_catalogue.getStaticReportSpec("Synthesis Log"));
    EXPECT_EQ(spec->getName(), "");
    EXPECT_EQ(spec->getShortDescription(), "Synthesis Log");
    EXPECT_EQ(spec->getDisplayName(), "");
    EXPECT_EQ(spec->getSpecType(), HAXRTypes::REPORT_OTHER);
    EXPECT_EQ(spec->getVersion(), VersionInfo{});
    EXPECT_EQ(spec->getOutputOptions(), nullptr);
    ASSERT_NE(spec->getOptions(), nullptr);
    EXPECT_EQ(spec->getOptions()->getOptGrpId(), "OPTIONS");
    EXPECT_EQ(spec->getOptions()->getOptGrpPrettyDisplayName(), "");
    EXPECT_TRUE(reports::namesOf(spec->getOptions()).empty());
    EXPECT_TRUE(m_messages.ids().empty());
}

/// With an installation of its own.
class ReportCatalogueOfInstallationTest : public ReportSpecMgrTest {
protected:
    std::string path() const { return m_installation.root() + "/reportstrategies/report.xml"; }

    test::TestInstallation m_installation;
};

TEST_F(ReportCatalogueOfInstallationTest, IsReadAndItsLatestVersionsPicked) {
    m_installation.addFile(
        "reportstrategies/report.xml",
        "<Reports>"
        "<ReportSpec name='report_io' short_description='' Version='1' Minor='0'/>"
        "<ReportSpec name='report_io' short_description='' Version='1' Minor='1'/>"
        "</Reports>");
    m_catalogue.parseReportSpecs();
    ASSERT_NE(m_catalogue.find("report_io"), nullptr);
    EXPECT_EQ(m_catalogue.find("report_io")->getVersion(), (VersionInfo{1, 1}));
    EXPECT_NE(m_catalogue.find("report_io", {1, 0}), nullptr);
}

TEST_F(ReportCatalogueOfInstallationTest, MayBeMissing) {
    add("report_io", {1, 0});
    EXPECT_EQ(
        test::thrownText<HEXFileNotFoundException>([this] { m_catalogue.parseReportSpecs(); }),
        path());
    EXPECT_TRUE(listedNames().empty());
}

TEST_F(ReportCatalogueOfInstallationTest, PicksNothingWhenTheFileIsNoXml) {
    add("report_io", {1, 0});
    m_installation.addFile("reportstrategies/report.xml", "<Reports>");
    reports::outputOf([this] { EXPECT_THROW(m_catalogue.parseReportSpecs(), HXMLException); });
    EXPECT_TRUE(listedNames().empty());
}

TEST_F(ReportCatalogueOfInstallationTest, PicksWhatWasThereWhenTheFileIsNoCatalogue) {
    add("report_io", {1, 0});
    m_installation.addFile("reportstrategies/report.xml", "<Report/>");
    m_catalogue.parseReportSpecs();
    EXPECT_EQ(listedNames(), std::vector<std::string>{"report_io"});
    EXPECT_EQ(m_messages.ids(), std::vector<std::string>{"36-367"});
}

}  // namespace
