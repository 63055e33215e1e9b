// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroup.h"

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATEnumRange.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/options/optionFixture.h"

namespace {

using test::addOption;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HATOptGroupTest : public test::OptionFixture {};
class HATOptGroupDefaultTest : public test::OptionFixture {};
class HATOptGroupEnumTest : public test::OptionFixture {};
class HATOptGroupTextTest : public test::OptionFixture {};
class HATOptGroupForeignSpecTest : public test::OptionFixture {};

TEST_F(HATOptGroupTest, TellsWhatItsSpecTells) {
    EXPECT_EQ(m_group.getOptionsSpec(), &m_options.spec);
    EXPECT_EQ(m_group.getOptGrpId(), "place_design");
    EXPECT_EQ(m_group.getOptGrpPrettyDisplayName(), "Place");
    EXPECT_EQ(m_group.getAttrSpecForDbId("seed"), m_options.seed);
    EXPECT_EQ(m_group.getAttrSpecByName("top"), m_options.top);
    EXPECT_EQ(m_group.getAttrSpecForDbId("nothing"), nullptr);
    EXPECT_EQ(m_group.getAttrSpecByName("nothing"), nullptr);
}

TEST_F(HATOptGroupTest, WalksTheSpecsInOrder) {
    std::vector<std::string> names;
    const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> specs(m_group.createAttrSpecIter());
    while (specs->hasNext())
        names.push_back(specs->next()->getName());
    EXPECT_THAT(names, ElementsAre("fast", "seed", "memory", "top", "passes", "mode", "hook"));
}

TEST_F(HATOptGroupTest, IsRefusedWithoutASpec) {
    EXPECT_EQ(thrownText<HEXAlgException>(
                  [] { HATOptGroup group(static_cast<const HATOptGroupSpec*>(nullptr)); }),
              "option group made without a group spec");
    EXPECT_THROW(HATOptGroup group(std::unique_ptr<const HATOptGroupSpec>{}), HEXAlgException);
}

TEST_F(HATOptGroupTest, MayOwnItsSpec) {
    auto spec = std::make_unique<HATOptGroupSpec>();
    HATAttrSpec* top = addOption(*spec, HATAttrTypes::kString, "top");
    HATOptGroup group(std::move(spec));
    group.setStrVal(top, "cpu", true);
    EXPECT_EQ(group.getStrVal(top), "cpu");
}

TEST_F(HATOptGroupTest, KeepsAValueOfEveryKind) {
    m_group.setBoolVal(m_options.fast, true, true);
    m_group.setIntVal(m_options.seed, -7, true);
    m_group.setLongVal(m_options.memory, 9000000000L, true);
    EXPECT_TRUE(m_group.setStrVal(m_options.top, "a b\"", true));
    m_group.setStrListVal(m_options.passes, {"p q", "", "r"}, true);
    EXPECT_TRUE(m_group.setEnumVal(m_options.mode, "Speed", true));
    m_group.setFileVal(m_options.hook, "/x y.tcl", true);
    EXPECT_TRUE(m_group.getBoolVal(m_options.fast));
    EXPECT_EQ(m_group.getIntVal(m_options.seed), -7);
    EXPECT_EQ(m_group.getLongVal(m_options.memory), 9000000000L);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "a b\"");
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), ElementsAre("p q", "", "r"));
    ASSERT_NE(m_group.getEnumVal(m_options.mode), nullptr);
    EXPECT_EQ(m_group.getEnumVal(m_options.mode)->getVal(), "Speed");
    EXPECT_EQ(m_group.getFileVal(m_options.hook), "/x y.tcl");
}

TEST_F(HATOptGroupTest, SetsAReadOnlyOptionToo) {
    m_options.top->setReadOnly(true);
    m_group.setStrVal(m_options.top, "cpu", true);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "cpu");
}

