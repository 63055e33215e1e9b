// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPUtilsBase.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/TestFlow.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/ScriptFixture.h"

using test::thrownText;
using ::testing::ElementsAre;

namespace {

using Kind = HATAttrTypes::AttrType;

std::string textOf(const HAXPUtilsBase::OptionInfo& option) {
    return std::to_string(option.type) + " '" + option.name + "' '" + option.value + "'";
}

HATAttrSpec* declare(HATOptGroupSpec& group, Kind kind, const std::string& name,
                     const std::string& invokeText) {
    auto spec = std::make_unique<HATAttrSpec>(kind, HATAttrSpec::kOption);
    spec->setName(name);
    if (kind == HATAttrTypes::kEnum) {
        spec->addEnumRange("0", "low", "Little");
        spec->addEnumRange("1", "high", "Much");
        spec->addEnumRange("2", "higher", "Much");
    }
    group.registerAttrSpec(spec.get(), name, invokeText);
    return spec.release();
}

// Values of any kind from a text.

void setDefault(HATAttrSpec& spec, const std::string& text) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return spec.setBoolDefault(text == "true");
    case HATAttrTypes::kInt:
        return spec.setIntDefault(std::stoi(text));
    case HATAttrTypes::kEnum:
        return spec.setEnumDefault(text);
    case HATAttrTypes::kFile:
        return spec.setFileDefault(text);
    default:
        return spec.setStringDefault(text);
    }
}

void setAltDefault(HATAttrSpec& spec, const std::string& text) {
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return spec.setBoolAltDefault(text == "true");
    case HATAttrTypes::kInt:
        return spec.setIntAltDefault(std::stoi(text));
    case HATAttrTypes::kEnum:
        return spec.setEnumAltDefault(text);
    case HATAttrTypes::kFile:
        return spec.setFileAltDefault(text);
    default:
        return spec.setStringAltDefault(text);
    }
}

void setValue(HATOptGroup& group, const HATAttrSpec* spec, const std::string& text) {
    if (spec->getAttrType() == HATAttrTypes::kBool)
        group.setBoolVal(spec, text == "true", false);
    else if (spec->getAttrType() == HATAttrTypes::kInt)
        group.setIntVal(spec, std::stoi(text), false);
    else
        ASSERT_TRUE(group.setStrVal(spec, text, false)) << text;
}

// --- listing ------------------------------------------------------------------------

/// A group of options, listed without a run.
class OptionListingTest : public ::testing::Test {
protected:
    std::vector<std::string> list(bool boolAsText) const {
        HSTVector<HAXPUtilsBase::OptionInfo> options;
        HAXPUtilsBase::getOptions(nullptr, &m_group, boolAsText, options);
        std::vector<std::string> texts;
        for (const HAXPUtilsBase::OptionInfo& option : options)
            texts.push_back(textOf(option));
        return texts;
    }
    std::vector<std::string> list() const {
        HSTVector<HAXPUtilsBase::OptionInfo> options;
        HAXPUtilsBase::getOptions(nullptr, &m_group, options);
        std::vector<std::string> texts;
        for (const HAXPUtilsBase::OptionInfo& option : options)
            texts.push_back(textOf(option));
        return texts;
    }

    HATOptGroupSpec m_spec;
    HATOptGroup m_group{&m_spec};
};

/// A kind with two values, and how each is listed, plainly and with bools as text.
struct KindRow {
    const char* name;
    Kind kind;
    const char* low;
    const char* high;
    const char* lowListed;
    const char* highListed;
    const char* lowFull;
    const char* highFull;
};

std::ostream& operator<<(std::ostream& os, const KindRow& row) {
    return os << row.name;
}

class OptionKindListingTest : public OptionListingTest,
                              public ::testing::WithParamInterface<KindRow> {
protected:
    void SetUp() override {
        m_option = declare(m_spec, GetParam().kind, "option", "-o");
        setDefault(*m_option, GetParam().low);
    }
    void set(const char* value) { setValue(m_group, m_option, value); }

    HATAttrSpec* m_option = nullptr;
};

TEST_P(OptionKindListingTest, LeavesOutADefault) {
    EXPECT_THAT(list(), ElementsAre());
    set(GetParam().low);
    EXPECT_THAT(list(), ElementsAre());
}

