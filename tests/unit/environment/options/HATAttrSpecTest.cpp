// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATAttrSpec.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATEnumRange.h"
#include "tests/support/thrownText.h"

namespace {

using test::thrownText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A spec of `type` named "effort".
std::unique_ptr<HATAttrSpec> makeSpec(HATAttrTypes::AttrType type) {
    auto spec = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    spec->setName("effort");
    return spec;
}

/// An enum with the values "Explore" and "Quick", under the ids "0" and "1".
std::unique_ptr<HATAttrSpec> makeEnum() {
    auto spec = makeSpec(HATAttrTypes::kEnum);
    spec->addEnumRange("0", "Explore", "Spends more time");
    spec->addEnumRange("1", "Quick", "Spends less time");
    return spec;
}

TEST(HATAttrSpecTest, TellsItsKindAndItsTexts) {
    HATAttrSpec spec(HATAttrTypes::kInt, HATAttrSpec::kOption);
    spec.setName("seed");
    spec.setDescription("Start of the random numbers");
    EXPECT_EQ(spec.getAttrType(), HATAttrTypes::kInt);
    EXPECT_EQ(spec.getSpecType(), HATAttrSpec::kOption);
    EXPECT_EQ(spec.getName(), "seed");
    EXPECT_EQ(spec.getDescription(), "Start of the random numbers");
}

TEST(HATAttrSpecTest, RefusesANumberThatIsNoKind) {
    EXPECT_EQ(thrownText<HEXAlgException>([] {
                  HATAttrSpec spec(static_cast<HATAttrTypes::AttrType>(13), HATAttrSpec::kOption);
              }),
              "no kind of option has the number 13");
}

TEST(HATAttrSpecTest, StartsVisibleWritableAndWrittenOnlyWhenItDiffers) {
    const auto spec = makeSpec(HATAttrTypes::kString);
    EXPECT_TRUE(spec->isVisible());
    EXPECT_FALSE(spec->isReadOnly());
    EXPECT_FALSE(spec->isAlwaysWrite());
    EXPECT_FALSE(spec->isProjectFile());
}

TEST(HATAttrSpecTest, KeepsItsFlags) {
    const auto spec = makeSpec(HATAttrTypes::kFile);
    spec->setVisible(false);
    spec->setReadOnly(true);
    spec->setAlwaysWrite(true);
    spec->setIsProjectFile(true);
    EXPECT_FALSE(spec->isVisible());
    EXPECT_TRUE(spec->isReadOnly());
    EXPECT_TRUE(spec->isAlwaysWrite());
    EXPECT_TRUE(spec->isProjectFile());
}

TEST(HATAttrSpecTest, ListsItsFileExtensionsInOrderAndOnce) {
    const auto spec = makeSpec(HATAttrTypes::kFile);
    spec->addFileExtRange("tcl");
    spec->addFileExtRange("xdc");
    spec->addFileExtRange("tcl");
    spec->setFileExtRangeDescription("TCL File");
    EXPECT_THAT(spec->getFileExtRange(), ElementsAre("tcl", "xdc"));
    EXPECT_EQ(spec->getFileExtRangeDescription(), "TCL File");
}

TEST(HATAttrSpecDefaultTest, IsFalseZeroOrEmptyUntilSet) {
    EXPECT_FALSE(makeSpec(HATAttrTypes::kBool)->getBoolDefault());
    EXPECT_EQ(makeSpec(HATAttrTypes::kInt)->getIntDefault(), 0);
    EXPECT_EQ(makeSpec(HATAttrTypes::kLong)->getLongDefault(), 0L);
    EXPECT_EQ(makeSpec(HATAttrTypes::kString)->getStringDefault(), "");
    EXPECT_EQ(makeSpec(HATAttrTypes::kFile)->getFileDefault(), "");
    EXPECT_THAT(makeSpec(HATAttrTypes::kStringList)->getStringListDefault(), IsEmpty());
    EXPECT_EQ(makeEnum()->getEnumDefault(), nullptr);
}

TEST(HATAttrSpecDefaultTest, HoldsABool) {
    const auto spec = makeSpec(HATAttrTypes::kBool);
    spec->setBoolDefault(true);
    EXPECT_TRUE(spec->getBoolDefault());
    spec->setBoolDefault(false);
    EXPECT_FALSE(spec->getBoolDefault());
}

TEST(HATAttrSpecDefaultTest, HoldsTheSmallestInt) {
    const auto spec = makeSpec(HATAttrTypes::kInt);
    spec->setIntDefault(-2147483647 - 1);
    EXPECT_EQ(spec->getIntDefault(), -2147483647 - 1);
}

TEST(HATAttrSpecDefaultTest, HoldsALongBeyondInt) {
    const auto spec = makeSpec(HATAttrTypes::kLong);
    spec->setLongDefault(9000000000L);
    EXPECT_EQ(spec->getLongDefault(), 9000000000L);
}

TEST(HATAttrSpecDefaultTest, HoldsAStringAFileAndAList) {
    const auto string = makeSpec(HATAttrTypes::kString);
    string->setStringDefault("a \"b\"\nc");
    EXPECT_EQ(string->getStringDefault(), "a \"b\"\nc");
    const auto file = makeSpec(HATAttrTypes::kFile);
    file->setFileDefault("/tmp/pre hook.tcl");
    EXPECT_EQ(file->getFileDefault(), "/tmp/pre hook.tcl");
    const auto list = makeSpec(HATAttrTypes::kStringList);
    list->setStringListDefault({"one", "two words", ""});
    EXPECT_THAT(list->getStringListDefault(), ElementsAre("one", "two words", ""));
}

TEST(HATAttrSpecDefaultTest, OfAnEnumIsSetByValueText) {
    const auto spec = makeEnum();
    spec->setEnumDefault("Quick");
    ASSERT_NE(spec->getEnumDefault(), nullptr);
    EXPECT_EQ(spec->getEnumDefault()->getId(), "1");
    EXPECT_EQ(spec->getEnumDefault()->getDescription(), "Spends less time");
}

TEST(HATAttrSpecDefaultTest, OfAnEnumStaysWhenTheValueIsUnknown) {
    const auto spec = makeEnum();
    spec->setEnumDefault("Quick");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { spec->setEnumDefault("quick"); }),
              "setEnumDefault called on option \"effort\" of kind enum with a value that it can't "
              "hold: \"quick\"");
    EXPECT_EQ(spec->getEnumDefault()->getVal(), "Quick");
}