TEST_F(HATOptGroupTest, TakesTheViewOfAValueAsTheNewValue) {
    m_group.setStrVal(m_options.top, "a name too long for the small string buffer", true);
    m_group.setFileVal(m_options.hook, m_group.getStrVal(m_options.top), true);
    m_group.setStrVal(m_options.top, m_group.getStrVal(m_options.top), true);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "a name too long for the small string buffer");
    EXPECT_EQ(m_group.getFileVal(m_options.hook), "a name too long for the small string buffer");
}

TEST_F(HATOptGroupTest, KnowsAnOptionRegisteredAfterItWasMade) {
    m_group.setFileVal(m_options.hook, "/x.tcl", true);
    HATAttrSpec* late = addOption(m_options.spec, HATAttrTypes::kInt, "late");
    EXPECT_EQ(m_group.getIntVal(late), 0);
    m_group.setIntVal(late, 3, true);
    EXPECT_EQ(m_group.getIntVal(late), 3);
}

TEST_F(HATOptGroupDefaultTest, HoldsWhenNothingIsSet) {
    m_options.fast->setBoolDefault(true);
    m_options.top->setStringDefault("cpu");
    m_options.passes->setStringListDefault({"a"});
    m_options.mode->setEnumDefault("Area");
    m_options.hook->setFileDefault("/d.tcl");
    m_options.memory->setLongDefault(5);
    EXPECT_TRUE(m_group.getBoolVal(m_options.fast));
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 1);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "cpu");
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), ElementsAre("a"));
    EXPECT_EQ(m_group.getEnumVal(m_options.mode)->getVal(), "Area");
    EXPECT_EQ(m_group.getFileVal(m_options.hook), "/d.tcl");
    EXPECT_EQ(m_group.getLongVal(m_options.memory), 5L);
}

TEST_F(HATOptGroupDefaultTest, ShowsThroughWhenItChangesLater) {
    m_options.top->setStringDefault("first.rpx");
    EXPECT_EQ(m_group.getStrVal(m_options.top), "first.rpx");
    m_options.top->setStringDefault("second.rpx");
    EXPECT_EQ(m_group.getStrVal(m_options.top), "second.rpx");
}

TEST_F(HATOptGroupDefaultTest, ShowsThroughAfterAnEqualValueWasSet) {
    m_group.setIntVal(m_options.seed, 1, true);
    m_options.seed->setIntDefault(2);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 2);
}

TEST_F(HATOptGroupDefaultTest, ShowsThroughAfterAnEqualValueReplacedAnotherOne) {
    m_group.setIntVal(m_options.seed, 8, true);
    m_group.setIntVal(m_options.seed, 1, true);
    m_options.seed->setIntDefault(2);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 2);
    EXPECT_FALSE(m_group.isSet(m_options.seed));
}

TEST_F(HATOptGroupDefaultTest, LeavesADifferentValueAlone) {
    m_group.setIntVal(m_options.seed, 8, true);
    m_options.seed->setIntDefault(8);
    m_options.seed->setIntDefault(2);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 8);
}

TEST_F(HATOptGroupDefaultTest, IsNeverTheAlternativeOne) {
    m_options.seed->setIntAltDefault(5);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 1);
    m_group.setIntVal(m_options.seed, 5, true);
    EXPECT_TRUE(m_group.isSet(m_options.seed));
}

TEST_F(HATOptGroupDefaultTest, ComesBackWhenTheValueIsUnset) {
    m_group.setIntVal(m_options.seed, 8, true);
    EXPECT_TRUE(m_group.isSet(m_options.seed));
    m_group.unset(m_options.seed, true);
    EXPECT_FALSE(m_group.isSet(m_options.seed));
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 1);
}

TEST_F(HATOptGroupDefaultTest, IsToldApartByValueAlone) {
    EXPECT_TRUE(m_group.isDefault(m_options.seed));
    m_group.setIntVal(m_options.seed, 8, true);
    EXPECT_FALSE(m_group.isDefault(m_options.seed));
    m_options.seed->setIntDefault(8);
    EXPECT_TRUE(m_group.isDefault(m_options.seed));
    EXPECT_TRUE(m_group.isSet(m_options.seed));
}

