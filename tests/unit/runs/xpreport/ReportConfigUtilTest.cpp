// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/reportConfigUtil.h"

#include <memory>
#include <string>
#include <vector>

#include "environment/filemgmt/HADAStaleOption.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

namespace reports = test::reports;

using reports::flag;
using reports::makeGroup;
using reports::number;
using reports::setFlag;
using reports::setNumber;
using reports::setText;
using reports::text;
using reports::valueOf;

using Group = std::unique_ptr<HATOptGroup>;

Group copyOf(const Group& group, const std::string& displayName = "", bool readOnly = false) {
    return Group(reportConfigUtil::getOptGroupCopy(group.get(), displayName, readOnly));
}

TEST(OptGroupCopyTest, OfNullIsNull) {
    EXPECT_EQ(reportConfigUtil::getOptGroupCopy(nullptr, "name", false), nullptr);
    EXPECT_EQ(reportConfigUtil::getOptGroupCopy(nullptr, "name", true), nullptr);
}

TEST(OptGroupCopyTest, TakesOptionsInTheirOrderWithTheirKinds) {
    const Group group = makeGroup({flag("b"), number("a"), text("c")});
    const Group copy = copyOf(group);
    EXPECT_EQ(reports::namesOf(copy.get()), (std::vector<std::string>{"b", "a", "c"}));
    for (const char* name : {"a", "b", "c"})
        EXPECT_EQ(reports::optionOf(copy.get(), name)->getAttrType(),
                  reports::optionOf(group.get(), name)->getAttrType());
}

TEST(OptGroupCopyTest, TakesDefaultsAndValues) {
    const Group group = makeGroup({flag("b", true), number("n", 7), text("t", "old")});
    setFlag(group.get(), "b", false);
    setNumber(group.get(), "n", -3);
    setText(group.get(), "t", "new");
    const Group copy = copyOf(group);
    EXPECT_EQ(valueOf(copy.get(), "b"), "false");
    EXPECT_EQ(valueOf(copy.get(), "n"), "-3");
    EXPECT_EQ(valueOf(copy.get(), "t"), "new");
    EXPECT_TRUE(reports::optionOf(copy.get(), "b")->getBoolDefault());
    EXPECT_EQ(reports::optionOf(copy.get(), "n")->getIntDefault(), 7);
    EXPECT_EQ(reports::optionOf(copy.get(), "t")->getStringDefault(), "old");
}

TEST(OptGroupCopyTest, SharesNothingWithItsSource) {
    Group group = makeGroup({text("t", "old")});
    const Group copy = copyOf(group);
    setText(group.get(), "t", "changed");
    EXPECT_EQ(valueOf(copy.get(), "t"), "old");
    setText(copy.get(), "t", "other");
    EXPECT_EQ(valueOf(group.get(), "t"), "changed");
    group.reset();
    EXPECT_EQ(valueOf(copy.get(), "t"), "other");
}

TEST(OptGroupCopyTest, BearsTheNameGivenAndOneId) {
    const Group group = makeGroup({}, "Source");
    EXPECT_EQ(copyOf(group, "report_drc")->getOptGrpPrettyDisplayName(), "report_drc");
    EXPECT_EQ(copyOf(group, "")->getOptGrpPrettyDisplayName(), "");
    EXPECT_EQ(copyOf(group)->getOptGrpId(), "OPTIONS");
}

TEST(OptGroupCopyTest, MakesOptionsReadOnlyOnDemandAlone) {
    const Group group = makeGroup({text("t"), flag("b")});
    reports::optionOf(group.get(), "t")->setReadOnly(true);
    const Group readOnly = copyOf(group, "", true);
    const Group writable = copyOf(group, "", false);
    for (const char* name : {"t", "b"}) {
        EXPECT_TRUE(reports::optionOf(readOnly.get(), name)->isReadOnly());
        EXPECT_FALSE(reports::optionOf(writable.get(), name)->isReadOnly());
    }
}

TEST(OptGroupCopyTest, KeepsEachOptionUnderItsNameWithoutInvokeText) {
    const Group copy = copyOf(makeGroup({text("t")}));
    const HATAttrSpec* option = copy->getAttrSpecForDbId("t");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(copy->getOptionsSpec()->getInvokeStr(option), "");
}

TEST(OptGroupCopyTest, TakesOtherKindsAsText) {
    const Group group = makeGroup({{"f", HATAttrTypes::kFile, "a.rpt"},
                                   {"e", HATAttrTypes::kEnum, "Fast"},
                                   {"l", HATAttrTypes::kLong, "12"},
                                   {"s", HATAttrTypes::kStringList, "one two"}});
    setText(group.get(), "l", "13");
    const Group copy = copyOf(group);
    EXPECT_EQ(valueOf(copy.get(), "f"), "a.rpt");
    EXPECT_EQ(valueOf(copy.get(), "e"), "Fast");
    EXPECT_EQ(valueOf(copy.get(), "l"), "13");
    EXPECT_EQ(valueOf(copy.get(), "s"), "one two");
}