TEST_P(OptionKindListingTest, ListsWhatDiffersFromTheDefault) {
    set(GetParam().high);
    EXPECT_THAT(list(), ElementsAre(GetParam().highListed));
    EXPECT_THAT(list(false), ElementsAre(GetParam().highListed));
    EXPECT_THAT(list(true), ElementsAre(GetParam().highFull));
}

TEST_P(OptionKindListingTest, ListsADefaultThatIsAlwaysWritten) {
    m_option->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre(GetParam().lowListed));
    EXPECT_THAT(list(true), ElementsAre(GetParam().lowFull));
}

TEST_P(OptionKindListingTest, ListsWhatDiffersFromTheAlternativeDefault) {
    setAltDefault(*m_option, GetParam().high);
    EXPECT_THAT(list(true), ElementsAre(GetParam().lowFull));
}

TEST_P(OptionKindListingTest, LeavesOutTheAlternativeDefault) {
    setAltDefault(*m_option, GetParam().high);
    set(GetParam().high);
    EXPECT_THAT(list(), ElementsAre());
    m_option->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre(GetParam().highListed));
}

INSTANTIATE_TEST_SUITE_P(
    Each, OptionKindListingTest,
    ::testing::Values(KindRow{"Bool", HATAttrTypes::kBool, "false", "true", "0 '-o' ''",
                              "0 '-o' ''", "0 '-o' 'false'", "0 '-o' 'true'"},
                      KindRow{"BoolOnByDefault", HATAttrTypes::kBool, "true", "false", "0 '-o' ''",
                              "0 '-o' ''", "0 '-o' 'true'", "0 '-o' 'false'"},
                      KindRow{"Int", HATAttrTypes::kInt, "0", "-2147483648", "1 '-o' '0'",
                              "1 '-o' '-2147483648'", "1 '-o' '0'", "1 '-o' '-2147483648'"},
                      KindRow{"String", HATAttrTypes::kString, "", "a \"b\"", "3 '-o' ''",
                              "3 '-o' 'a \"b\"'", "3 '-o' ''", "3 '-o' 'a \"b\"'"},
                      KindRow{"Enum", HATAttrTypes::kEnum, "low", "high", "9 '-o' 'low'",
                              "9 '-o' 'high'", "9 '-o' 'low'", "9 '-o' 'high'"},
                      KindRow{"EnumOfOneDescription", HATAttrTypes::kEnum, "high", "higher",
                              "9 '-o' 'high'", "9 '-o' 'higher'", "9 '-o' 'high'",
                              "9 '-o' 'higher'"},
                      KindRow{"File", HATAttrTypes::kFile, "a.v", "b c.v", "10 '-o' 'a.v'",
                              "10 '-o' 'b c.v'", "10 '-o' 'a.v'", "10 '-o' 'b c.v'"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(OptionListingTest, FollowsTheOrderOfDeclaration) {
    for (const char* name : {"b", "c", "a"})
        m_group.setIntVal(declare(m_spec, HATAttrTypes::kInt, name, "-" + std::string(name)), 1,
                          false);
    EXPECT_THAT(list(), ElementsAre("1 '-b' '1'", "1 '-c' '1'", "1 '-a' '1'"));
}

TEST_F(OptionListingTest, AddsToWhatIsThere) {
    m_group.setIntVal(declare(m_spec, HATAttrTypes::kInt, "a", "-a"), 1, false);
    HSTVector<HAXPUtilsBase::OptionInfo> options;
    HAXPUtilsBase::getOptions(nullptr, &m_group, options);
    HAXPUtilsBase::getOptions(nullptr, &m_group, options);
    EXPECT_EQ(options.size(), 2u);
}

TEST_F(OptionListingTest, NeverListsAStringListThatIsntAlwaysWritten) {
    setValue(m_group, declare(m_spec, HATAttrTypes::kStringList, "defines", "-D"), "a b c");
    EXPECT_THAT(list(true), ElementsAre());
}

TEST_F(OptionListingTest, ListsEachElementOfAStringListThatIs) {
    HATAttrSpec* spec = declare(m_spec, HATAttrTypes::kStringList, "defines", "-D");
    spec->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre());
    HSTSList<std::string> elements;
    for (const char* element : {"b", "", "a c"})
        elements.push_back(element);
    m_group.setStrListVal(spec, elements, false);
    EXPECT_THAT(list(), ElementsAre("6 '-D' 'b'", "6 '-D' ''", "6 '-D' 'a c'"));
    spec->setStringListDefault(elements);
    EXPECT_EQ(list().size(), 3u);
}

TEST_F(OptionListingTest, ListsAnEnumWithoutAValueAsEmpty) {
    declare(m_spec, HATAttrTypes::kEnum, "effort", "-effort")->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre("9 '-effort' ''"));
}

TEST_F(OptionListingTest, KeepsAValueWithoutAnInvokeText) {
    setValue(m_group, declare(m_spec, HATAttrTypes::kFile, "source", ""), "a.v");
    EXPECT_THAT(list(), ElementsAre("10 '' 'a.v'"));
}

TEST_F(OptionListingTest, LeavesOutWhatSteersTheStep) {
    for (const char* name : {"is_enabled", "tcl.pre", "tcl.post"})
        declare(m_spec, HATAttrTypes::kBool, name, "")->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre());
}