TEST(HATAttrSpecDefaultTest, OfAnEnumIsTakenAwayByTheEmptyText) {
    const auto spec = makeEnum();
    spec->setEnumDefault("Quick");
    spec->setEnumDefault("");
    EXPECT_EQ(spec->getEnumDefault(), nullptr);
}

TEST(HATAttrSpecDefaultTest, OfAnEnumMayBeSetBeforeItsRanges) {
    const auto spec = makeSpec(HATAttrTypes::kEnum);
    spec->setEnumDefault("Late");
    EXPECT_EQ(spec->getEnumDefault(), nullptr);
    spec->addEnumRange("7", "Late", "");
    ASSERT_NE(spec->getEnumDefault(), nullptr);
    EXPECT_EQ(spec->getEnumDefault()->getId(), "7");
}

TEST(HATAttrSpecTextTest, ServesEveryKindButBoolAndInt) {
    for (int type = HATAttrTypes::kReal; type <= HATAttrTypes::kLong; ++type) {
        const auto spec = makeSpec(static_cast<HATAttrTypes::AttrType>(type));
        spec->setStringDefault("17");
        EXPECT_EQ(spec->getStringDefault(), "17") << HATAttrTypes::getTypeName(spec->getAttrType());
    }
}

TEST(HATAttrSpecTextTest, OfALongIsItsDecimalDigits) {
    const auto spec = makeSpec(HATAttrTypes::kLong);
    EXPECT_EQ(spec->getStringDefault(), "0");
    spec->setLongDefault(-12);
    EXPECT_EQ(spec->getStringDefault(), "-12");
    spec->setStringDefault("00045");
    EXPECT_EQ(spec->getLongDefault(), 45L);
    EXPECT_EQ(spec->getStringDefault(), "45");
}

TEST(HATAttrSpecTextTest, OfALongIsRefusedWhenItIsNoNumber) {
    const auto spec = makeSpec(HATAttrTypes::kLong);
    spec->setLongDefault(3);
    for (const char* text : {"", " 4", "4 ", "4x", "+4", "-", "0x10", "99999999999999999999"})
        EXPECT_THROW(spec->setStringDefault(text), HEXAlgException) << '"' << text << '"';
    EXPECT_EQ(spec->getLongDefault(), 3L);
}