TEST_F(HATOptGroupDefaultTest, OfAListCountsElementsNotTheirText) {
    m_options.passes->setStringListDefault({"a b"});
    m_group.setStrListVal(m_options.passes, {"a", "b"}, true);
    EXPECT_TRUE(m_group.isSet(m_options.passes));
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), ElementsAre("a", "b"));
}

TEST_F(HATOptGroupEnumTest, HasNoRangeWithoutDefaultAndValue) {
    EXPECT_EQ(m_group.getEnumVal(m_options.mode), nullptr);
}

TEST_F(HATOptGroupEnumTest, RefusesAnUnknownValueAndKeepsTheOld) {
    m_group.setEnumVal(m_options.mode, "Speed", true);
    for (const char* value : {"speed", "1", "Quicker", ""})
        EXPECT_FALSE(m_group.setEnumVal(m_options.mode, value, true)) << value;
    EXPECT_EQ(m_group.getEnumVal(m_options.mode)->getVal(), "Speed");
}

TEST_F(HATOptGroupEnumTest, TakesEveryTextWhileItHasNoRanges) {
    HATAttrSpec* bare = addOption(m_options.spec, HATAttrTypes::kEnum, "bare");
    EXPECT_TRUE(m_group.setEnumVal(bare, "Anything", true));
    EXPECT_EQ(m_group.getEnumVal(bare), nullptr);
    EXPECT_EQ(m_group.getStrVal(bare), "Anything");
}

TEST_F(HATOptGroupTextTest, OfAnEnumIsItsValue) {
    m_group.setEnumVal(m_options.mode, "Speed", true);
    EXPECT_EQ(m_group.getStrVal(m_options.mode), "Speed");
    EXPECT_TRUE(m_group.setStrVal(m_options.mode, "Area", true));
    EXPECT_EQ(m_group.getEnumVal(m_options.mode)->getId(), "0");
    EXPECT_FALSE(m_group.setStrVal(m_options.mode, "Other", true));
    EXPECT_EQ(m_group.getStrVal(m_options.mode), "Area");
}

TEST_F(HATOptGroupTextTest, OfALongIsReadAsANumberOrRefused) {
    EXPECT_TRUE(m_group.setStrVal(m_options.memory, "-40", true));
    EXPECT_EQ(m_group.getLongVal(m_options.memory), -40L);
    EXPECT_FALSE(m_group.setStrVal(m_options.memory, "much", true));
    EXPECT_EQ(m_group.getStrVal(m_options.memory), "-40");
}

TEST_F(HATOptGroupTextTest, OfAListIsTakenApartAtBlanks) {
    EXPECT_TRUE(m_group.setStrVal(m_options.passes, "a  b", true));
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), ElementsAre("a", "b"));
    EXPECT_EQ(m_group.getStrVal(m_options.passes), "a b");
    EXPECT_TRUE(m_group.setStrVal(m_options.passes, "", true));
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), IsEmpty());
}

TEST_F(HATOptGroupTextTest, OfAFileIsItsPath) {
    EXPECT_TRUE(m_group.setStrVal(m_options.hook, "/a.tcl", true));
    EXPECT_EQ(m_group.getFileVal(m_options.hook), "/a.tcl");
}

TEST_F(HATOptGroupForeignSpecTest, StandsForTheOptionOfItsDatabaseId) {
    HATOptGroupSpec other;
    HATAttrSpec* seed = addOption(other, HATAttrTypes::kInt, "seed");
    m_group.setIntVal(seed, 4, true);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 4);
    EXPECT_TRUE(m_group.isSet(seed));
}

TEST_F(HATOptGroupForeignSpecTest, IsRefusedWhenTheIdIsUnknownHere) {
    HATOptGroupSpec other;
    HATAttrSpec* strange = addOption(other, HATAttrTypes::kInt, "strange");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.getIntVal(strange); }),
              "option group \"place_design\" has no option \"strange\"");
}