TEST_F(OptionListingTest, ListsWhatSteersTheStepWhenItHasAnInvokeText) {
    for (const char* name : {"is_enabled", "tcl.pre", "tcl.post"})
        declare(m_spec, HATAttrTypes::kBool, name, "-x")->setAlwaysWrite(true);
    EXPECT_EQ(list().size(), 3u);
}

TEST_F(OptionListingTest, KnowsWhatSteersTheStepInThisCaseAlone) {
    declare(m_spec, HATAttrTypes::kBool, "Is_Enabled", "")->setAlwaysWrite(true);
    EXPECT_THAT(list(), ElementsAre("0 '' ''"));
}

class UnknownKindListingTest : public OptionListingTest,
                               public ::testing::WithParamInterface<Kind> {};

TEST_P(UnknownKindListingTest, Throws) {
    HATAttrSpec* option = declare(m_spec, GetParam(), "option", "-o");
    const auto refusal = [this] { return thrownText<HEXAlgException>([this] { list(); }); };
    EXPECT_EQ(refusal(), "unexpected attrType in HAXPUtils");
    option->setAlwaysWrite(true);
    EXPECT_EQ(refusal(), "unexpected attrType in HAXPUtils");
}

TEST_P(UnknownKindListingTest, ThrowsThoughItsInvokeTextIsEmpty) {
    declare(m_spec, GetParam(), "tcl.pre", "");
    EXPECT_EQ(thrownText<HEXAlgException>([this] { list(); }), "unexpected attrType in HAXPUtils");
}

INSTANTIATE_TEST_SUITE_P(Each, UnknownKindListingTest,
                         ::testing::Values(HATAttrTypes::kReal, HATAttrTypes::kColor,
                                           HATAttrTypes::kDate, HATAttrTypes::kIntList,
                                           HATAttrTypes::kRealList, HATAttrTypes::kDirectory,
                                           HATAttrTypes::kLong));

TEST_F(OptionListingTest, KeepsWhatWasListedBeforeAnUnknownKind) {
    m_group.setIntVal(declare(m_spec, HATAttrTypes::kInt, "a", "-a"), 1, false);
    declare(m_spec, HATAttrTypes::kLong, "b", "-b");
    HSTVector<HAXPUtilsBase::OptionInfo> options;
    thrownText<HEXAlgException>([&] { HAXPUtilsBase::getOptions(nullptr, &m_group, options); });
    EXPECT_EQ(options.size(), 1u);
}

/// Listing for a run whose flow has a data manager.
class FilteredListingTest : public test::ScriptTest {
protected:
    void SetUp() override {
        addStep("synth");
        dataMgr();
        set("synth", "level", "7");
        set("synth", "define", "a b");
    }

    std::vector<std::string> list() {
        HSTVector<HAXPUtilsBase::OptionInfo> infos;
        HAXPUtilsBase::getOptions(&run(), options("synth"), infos);
        std::vector<std::string> texts;
        for (const HAXPUtilsBase::OptionInfo& info : infos)
            texts.push_back(textOf(info));
        return texts;
    }
};

TEST_F(FilteredListingTest, AsksTheDataManagerForEachEntryOfTheList) {
    EXPECT_THAT(list(), ElementsAre("1 '-level' '7'", "6 '-D' 'a'", "6 '-D' 'b'"));
    EXPECT_THAT(dataMgr().asked, ElementsAre("level", "define", "define"));
}