TEST(HATAttrSpecTextTest, OfAListHasABlankBetweenElements) {
    const auto spec = makeSpec(HATAttrTypes::kStringList);
    spec->setStringListDefault({"one", "two"});
    EXPECT_EQ(spec->getStringDefault(), "one two");
    spec->setStringDefault("  three  four ");
    EXPECT_THAT(spec->getStringListDefault(), ElementsAre("three", "four"));
}

TEST(HATAttrSpecAltDefaultTest, ReadsAsThePlainOneUntilSet) {
    const auto spec = makeSpec(HATAttrTypes::kInt);
    spec->setIntDefault(4);
    EXPECT_FALSE(spec->hasAltDefault());
    EXPECT_EQ(spec->getIntAltDefault(), 4);
}

TEST(HATAttrSpecAltDefaultTest, LeavesThePlainOneAlone) {
    const auto spec = makeSpec(HATAttrTypes::kInt);
    spec->setIntDefault(4);
    spec->setIntAltDefault(9);
    EXPECT_TRUE(spec->hasAltDefault());
    EXPECT_EQ(spec->getIntAltDefault(), 9);
    EXPECT_EQ(spec->getIntDefault(), 4);
}

TEST(HATAttrSpecAltDefaultTest, GoesWhenCleared) {
    const auto spec = makeSpec(HATAttrTypes::kBool);
    spec->setBoolAltDefault(true);
    spec->clearAltDefault();
    EXPECT_FALSE(spec->hasAltDefault());
    EXPECT_FALSE(spec->getBoolAltDefault());
}

TEST(HATAttrSpecAltDefaultTest, ExistsEvenWhenEqualToThePlainOne) {
    const auto spec = makeSpec(HATAttrTypes::kString);
    spec->setStringAltDefault("");
    EXPECT_TRUE(spec->hasAltDefault());
}

TEST(HATAttrSpecAltDefaultTest, HoldsEveryKind) {
    const auto boolean = makeSpec(HATAttrTypes::kBool);
    boolean->setBoolAltDefault(true);
    EXPECT_TRUE(boolean->getBoolAltDefault());
    const auto number = makeSpec(HATAttrTypes::kLong);
    number->setLongAltDefault(5000000000L);
    EXPECT_EQ(number->getLongAltDefault(), 5000000000L);
    const auto string = makeSpec(HATAttrTypes::kString);
    string->setStringAltDefault("x");
    EXPECT_EQ(string->getStringAltDefault(), "x");
    const auto list = makeSpec(HATAttrTypes::kStringList);
    list->setStringListAltDefault({"x", "y"});
    EXPECT_THAT(list->getStringListAltDefault(), ElementsAre("x", "y"));
    const auto file = makeSpec(HATAttrTypes::kFile);
    file->setFileAltDefault("/a.tcl");
    EXPECT_EQ(file->getFileAltDefault(), "/a.tcl");
    const auto choice = makeEnum();
    choice->setEnumAltDefault("Explore");
    ASSERT_NE(choice->getEnumAltDefault(), nullptr);
    EXPECT_EQ(choice->getEnumAltDefault()->getVal(), "Explore");
}

TEST(HATAttrSpecAltDefaultTest, IsNotMadeByARefusal) {
    const auto spec = makeEnum();
    EXPECT_THROW(spec->setEnumAltDefault("Never"), HEXAlgException);
    EXPECT_FALSE(spec->hasAltDefault());
}

TEST(HATAttrSpecEnumTest, FindsARangeByIdAndByValue) {
    const auto spec = makeEnum();
    ASSERT_NE(spec->getEnumRangeForId("1"), nullptr);
    EXPECT_EQ(spec->getEnumRangeForId("1")->getVal(), "Quick");
    EXPECT_EQ(spec->getEnumRangeForVal("Quick"), spec->getEnumRangeForId("1"));
}

TEST(HATAttrSpecEnumTest, HasNoRangeForAStrangeIdOrAnotherCase) {
    const auto spec = makeEnum();
    EXPECT_EQ(spec->getEnumRangeForId("Quick"), nullptr);
    EXPECT_EQ(spec->getEnumRangeForId(""), nullptr);
    EXPECT_EQ(spec->getEnumRangeForVal("QUICK"), nullptr);
}

TEST(HATAttrSpecEnumTest, ListsItsRangesInOrder) {
    const auto spec = makeEnum();
    std::vector<std::string> values;
    const std::unique_ptr<HSTFwdIter<const HATEnumRange*>> ranges(spec->createEnumRangeIter());
    while (ranges->hasNext())
        values.push_back(ranges->next()->getVal());
    EXPECT_THAT(values, ElementsAre("Explore", "Quick"));
}