TEST_F(HATOptGroupForeignSpecTest, IsRefusedWhenTheKindDiffersHere) {
    HATOptGroupSpec other;
    HATAttrSpec* seed = addOption(other, HATAttrTypes::kString, "seed");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.getStrVal(seed); }),
              "getStrVal called on option \"seed\" of kind int");
}

TEST_F(HATOptGroupForeignSpecTest, IsRefusedWhenNull) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.getBoolVal(nullptr); }),
              "option group \"place_design\" has no option NULL");
    EXPECT_THROW(m_group.isSet(nullptr), HEXAlgException);
    EXPECT_THROW(m_group.unset(nullptr, true), HEXAlgException);
}

/// An operation asked for an option of another kind.
struct OptionOfWrongKindCase {
    const char* name;
    void (*call)(HATOptGroup&, const test::PlaceOptions&);
    const char* text;
};

std::ostream& operator<<(std::ostream& os, const OptionOfWrongKindCase& row) {
    return os << row.name;
}

class HATOptGroupWrongKind : public test::OptionFixture,
                             public ::testing::WithParamInterface<OptionOfWrongKindCase> {};

TEST_P(HATOptGroupWrongKind, IsRefusedWithOptionAndKind) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { GetParam().call(m_group, m_options); }),
              GetParam().text);
}

using Group = HATOptGroup;
using Options = test::PlaceOptions;
const OptionOfWrongKindCase kWrongKindsInGroup[] = {
    {"GetBool", [](Group& group, const Options& of) { group.getBoolVal(of.seed); },
     "getBoolVal called on option \"seed\" of kind int"},
    {"SetBool", [](Group& group, const Options& of) { group.setBoolVal(of.top, true, true); },
     "setBoolVal called on option \"top\" of kind string"},
    {"GetInt", [](Group& group, const Options& of) { group.getIntVal(of.memory); },
     "getIntVal called on option \"memory\" of kind long"},
    {"SetInt", [](Group& group, const Options& of) { group.setIntVal(of.fast, 1, true); },
     "setIntVal called on option \"fast\" of kind bool"},
    {"GetLong", [](Group& group, const Options& of) { group.getLongVal(of.seed); },
     "getLongVal called on option \"seed\" of kind int"},
    {"SetLong", [](Group& group, const Options& of) { group.setLongVal(of.seed, 1, true); },
     "setLongVal called on option \"seed\" of kind int"},
    {"GetStr", [](Group& group, const Options& of) { group.getStrVal(of.fast); },
     "getStrVal called on option \"fast\" of kind bool"},
    {"SetStr", [](Group& group, const Options& of) { group.setStrVal(of.seed, "1", true); },
     "setStrVal called on option \"seed\" of kind int"},
    {"GetStrList", [](Group& group, const Options& of) { group.getStrListVal(of.top); },
     "getStrListVal called on option \"top\" of kind string"},
    {"SetStrList", [](Group& group, const Options& of) { group.setStrListVal(of.top, {}, true); },
     "setStrListVal called on option \"top\" of kind string"},
    {"GetEnum", [](Group& group, const Options& of) { group.getEnumVal(of.top); },
     "getEnumVal called on option \"top\" of kind string"},
    {"SetEnum", [](Group& group, const Options& of) { group.setEnumVal(of.hook, "Area", true); },
     "setEnumVal called on option \"hook\" of kind file"},
    {"GetFile", [](Group& group, const Options& of) { group.getFileVal(of.mode); },
     "getFileVal called on option \"mode\" of kind enum"},
    {"SetFile", [](Group& group, const Options& of) { group.setFileVal(of.passes, "", true); },
     "setFileVal called on option \"passes\" of kind string list"},
};

INSTANTIATE_TEST_SUITE_P(Operations, HATOptGroupWrongKind, ::testing::ValuesIn(kWrongKindsInGroup),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