TEST_F(FilteredListingTest, LeavesOutWhatTheDataManagerFilters) {
    dataMgr().filtered = {"define"};
    EXPECT_THAT(list(), ElementsAre("1 '-level' '7'"));
    const std::string message = "runs INFO 36-46(synth, define, r, it doesn't apply)";
    EXPECT_THAT(m_messages.summaries(), ElementsAre(message, message));
    m_messages.clear();
}

// --- texts --------------------------------------------------------------------------

TEST(CommandTextTest, JoinsTextsByOneBlank) {
    const auto joined = [](std::string dst, const std::string& src) {
        HAXPUtilsBase::addStr(dst, src);
        return dst;
    };
    EXPECT_EQ(joined("", "x"), "x");
    EXPECT_EQ(joined("a", ""), "a");
    EXPECT_EQ(joined("", ""), "");
    EXPECT_EQ(joined("a", "b"), "a b");
    EXPECT_EQ(joined("a ", " b"), "a   b");
}

TEST(CommandTextTest, HasABlankBehindEachElementOfAList) {
    HSTSList<std::string> list;
    std::string out;
    HAXPUtilsBase::convertToString(list, out);
    EXPECT_EQ(out, "");
    list.push_back("a");
    list.push_back("b");
    HAXPUtilsBase::convertToString(list, out);
    EXPECT_EQ(out, "a b ");
    HAXPUtilsBase::convertToString(list, out);
    EXPECT_EQ(out, "a b a b ");
}

// --- comparison ---------------------------------------------------------------------

/// The entries that a comparison adds, as text.
class Differences {
public:
    Differences() = default;
    ~Differences() {
        for (HADAStaleOption* option : m_options)
            delete option;
    }
    Differences(const Differences&) = delete;
    Differences& operator=(const Differences&) = delete;

    HSTVector<HADAStaleOption*>& out() { return m_options; }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const HADAStaleOption* option : m_options)
            texts.push_back(option->getGroup() + "." + option->getName() + " '" +
                            option->getOldValue() + "' '" + option->getNewValue() + "'");
        return texts;
    }

private:
    HSTVector<HADAStaleOption*> m_options;
};

std::vector<std::string> compare(HATOptGroup& a, HATOptGroup& b) {
    Differences differences;
    HAXPUtilsBase::compareOptGroups(&a, &b, "step", differences.out());
    return differences.texts();
}

/// A kind with two values, and the difference when the first group has the one and the
/// second the other.
struct DifferenceRow {
    const char* name;
    Kind kind;
    const char* inA;
    const char* inB;
    std::vector<std::string> differences;
};

std::ostream& operator<<(std::ostream& os, const DifferenceRow& row) {
    return os << row.name;
}

class GroupComparisonTest : public ::testing::TestWithParam<DifferenceRow> {
protected:
    void SetUp() override { m_option = declare(m_spec, GetParam().kind, "option", "-o"); }

    HATOptGroupSpec m_spec;
    HATAttrSpec* m_option = nullptr;
    HATOptGroup m_a{&m_spec};
    HATOptGroup m_b{&m_spec};
};

TEST_P(GroupComparisonTest, NamesTheValueOfTheSecondGroupFirst) {
    setValue(m_a, m_option, GetParam().inA);
    setValue(m_b, m_option, GetParam().inB);
    EXPECT_EQ(compare(m_a, m_b), GetParam().differences);
}

TEST_P(GroupComparisonTest, FindsEqualValuesEqual) {
    EXPECT_THAT(compare(m_a, m_b), ElementsAre());
    for (const char* value : {GetParam().inA, GetParam().inB}) {
        setValue(m_a, m_option, value);
        setValue(m_b, m_option, value);
        EXPECT_THAT(compare(m_a, m_b), ElementsAre());
    }
}

