// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpec.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "environment/errors/HEXAlgException.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

namespace reports = test::reports;

using reports::flag;
using reports::makeGroup;
using reports::makeReport;
using reports::number;
using reports::text;

using Spec = std::unique_ptr<HAXRReportSpec>;

std::vector<std::string> namesOf(HSTFwdIter<HATAttrSpec*>* ownedIter) {
    std::vector<std::string> names;
    for (const HATAttrSpec* option : test::drain(ownedIter))
        names.push_back(option->getName());
    return names;
}

/// A raw display name and what is shown.
struct NameCase {
    const char* name;
    const char* raw;
    const char* shown;
};

std::ostream& operator<<(std::ostream& os, const NameCase& row) {
    return os << row.name;
}

class ReportDisplayNameTable : public ::testing::TestWithParam<NameCase> {};

TEST_P(ReportDisplayNameTable, IsShown) {
    const HAXRReportSpec spec("report_x", "", nullptr, GetParam().raw);
    EXPECT_EQ(spec.getDisplayName(), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ReportDisplayNameTable,
    ::testing::Values(
        NameCase{"Empty", "", ""}, NameCase{"Words", "report_timing_summary", "Timing Summary"},
        NameCase{"Drc", "report_drc", "DRC"}, NameCase{"Cdc", "report_cdc", "CDC"},
        NameCase{"Io", "report_io", "IO"}, NameCase{"Ssn", "report_ssn", "SSN"},
        NameCase{"InitialsAlone", "io", "IO"}, NameCase{"InitialsInCapitals", "IO", "IO"},
        NameCase{"InitialsOfMixedCase", "Drc", "Drc"},
        NameCase{"InitialsAndMore", "report_cdc_details", "Cdc Details"},
        NameCase{"InitialsFirst", "io_thing", "Io Thing"},
        NameCase{"InitialsBehindABlank", " io", " Io"},
        NameCase{"CapitalPrefix", "Report_foo", "Report Foo"},
        NameCase{"PrefixAlone", "report_", ""}, NameCase{"PrefixWithoutBlank", "report", "Report"},
        NameCase{"PrefixInside", "my_report_drc", "My Report Drc"},
        NameCase{"PrefixTwice", "report_report_io", "Report Io"},
        NameCase{"PrefixWithABlank", "report io", "IO"},
        NameCase{"InnerCapitals", "report_pinMUX", "PinMUX"},
        NameCase{"Digits", "3d_view_2x", "3d View 2x"}, NameCase{"RunOfBlanks", "a__b", "A  B"},
        NameCase{"BlankAtTheEnd", "a_", "A "}, NameCase{"Tab", "a\tb", "A\tb"},
        NameCase{"OtherLetters", "\xC3\xA4_x", "\xC3\xA4 X"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ReportSpecTest, HasNoVersionUnlessGiven) {
    const HAXRReportSpec spec("report_power", "Power of the design", makeGroup({}).release(),
                              "report_power");
    EXPECT_EQ(spec.getName(), "report_power");
    EXPECT_EQ(spec.getShortDescription(), "Power of the design");
    EXPECT_EQ(spec.getDisplayName(), "Power");
    EXPECT_EQ(spec.getSpecType(), HAXRTypes::REPORT_POWER);
    EXPECT_EQ(spec.getVersion(), VersionInfo{});
    EXPECT_TRUE(spec.getVersion().isLatest());
    EXPECT_EQ(spec.getOutputOptions(), nullptr);
}

TEST(ReportSpecTest, KeepsKindAndVersionAsGiven) {
    HATOptGroup* const group = makeGroup({}).release();
    const HAXRReportSpec spec("report_power", HAXRTypes::REPORT_IO, "", group, {3, 7}, "name");
    EXPECT_EQ(spec.getSpecType(), HAXRTypes::REPORT_IO);
    EXPECT_EQ(spec.getVersion().major, 3);
    EXPECT_EQ(spec.getVersion().minor, 7);
    EXPECT_EQ(spec.getOptions(), group);
}

TEST(ReportSpecTest, MayHaveANameThatIsNoKind) {
    EXPECT_EQ(makeReport("report_foo")->getSpecType(), HAXRTypes::REPORT_OTHER);
}

TEST(ReportSpecTest, WalksItsOptions) {
    const Spec spec = makeReport("report_io", {text("a"), flag("b")});
    spec->setOutputOptions(makeGroup({text("file")}).release());
    EXPECT_EQ(namesOf(spec->createReportOptionsIter()), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(namesOf(spec->createReportOutputOptionsIter()), std::vector<std::string>{"file"});
}

TEST(ReportSpecTest, HasNoIteratorWithoutAGroup) {
    const HAXRReportSpec spec("report_io", "", nullptr, "");
    EXPECT_EQ(spec.createReportOptionsIter(), nullptr);
    EXPECT_EQ(spec.createReportOutputOptionsIter(), nullptr);
}

TEST(ReportSpecTest, LeavesAGroupThatIsReplacedToTheCaller) {
    const Spec spec = makeReport("report_io", {text("a")});
    const std::unique_ptr<HATOptGroup> before(spec->getOptions());
    reports::GroupObserver observer;
    spec->attach(&observer);
    HATOptGroup* const after = makeGroup({text("b")}).release();
    spec->setOptions(after);
    EXPECT_EQ(spec->getOptions(), after);
    EXPECT_EQ(reports::namesOf(before.get()), std::vector<std::string>{"a"});
    EXPECT_TRUE(observer.heard.empty());
    reports::setText(after, "b", "not attached");
    EXPECT_TRUE(observer.heard.empty());
}

TEST(ReportSpecTest, TakesItsOwnGroupAgain) {
    const Spec spec = makeReport("report_io", {text("a", "x")});
    spec->setOptions(spec->getOptions());
    EXPECT_EQ(reports::valueOf(spec->getOptions(), "a"), "x");
}

TEST(ReportSpecTest, TellsTheObserverOfAChangedOption) {
    const Spec spec = makeReport("report_io", {text("a")});
    reports::GroupObserver observer;
    spec->attach(&observer);
    reports::setText(spec->getOptions(), "a", "x");
    EXPECT_EQ(observer.heard, std::vector<HATOptGroup*>{spec->getOptions()});
}

TEST(ReportSpecTest, TellsNobodyOfAChangedOutputOption) {
    const Spec spec = makeReport("report_io");
    spec->setOutputOptions(makeGroup({text("file")}).release());
    reports::GroupObserver observer;
    spec->attach(&observer);
    reports::setText(spec->getOutputOptions(), "file", "x");
    EXPECT_TRUE(observer.heard.empty());
}

TEST(ReportSpecTest, TellsTheLastObserverOnDemandAndBothOfAChange) {
    const Spec spec = makeReport("report_io", {text("a")});
    reports::GroupObserver first;
    reports::GroupObserver second;
    spec->attach(&first);
    spec->attach(&second);
    spec->setDirty();
    EXPECT_EQ(first.heard.size(), 0u);
    EXPECT_EQ(second.heard, std::vector<HATOptGroup*>{spec->getOptions()});
    reports::setText(spec->getOptions(), "a", "x");
    EXPECT_EQ(first.heard.size(), 1u);
    EXPECT_EQ(second.heard.size(), 2u);
}

TEST(ReportSpecTest, MayHaveNoObserver) {
    HAXRReportSpec spec("report_io", "", nullptr, "");
    spec.setDirty();
    reports::GroupObserver observer;
    spec.attach(&observer);
    spec.setDirty();
    EXPECT_EQ(observer.heard, std::vector<HATOptGroup*>{nullptr});
    spec.attach(nullptr);
    spec.setDirty();
    EXPECT_EQ(observer.heard.size(), 1u);
}

TEST(ReportSpecTest, KeepsADisplayNameAsItIsSet) {
    const Spec spec = makeReport("report_io");
    spec->setDisplayName("report_my_io", false);
    EXPECT_EQ(spec->getDisplayName(), "report_my_io");
    spec->modifyDisplayName();
    EXPECT_EQ(spec->getDisplayName(), "My Io");
}

TEST(ReportSpecTest, TellsOfANewDisplayNameOnDemand) {
    const Spec spec = makeReport("report_io");
    reports::GroupObserver observer;
    spec->attach(&observer);
    spec->setDisplayName("IO", true);
    EXPECT_EQ(observer.heard.size(), 0u);
    spec->setDisplayName("Pins", false);
    EXPECT_EQ(observer.heard.size(), 0u);
    spec->setDisplayName("pins", true);
    EXPECT_EQ(observer.heard.size(), 1u);
}

TEST(ReportSpecTest, IsCopiedWithGroupsOfItsOwn) {
    Spec spec = makeReport("report_io", {text("a", "x"), number("n", 4)}, {2, 1});
    spec->setDisplayName("report_my_io", false);
    spec->setOutputOptions(makeGroup({text("file", "io.rpt")}).release());
    reports::setNumber(spec->getOptions(), "n", 5);
    const HAXRReportSpec copy(*spec);
    spec.reset();
    EXPECT_EQ(copy.getName(), "report_io");
    EXPECT_EQ(copy.getShortDescription(), "About report_io");
    EXPECT_EQ(copy.getDisplayName(), "report_my_io");
    EXPECT_EQ(copy.getSpecType(), HAXRTypes::REPORT_IO);
    EXPECT_EQ(copy.getVersion(), (VersionInfo{2, 1}));
    EXPECT_EQ(copy.getOptions()->getOptGrpPrettyDisplayName(), "report_io");
    EXPECT_EQ(reports::valueOf(copy.getOptions(), "n"), "5");
    EXPECT_FALSE(reports::optionOf(copy.getOptions(), "n")->isReadOnly());
    EXPECT_EQ(reports::valueOf(copy.getOutputOptions(), "file"), "io.rpt");
    EXPECT_TRUE(reports::optionOf(copy.getOutputOptions(), "file")->isReadOnly());
}

TEST(ReportSpecTest, IsCopiedWithoutItsObserver) {
    const Spec spec = makeReport("report_io", {text("a")});
    reports::GroupObserver observer;
    spec->attach(&observer);
    HAXRReportSpec copy(*spec);
    copy.setDirty();
    reports::setText(copy.getOptions(), "a", "x");
    EXPECT_TRUE(observer.heard.empty());
}

TEST(ReportSpecTest, IsCopiedWithoutGroupsThatItLacks) {
    const HAXRReportSpec spec("report_io", "", nullptr, "");
    HAXRReportSpec copy(spec);
    copy.setDisplayName("Pins", true);
    EXPECT_EQ(copy.getOptions(), nullptr);
    EXPECT_EQ(copy.getOutputOptions(), nullptr);
}

TEST(ReportSpecTest, EqualsAReportWithTheSameOptionValues) {
    const Spec spec = makeReport("report_io", {text("a", "x")}, {1, 0});
    const Spec other = makeReport("report_drc", {text("a", "x")}, {2, 0});
    other->setOutputOptions(makeGroup({text("file")}).release());
    EXPECT_TRUE(spec->isEqual(other.get()));
    EXPECT_TRUE(spec->isEqual(spec.get()));
    reports::setText(other->getOptions(), "a", "y");
    EXPECT_FALSE(spec->isEqual(other.get()));
}

TEST(ReportSpecTest, DoesNotNoticeOptionsThatOnlyTheOtherHas) {
    const Spec fewer = makeReport("report_io", {text("a")});
    const Spec more = makeReport("report_io", {text("a"), text("b")});
    EXPECT_TRUE(fewer->isEqual(more.get()));
    EXPECT_FALSE(more->isEqual(fewer.get()));
}

TEST(ReportSpecTest, IsNotComparedWithNull) {
    EXPECT_EQ(test::thrownText<HEXAlgException>([] { makeReport("report_io")->isEqual(nullptr); }),
              "NULL report spec");
}

}  // namespace