TEST(OptGroupCopyTest, KeepsTwoOptionsOfOneName) {
    const Group group = makeGroup({text("MORE_OPTIONS", "first"), text("MORE_OPTIONS", "second")});
    const Group copy = copyOf(group);
    const auto& options = copy->getOptionsSpec()->getAttrSpecs();
    ASSERT_EQ(options.size(), 2u);
    EXPECT_EQ(copy->getStrVal(options[0].get()), "first");
    EXPECT_EQ(copy->getStrVal(options[1].get()), "second");
}

/// The differences go with the fixture.
class CompareOptGroupsTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (const HADAStaleOption* difference : m_differences)
            delete difference;
    }

    bool areEqual(const Group& a, const Group& b) {
        return reportConfigUtil::compareOptGroups(a.get(), b.get(), "group", m_differences);
    }

    HSTVector<HADAStaleOption*> m_differences;
};

TEST_F(CompareOptGroupsTest, TakesTwoNullsAsEqual) {
    EXPECT_TRUE(areEqual(nullptr, nullptr));
    EXPECT_FALSE(areEqual(makeGroup({}), nullptr));
    EXPECT_FALSE(areEqual(nullptr, makeGroup({})));
    EXPECT_TRUE(m_differences.empty());
}

TEST_F(CompareOptGroupsTest, TakesEqualValuesAsEqualWhateverTheDefault) {
    const Group a = makeGroup({flag("b", true), number("n", 3), text("t", "x")});
    const Group b = makeGroup({text("t"), flag("b"), number("n")});
    setFlag(b.get(), "b", true);
    setNumber(b.get(), "n", 3);
    setText(b.get(), "t", "x");
    EXPECT_TRUE(areEqual(a, b));
    EXPECT_TRUE(m_differences.empty());
}

TEST_F(CompareOptGroupsTest, DoesNotNoticeAnOptionThatOnlyTheSecondHas) {
    const Group fewer = makeGroup({text("t")});
    const Group more = makeGroup({text("t"), text("u", "surplus")});
    EXPECT_TRUE(areEqual(fewer, more));
    EXPECT_FALSE(areEqual(more, fewer));
    EXPECT_TRUE(m_differences.empty());
}

TEST_F(CompareOptGroupsTest, TellsTheFirstDifferenceAlone) {
    const Group a = makeGroup({text("same"), text("t", "mine"), number("n", 1)});
    const Group b = makeGroup({text("same"), text("t", "theirs"), number("n", 2)});
    EXPECT_FALSE(areEqual(a, b));
    ASSERT_EQ(m_differences.size(), 1u);
    EXPECT_EQ(m_differences[0]->getGroup(), "group");
    EXPECT_EQ(m_differences[0]->getName(), "t");
    EXPECT_EQ(m_differences[0]->getOldValue(), "theirs");
    EXPECT_EQ(m_differences[0]->getNewValue(), "mine");
}

TEST_F(CompareOptGroupsTest, AddsBehindWhatIsThere) {
    const Group a = makeGroup({flag("b", true)});
    const Group b = makeGroup({flag("b", false)});
    EXPECT_FALSE(areEqual(a, b));
    EXPECT_FALSE(areEqual(b, a));
    ASSERT_EQ(m_differences.size(), 2u);
    EXPECT_EQ(m_differences[0]->getOldValue(), "false");
    EXPECT_EQ(m_differences[0]->getNewValue(), "true");
    EXPECT_EQ(m_differences[1]->getOldValue(), "true");
}

TEST_F(CompareOptGroupsTest, WordsNumbersInDecimal) {
    EXPECT_FALSE(areEqual(makeGroup({number("n", -12)}), makeGroup({number("n", 0)})));
    ASSERT_EQ(m_differences.size(), 1u);
    EXPECT_EQ(m_differences[0]->getOldValue(), "0");
    EXPECT_EQ(m_differences[0]->getNewValue(), "-12");
}

TEST_F(CompareOptGroupsTest, ComparesNoListsEnumsAndFiles) {
    const auto groupOf = [](const std::string& value) {
        return makeGroup({{"s", HATAttrTypes::kStringList, value},
                          {"e", HATAttrTypes::kEnum, value},
                          {"f", HATAttrTypes::kFile, value}});
    };
    EXPECT_EQ(reports::outputOf([&] { EXPECT_TRUE(areEqual(groupOf("x"), groupOf("y"))); }), "");
}

TEST_F(CompareOptGroupsTest, TellsStandardOutputOfAKindThatCannotBeCompared) {
    const auto groupOf = [](const std::string& value) {
        return makeGroup({{"l", HATAttrTypes::kLong, value}, text("t")});
    };
    EXPECT_EQ(reports::outputOf([&] { EXPECT_TRUE(areEqual(groupOf("1"), groupOf("2"))); }),
              "ERROR:unknown attribute spec type\n");
}

TEST_F(CompareOptGroupsTest, ComparesTextsWhenTheKindsDiffer) {
    EXPECT_TRUE(areEqual(makeGroup({number("n", 5)}), makeGroup({text("n", "5")})));
    EXPECT_TRUE(areEqual(makeGroup({text("n", "true")}), makeGroup({flag("n", true)})));
    EXPECT_FALSE(areEqual(makeGroup({number("n", 0)}), makeGroup({text("n", "")})));
    ASSERT_EQ(m_differences.size(), 1u);
    EXPECT_EQ(m_differences[0]->getOldValue(), "");
    EXPECT_EQ(m_differences[0]->getNewValue(), "0");
}

}  // namespace