TEST(HATAttrSpecEnumTest, GivesAnEmptyIteratorWithoutRanges) {
    const auto spec = makeSpec(HATAttrTypes::kEnum);
    const std::unique_ptr<HSTFwdIter<const HATEnumRange*>> ranges(spec->createEnumRangeIter());
    EXPECT_FALSE(ranges->hasNext());
    EXPECT_FALSE(spec->hasEnumRanges());
}

TEST(HATAttrSpecEnumTest, RefusesASecondRangeOfOneId) {
    const auto spec = makeEnum();
    EXPECT_EQ(thrownText<HEXAlgException>([&] { spec->addEnumRange("0", "Other", ""); }),
              "option \"effort\" has two ranges with the id \"0\"");
}

TEST(HATAttrSpecEnumTest, RefusesASecondRangeOfOneValue) {
    const auto spec = makeEnum();
    EXPECT_EQ(thrownText<HEXAlgException>([&] { spec->addEnumRange("9", "Quick", ""); }),
              "option \"effort\" has two ranges with the value \"Quick\"");
}

/// An operation that another kind than the option's is asked for.
struct SpecOfWrongKindCase {
    const char* name;
    HATAttrTypes::AttrType type;
    void (*call)(HATAttrSpec&);
    const char* text;
};

std::ostream& operator<<(std::ostream& os, const SpecOfWrongKindCase& row) {
    return os << row.name;
}

class HATAttrSpecWrongKind : public ::testing::TestWithParam<SpecOfWrongKindCase> {};

TEST_P(HATAttrSpecWrongKind, IsRefusedWithOptionAndKind) {
    const auto spec = makeSpec(GetParam().type);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { GetParam().call(*spec); }), GetParam().text);
}

const SpecOfWrongKindCase kWrongKindsOfSpec[] = {
    {"BoolOfInt", HATAttrTypes::kInt, [](HATAttrSpec& spec) { spec.getBoolDefault(); },
     "getBoolDefault called on option \"effort\" of kind int"},
    {"SetBoolOfString", HATAttrTypes::kString, [](HATAttrSpec& spec) { spec.setBoolDefault(true); },
     "setBoolDefault called on option \"effort\" of kind string"},
    {"IntOfLong", HATAttrTypes::kLong, [](HATAttrSpec& spec) { spec.getIntDefault(); },
     "getIntDefault called on option \"effort\" of kind long"},
    {"SetLongOfInt", HATAttrTypes::kInt, [](HATAttrSpec& spec) { spec.setLongDefault(1); },
     "setLongDefault called on option \"effort\" of kind int"},
    {"StringOfBool", HATAttrTypes::kBool, [](HATAttrSpec& spec) { spec.getStringDefault(); },
     "getStringDefault called on option \"effort\" of kind bool"},
    {"SetStringOfInt", HATAttrTypes::kInt, [](HATAttrSpec& spec) { spec.setStringDefault("1"); },
     "setStringDefault called on option \"effort\" of kind int"},
    {"EnumOfString", HATAttrTypes::kString, [](HATAttrSpec& spec) { spec.getEnumDefault(); },
     "getEnumDefault called on option \"effort\" of kind string"},
    {"FileOfDirectory", HATAttrTypes::kDirectory, [](HATAttrSpec& spec) { spec.getFileDefault(); },
     "getFileDefault called on option \"effort\" of kind directory"},
    {"ListOfIntList", HATAttrTypes::kIntList,
     [](HATAttrSpec& spec) { spec.getStringListDefault(); },
     "getStringListDefault called on option \"effort\" of kind int list"},
    {"AltBoolOfEnum", HATAttrTypes::kEnum, [](HATAttrSpec& spec) { spec.setBoolAltDefault(true); },
     "setBoolAltDefault called on option \"effort\" of kind enum"},
    {"RangeOfString", HATAttrTypes::kString,
     [](HATAttrSpec& spec) { spec.addEnumRange("0", "a", ""); },
     "addEnumRange called on option \"effort\" of kind string"},
};

INSTANTIATE_TEST_SUITE_P(Operations, HATAttrSpecWrongKind, ::testing::ValuesIn(kWrongKindsOfSpec),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(HATAttrTypesTest, KeepsTheNumbersThatFilesAndListingsKnow) {
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kBool), 0);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kInt), 1);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kString), 3);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kStringList), 6);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kEnum), 9);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kFile), 10);
    EXPECT_EQ(static_cast<int>(HATAttrTypes::kLong), 12);
}

}  // namespace