TEST_P(GroupComparisonTest, ComparesGroupsOfTwoDeclarations) {
    HATOptGroupSpec otherSpec;
    declare(otherSpec, HATAttrTypes::kBool, "more", "-more");
    HATAttrSpec* option = declare(otherSpec, GetParam().kind, "option", "-other");
    HATOptGroup other(&otherSpec);
    setValue(m_a, m_option, GetParam().inA);
    setValue(other, option, GetParam().inB);
    EXPECT_EQ(compare(m_a, other), GetParam().differences);
    setValue(other, option, GetParam().inA);
    EXPECT_THAT(compare(m_a, other), ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(
    Each, GroupComparisonTest,
    ::testing::Values(
        DifferenceRow{"Bool", HATAttrTypes::kBool, "false", "true", {"step.option 'true' 'false'"}},
        DifferenceRow{"Int", HATAttrTypes::kInt, "1", "-2", {"step.option '-2' '1'"}},
        DifferenceRow{"String", HATAttrTypes::kString, "a", "", {"step.option '' 'a'"}},
        DifferenceRow{"StringInAnotherCase",
                      HATAttrTypes::kString,
                      "abc",
                      "Abc",
                      {"step.option 'Abc' 'abc'"}},
        DifferenceRow{
            "StringList", HATAttrTypes::kStringList, "a b", "a", {"step.option 'a ' 'a b '"}},
        DifferenceRow{"Enum", HATAttrTypes::kEnum, "low", "high", {"step.option 'Much' 'Little'"}},
        DifferenceRow{"EnumOfOneDescription", HATAttrTypes::kEnum, "high", "higher", {}},
        DifferenceRow{"File", HATAttrTypes::kFile, "a b", "c", {"step.option 'c' 'a b'"}}),
    [](const auto& row) { return std::string(row.param.name); });

/// Two groups of one declaration.
class GroupsTest : public ::testing::Test {
protected:
    HATOptGroupSpec m_spec;
    HATOptGroup m_a{&m_spec};
    HATOptGroup m_b{&m_spec};
};

TEST_F(GroupsTest, DifferInAllOptionsThatDo) {
    const HATAttrSpec* first = declare(m_spec, HATAttrTypes::kInt, "first", "");
    declare(m_spec, HATAttrTypes::kInt, "same", "");
    const HATAttrSpec* last = declare(m_spec, HATAttrTypes::kString, "last", "");
    m_a.setIntVal(first, 1, false);
    m_b.setStrVal(last, "x", false);
    EXPECT_THAT(compare(m_a, m_b), ElementsAre("step.first '0' '1'", "step.last 'x' ''"));
}

TEST_F(GroupsTest, AgreeWhereOneListReadsAsTheOther) {
    const HATAttrSpec* list = declare(m_spec, HATAttrTypes::kStringList, "list", "");
    HSTSList<std::string> one;
    one.push_back("a b");
    m_a.setStrListVal(list, one, false);
    setValue(m_b, list, "a b");
    EXPECT_THAT(compare(m_a, m_b), ElementsAre());
}

TEST_F(GroupsTest, DifferWhereOneEnumValueIsDescribedInTwoWays) {
    declare(m_spec, HATAttrTypes::kEnum, "effort", "");
    HATOptGroupSpec otherSpec;
    auto ownedSpec = std::make_unique<HATAttrSpec>(HATAttrTypes::kEnum, HATAttrSpec::kOption);
    HATAttrSpec* other = ownedSpec.get();
    other->setName("effort");
    other->addEnumRange("0", "low", "Hardly any");
    otherSpec.registerAttrSpec(ownedSpec.release(), "effort", "");
    HATOptGroup b(&otherSpec);
    b.setEnumVal(other, "low", false);
    setValue(m_a, m_a.getAttrSpecByName("effort"), "low");
    EXPECT_THAT(compare(m_a, b), ElementsAre("step.effort 'Hardly any' 'Little'"));
}

TEST_F(GroupsTest, ArePassedOverInTheirReports) {
    for (const char* name : {"REPORTS", "Reports"})
        setValue(m_a, declare(m_spec, HATAttrTypes::kStringList, name, ""), "a");
    EXPECT_THAT(compare(m_a, m_b), ElementsAre());
    setValue(m_a, declare(m_spec, HATAttrTypes::kString, "REPORTS", ""), "a");
    EXPECT_THAT(compare(m_a, m_b), ElementsAre("step.REPORTS '' 'a'"));
}

TEST_F(GroupsTest, FollowADefaultThatChanges) {
    HATAttrSpec* spec = declare(m_spec, HATAttrTypes::kInt, "a", "");
    m_a.setIntVal(spec, 5, false);
    spec->setIntDefault(5);
    EXPECT_THAT(compare(m_a, m_b), ElementsAre());
    spec->setIntDefault(6);
    EXPECT_THAT(compare(m_a, m_b), ElementsAre("step.a '6' '5'"));
}

class UnknownKindComparisonTest : public GroupsTest, public ::testing::WithParamInterface<Kind> {};

TEST_P(UnknownKindComparisonTest, IsToldOnStandardOutput) {
    setValue(m_a, declare(m_spec, GetParam(), "odd", ""), "1");
    m_a.setIntVal(declare(m_spec, HATAttrTypes::kInt, "next", ""), 1, false);
    ::testing::internal::CaptureStdout();
    const std::vector<std::string> differences = compare(m_a, m_b);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "ERROR:unknown attribute spec type\n");
    EXPECT_THAT(differences, ElementsAre("step.next '0' '1'"));
}

INSTANTIATE_TEST_SUITE_P(Each, UnknownKindComparisonTest,
                         ::testing::Values(HATAttrTypes::kReal, HATAttrTypes::kColor,
                                           HATAttrTypes::kDate, HATAttrTypes::kIntList,
                                           HATAttrTypes::kRealList, HATAttrTypes::kDirectory,
                                           HATAttrTypes::kLong));

// --- strategies ---------------------------------------------------------------------

/// Two strategies of a flow with the steps "synth", "place" and "route".
class StrategiesTest : public ::testing::Test {
public:
    ~StrategiesTest() noexcept override {}

protected:
    static void declareOptions(HATOptGroupSpec& spec) {
        declare(spec, HATAttrTypes::kInt, "level", "-level");
        declare(spec, HATAttrTypes::kString, "text", "-text");
    }
    static test::StepTraits step(const std::string& id) {
        test::StepTraits traits = test::StepTraits::of(id);
        traits.options = declareOptions;
        return traits;
    }
    static void setLevel(const HAXPStrategy& strategy, const std::string& id, int level) {
        test::setInt(strategy.getOptions(id), "level", level);
    }
    static int levelOf(const HAXPStrategy& strategy, const std::string& id) {
        return test::intOf(strategy.getOptions(id), "level");
    }
    static HATOptGroup* attrs(const HAXPStrategy& strategy, const std::string& id) {
        return strategy.getRunStepOptions(id)->getAttrs();
    }

    std::vector<std::string> compareStep(const std::string& id) {
        Differences differences;
        HAXPUtilsBase::compareStrategies(&m_a, &m_b, id, differences.out());
        return differences.texts();
    }
    std::vector<std::string> compareEnabled(const std::string& id) {
        Differences differences;
        HAXPUtilsBase::compareEnabledState(&m_a, &m_b, id, differences.out());
        return differences.texts();
    }

    std::unique_ptr<HAXPFlow> m_flow =
        test::makeFlowOf({step("synth"), step("place"), step("route")});
    HAXPStrategy m_a{m_flow.get()};
    HAXPStrategy m_b{m_flow.get()};
};

TEST_F(StrategiesTest, WithTheSameValuesDontDiffer) {
    setLevel(m_a, "synth", 4);
    setLevel(m_b, "synth", 4);
    EXPECT_THAT(compareStep("synth"), ElementsAre());
    EXPECT_THAT(compareEnabled("synth"), ElementsAre());
}

TEST_F(StrategiesTest, AreComparedInTheOptionsAndThenTheAttributesOfOneStep) {
    setLevel(m_a, "synth", 4);
    setLevel(m_a, "place", 5);
    test::setText(attrs(m_b, "synth"), "PreStepTclHook", "a.tcl");
    EXPECT_THAT(compareStep("synth"),
                ElementsAre("synth.level '0' '4'", "synth.tcl.pre 'a.tcl' ''"));
}

TEST_F(StrategiesTest, AreNotComparedInAStepThatOneLacks) {
    setLevel(m_a, "synth", 4);
    test::setBool(attrs(m_a, "synth"), "EnableStepBool", false);
    m_b.removeStep("synth");
    EXPECT_THAT(compareStep("synth"), ElementsAre());
    EXPECT_THAT(compareEnabled("synth"), ElementsAre());
    EXPECT_THAT(compareStep("unknown"), ElementsAre());
    EXPECT_THAT(compareEnabled("unknown"), ElementsAre());
}

TEST_F(StrategiesTest, AreNotComparedInAStepThatTheFirstLacks) {
    setLevel(m_b, "synth", 4);
    m_a.removeStep("synth");
    EXPECT_THAT(compareStep("synth"), ElementsAre());
    EXPECT_THAT(compareEnabled("synth"), ElementsAre());
}

TEST_F(StrategiesTest, DifferInTheEnabledState) {
    setLevel(m_a, "synth", 4);
    test::setBool(attrs(m_a, "synth"), "EnableStepBool", false);
    EXPECT_THAT(compareEnabled("synth"), ElementsAre("synth.is_enabled 'true' 'false'"));
}

TEST_F(StrategiesTest, HoldTheLastBoolAttributeAgainstTheEnabledState) {
    declare(*m_flow->getFlowStepForFSId("place")->getAttrsSpec(), HATAttrTypes::kBool, "later", "");
    HATOptGroup* inB = attrs(m_b, "place");
    EXPECT_THAT(compareEnabled("place"), ElementsAre("place.later 'false' 'true'"));
    inB->setBoolVal(inB->getAttrSpecByName("later"), true, false);
    EXPECT_THAT(compareEnabled("place"), ElementsAre());
    test::setBool(inB, "EnableStepBool", false);
    EXPECT_THAT(compareEnabled("place"), ElementsAre());
}

TEST_F(StrategiesTest, DifferInABoolAttributeWithoutAnEnabledState) {
    test::StepTraits traits = step("lone");
    traits.canDisable = false;
    const std::unique_ptr<HAXPFlow> flow = test::makeFlowOf({traits});
    HAXPStrategy a(flow.get());
    HAXPStrategy b(flow.get());
    Differences differences;
    HAXPUtilsBase::compareEnabledState(&a, &b, "lone", differences.out());
    EXPECT_THAT(differences.texts(), ElementsAre());
    declare(*flow->getFlowStepForFSId("lone")->getAttrsSpec(), HATAttrTypes::kBool, "odd", "");
    HAXPUtilsBase::compareEnabledState(&a, &b, "lone", differences.out());
    EXPECT_THAT(differences.texts(), ElementsAre("lone.odd 'false' ''"));
}

// --- copying ------------------------------------------------------------------------

TEST_F(StrategiesTest, GiveTheirValuesToTheStepsBeforeTheOneToStopAt) {
    for (const char* id : {"synth", "place", "route"})
        setLevel(m_a, id, 9);
    test::setBool(attrs(m_a, "synth"), "EnableStepBool", false);
    HAXPUtilsBase::copyOptions(&m_a, &m_b, "place");
    EXPECT_EQ(levelOf(m_b, "synth"), 9);
    EXPECT_FALSE(test::boolOf(attrs(m_b, "synth"), "EnableStepBool"));
    EXPECT_EQ(levelOf(m_b, "place"), 0);
    EXPECT_EQ(levelOf(m_b, "route"), 0);
}

TEST_F(StrategiesTest, GiveTheirValuesToAllStepsBeforeAnUnknownOne) {
    setLevel(m_a, "route", 9);
    HAXPUtilsBase::copyOptions(&m_a, &m_b, "unknown");
    EXPECT_EQ(levelOf(m_b, "route"), 9);
}

TEST_F(StrategiesTest, GiveNothingBeforeTheFirstStep) {
    setLevel(m_a, "synth", 9);
    HAXPUtilsBase::copyOptions(&m_a, &m_b, "synth");
    EXPECT_EQ(levelOf(m_b, "synth"), 0);
}

TEST_F(StrategiesTest, PassOverTheStepsThatTheSourceLacks) {
    setLevel(m_a, "place", 9);
    setLevel(m_b, "synth", 3);
    m_a.removeStep("synth");
    HAXPUtilsBase::copyOptions(&m_a, &m_b, "");
    EXPECT_EQ(levelOf(m_b, "synth"), 3);
    EXPECT_EQ(levelOf(m_b, "place"), 9);
}

TEST_F(StrategiesTest, AreLeftAloneWithoutTheOther) {
    setLevel(m_b, "synth", 3);
    HAXPUtilsBase::copyOptions(nullptr, &m_b, "");
    HAXPUtilsBase::copyOptions(&m_a, nullptr, "");
    EXPECT_EQ(levelOf(m_b, "synth"), 3);
}

TEST_F(StrategiesTest, TellNobodyOfACopy) {
    test::StrategyRecorder database;
    m_b.attach(&database);
    setLevel(m_a, "synth", 9);
    HAXPUtilsBase::copyOptions(&m_a, &m_b, "");
    EXPECT_TRUE(database.changed.empty());
    m_b.attach(static_cast<HAXPStratDB*>(nullptr));
}

}  // namespace
