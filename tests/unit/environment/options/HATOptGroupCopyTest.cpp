// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroup.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATEnumRange.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/options/optionFixture.h"

namespace {

/// Allocations of the program so far.
std::size_t s_allocations = 0;

}  // namespace

// Not inlined: g++ would take what comes from one and goes to the other for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++s_allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using test::addOption;
using test::PlaceOptions;
using test::thrownText;
using ::testing::ElementsAre;

/// Two groups of one spec.
class HATOptGroupCopyTest : public test::OptionFixture {
protected:
    void setAll(HATOptGroup& group) {
        group.setBoolVal(m_options.fast, true, false);
        group.setIntVal(m_options.seed, 8, false);
        group.setLongVal(m_options.memory, 70, false);
        group.setStrVal(m_options.top, "cpu", false);
        group.setStrListVal(m_options.passes, {"a", "b c"}, false);
        group.setEnumVal(m_options.mode, "Speed", false);
        group.setFileVal(m_options.hook, "/x.tcl", false);
    }

    HATOptGroup m_other{&m_options.spec};
};

class HATOptGroupCompareTest : public HATOptGroupCopyTest {};

/// A group of the fixture's options and one of a spec with some of their ids in
/// another order: "mode" (enum "Speed" or "Power"), "top" (string, "soc"),
/// "seed" (string), "extra" (bool).
class HATOptGroupOtherSpecTest : public test::OptionFixture {
protected:
    HATOptGroupOtherSpecTest() {
        m_mode->addEnumRange("5", "Speed", "Quicker");
        m_mode->addEnumRange("6", "Power", "Cooler");
        m_top->setStringDefault("soc");
    }

    HATOptGroupSpec m_otherSpec;
    HATAttrSpec* m_mode = addOption(m_otherSpec, HATAttrTypes::kEnum, "mode");
    HATAttrSpec* m_top = addOption(m_otherSpec, HATAttrTypes::kString, "top");
    HATAttrSpec* m_seed = addOption(m_otherSpec, HATAttrTypes::kString, "seed");
    HATAttrSpec* m_extra = addOption(m_otherSpec, HATAttrTypes::kBool, "extra");
    HATOptGroup m_other{&m_otherSpec};
};

TEST_F(HATOptGroupCopyTest, TakesOverEveryKind) {
    setAll(m_other);
    m_group.copy(&m_other, false);
    EXPECT_TRUE(m_group.getBoolVal(m_options.fast));
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 8);
    EXPECT_EQ(m_group.getLongVal(m_options.memory), 70L);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "cpu");
    EXPECT_THAT(m_group.getStrListVal(m_options.passes), ElementsAre("a", "b c"));
    EXPECT_EQ(m_group.getEnumVal(m_options.mode)->getVal(), "Speed");
    EXPECT_EQ(m_group.getFileVal(m_options.hook), "/x.tcl");
}

TEST_F(HATOptGroupCopyTest, BringsBackTheDefaults) {
    setAll(m_group);
    m_group.copy(&m_other, false);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 1);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "");
    EXPECT_FALSE(m_group != m_other);
}

TEST_F(HATOptGroupCopyTest, FollowsTheDefaultWhereTheSourceDoes) {
    m_group.copy(&m_other, false);
    m_options.seed->setIntDefault(9);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 9);
}

TEST_F(HATOptGroupCopyTest, KeepsAValueOfItsOwnWhereTheSourceDoes) {
    m_other.setIntVal(m_options.seed, 8, false);
    m_options.seed->setIntDefault(8);
    m_group.copy(&m_other, false);
    m_options.seed->setIntDefault(1);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 8);
}

TEST_F(HATOptGroupCopyTest, SharesNothingWithTheSource) {
    setAll(m_other);
    m_group.copy(&m_other, false);
    m_other.setStrVal(m_options.top, "other", false);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "cpu");
}

TEST_F(HATOptGroupCopyTest, OntoItselfChangesNothing) {
    setAll(m_group);
    m_group.copy(&m_group, true);
    EXPECT_EQ(m_group.getStrVal(m_options.top), "cpu");
}

TEST_F(HATOptGroupCopyTest, OfNullIsRefused) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.copy(nullptr, true); }),
              "option group \"place_design\" copied from NULL");
}

TEST_F(HATOptGroupCopyTest, IsSilentWithoutNotify) {
    test::CountingObserver observer;
    m_group.attach(&observer);
    setAll(m_other);
    m_group.copy(&m_other, false);
    EXPECT_EQ(observer.calls(), 0);
}

TEST_F(HATOptGroupCopyTest, TellsOnceOfAllChanges) {
    test::CountingObserver observer;
    m_group.attach(&observer);
    setAll(m_other);
    m_group.copy(&m_other, true);
    EXPECT_EQ(observer.calls(), 1);
}

TEST_F(HATOptGroupCopyTest, TellsNobodyWhenEqual) {
    test::CountingObserver observer;
    setAll(m_group);
    setAll(m_other);
    m_group.attach(&observer);
    m_group.copy(&m_other, true);
    EXPECT_EQ(observer.calls(), 0);
}

TEST_F(HATOptGroupCopyTest, TellsOfValuesThatFellBackToTheDefault) {
    test::CountingObserver observer;
    setAll(m_group);
    m_group.attach(&observer);
    m_group.copy(&m_other, true);
    EXPECT_EQ(observer.calls(), 1);
}

TEST_F(HATOptGroupCopyTest, TellsNobodyWhenOnlyTheDefaultTookOver) {
    test::CountingObserver observer;
    m_group.setIntVal(m_options.seed, 8, false);
    m_options.seed->setIntDefault(8);
    m_group.attach(&observer);
    m_group.copy(&m_other, true);
    EXPECT_EQ(observer.calls(), 0);
    EXPECT_FALSE(m_group.isSet(m_options.seed));
}

TEST_F(HATOptGroupCopyTest, TellsNobodyWhenTheSourceHoldsTheDefaultAsAValue) {
    test::CountingObserver observer;
    m_other.setIntVal(m_options.seed, 8, false);
    m_options.seed->setIntDefault(8);
    m_group.attach(&observer);
    m_group.copy(&m_other, true);
    EXPECT_EQ(observer.calls(), 0);
    EXPECT_TRUE(m_group.isSet(m_options.seed));
}

TEST_F(HATOptGroupOtherSpecTest, PairsOptionsOfOneDatabaseIdByTheirPlace) {
    HATOptGroupSpec specs[2];
    HATAttrSpec* seconds[2] = {};
    for (int i = 0; i < 2; ++i) {
        addOption(specs[i], HATAttrTypes::kInt, "same");
        seconds[i] = addOption(specs[i], HATAttrTypes::kInt, "same");
    }
    HATOptGroup source(&specs[0]);
    HATOptGroup target(&specs[1]);
    source.setIntVal(seconds[0], 4, false);
    target.copy(&source, false);
    EXPECT_EQ(target.getIntVal(seconds[1]), 4);
    EXPECT_FALSE(target.isSet(target.getAttrSpecForDbId("same")));
}

TEST_F(HATOptGroupOtherSpecTest, IsCopiedByDatabaseId) {
    m_group.setStrVal(m_options.top, "cpu", false);
    m_group.setEnumVal(m_options.mode, "Speed", false);
    m_other.copy(&m_group, false);
    EXPECT_EQ(m_other.getStrVal(m_top), "cpu");
    EXPECT_EQ(m_other.getEnumVal(m_mode)->getId(), "5");
}

TEST_F(HATOptGroupOtherSpecTest, TakesOverADefaultAsAValue) {
    m_other.copy(&m_group, false);
    EXPECT_EQ(m_other.getStrVal(m_top), "");
    EXPECT_TRUE(m_other.isSet(m_top));
}

TEST_F(HATOptGroupOtherSpecTest, FollowsItsOwnDefaultWhenTheValueEqualsIt) {
    m_group.setStrVal(m_options.top, "soc", false);
    m_other.copy(&m_group, false);
    EXPECT_FALSE(m_other.isSet(m_top));
}

TEST_F(HATOptGroupOtherSpecTest, KeepsWhatTheSourceLacksOrHasInAnotherKind) {
    m_other.setStrVal(m_seed, "none", false);
    m_other.setBoolVal(m_extra, true, false);
    m_other.copy(&m_group, false);
    EXPECT_EQ(m_other.getStrVal(m_seed), "none");
    EXPECT_TRUE(m_other.getBoolVal(m_extra));
}

TEST_F(HATOptGroupOtherSpecTest, KeepsAnEnumWhoseNewValueItDoesNotAllow) {
    m_group.setEnumVal(m_options.mode, "Area", false);
    m_other.setEnumVal(m_mode, "Power", false);
    m_other.copy(&m_group, false);
    EXPECT_EQ(m_other.getEnumVal(m_mode)->getVal(), "Power");
}

TEST_F(HATOptGroupOtherSpecTest, IsCopiedToAnEnumWithoutAValue) {
    m_other.setEnumVal(m_mode, "Power", false);
    m_other.copy(&m_group, false);
    EXPECT_EQ(m_other.getEnumVal(m_mode), nullptr);
}

TEST_F(HATOptGroupOtherSpecTest, DiffersWhenAnOptionIsMissing) {
    EXPECT_TRUE(m_group != m_other);
    EXPECT_TRUE(m_other != m_group);
}

TEST_F(HATOptGroupOtherSpecTest, DoesNotDifferWhenAllIdsAndValuesAgree) {
    PlaceOptions twin;
    HATOptGroup twinGroup(&twin.spec);
    EXPECT_FALSE(m_group != twinGroup);
    twinGroup.setIntVal(twin.seed, 8, false);
    EXPECT_TRUE(m_group != twinGroup);
    m_group.setIntVal(m_options.seed, 8, false);
    EXPECT_TRUE(m_group == twinGroup);
}

TEST_F(HATOptGroupOtherSpecTest, DoesNotDifferByTheOrderOfItsOptions) {
    HATOptGroupSpec forwards;
    addOption(forwards, HATAttrTypes::kInt, "a");
    addOption(forwards, HATAttrTypes::kBool, "b");
    HATOptGroupSpec backwards;
    addOption(backwards, HATAttrTypes::kBool, "b");
    addOption(backwards, HATAttrTypes::kInt, "a");
    EXPECT_FALSE(HATOptGroup(&forwards) != HATOptGroup(&backwards));
}

TEST_F(HATOptGroupOtherSpecTest, DiffersByAnOptionThatOnlyTheRightHas) {
    HATOptGroupSpec one;
    addOption(one, HATAttrTypes::kInt, "a");
    HATOptGroupSpec two;
    addOption(two, HATAttrTypes::kInt, "a");
    addOption(two, HATAttrTypes::kInt, "b");
    EXPECT_TRUE(HATOptGroup(&one) != HATOptGroup(&two));
}

TEST_F(HATOptGroupOtherSpecTest, DiffersByTheKindOfAnOption) {
    HATOptGroupSpec one;
    addOption(one, HATAttrTypes::kString, "a");
    HATOptGroupSpec two;
    addOption(two, HATAttrTypes::kFile, "a");
    EXPECT_TRUE(HATOptGroup(&one) != HATOptGroup(&two));
}

TEST_F(HATOptGroupCompareTest, FindsNewGroupsEqual) {
    EXPECT_FALSE(m_group != m_other);
    EXPECT_TRUE(m_group == m_other);
}

TEST_F(HATOptGroupCompareTest, SeesAValueThatOnlyOneSideSet) {
    m_other.setFileVal(m_options.hook, "/x.tcl", false);
    EXPECT_TRUE(m_group != m_other);
    EXPECT_TRUE(m_other != m_group);
}

TEST_F(HATOptGroupCompareTest, FindsEqualValuesEqual) {
    setAll(m_group);
    setAll(m_other);
    EXPECT_FALSE(m_group != m_other);
}

TEST_F(HATOptGroupCompareTest, SeesADifferenceInEachKind) {
    const auto differs = [&](auto change) {
        m_group.copy(&m_other, false);
        change();
        return m_group != m_other && m_other != m_group;
    };
    setAll(m_other);
    EXPECT_TRUE(differs([&] { m_group.setBoolVal(m_options.fast, false, false); }));
    EXPECT_TRUE(differs([&] { m_group.setIntVal(m_options.seed, 7, false); }));
    EXPECT_TRUE(differs([&] { m_group.setLongVal(m_options.memory, 71, false); }));
    EXPECT_TRUE(differs([&] { m_group.setStrVal(m_options.top, "CPU", false); }));
    EXPECT_TRUE(differs([&] { m_group.setStrListVal(m_options.passes, {"a b", "c"}, false); }));
    EXPECT_TRUE(differs([&] { m_group.setEnumVal(m_options.mode, "Area", false); }));
    EXPECT_TRUE(differs([&] { m_group.setFileVal(m_options.hook, "", false); }));
}

TEST_F(HATOptGroupCompareTest, CountsAValueSetToWhatIsTheDefaultByNowAsEqual) {
    m_group.setIntVal(m_options.seed, 8, false);
    EXPECT_TRUE(m_group != m_other);
    m_options.seed->setIntDefault(8);
    EXPECT_FALSE(m_group != m_other);
}

TEST_F(HATOptGroupCompareTest, TellsOfOneOptionWhetherItIsTheSame) {
    EXPECT_TRUE(m_group.isSameIn(m_options.seed, m_other));
    m_group.setIntVal(m_options.seed, 8, false);
    EXPECT_FALSE(m_group.isSameIn(m_options.seed, m_other));
    EXPECT_FALSE(m_other.isSameIn(m_options.seed, m_group));
    EXPECT_TRUE(m_group.isSameIn(m_options.top, m_other));
    m_other.setIntVal(m_options.seed, 8, false);
    EXPECT_TRUE(m_group.isSameIn(m_options.seed, m_other));
}

TEST_F(HATOptGroupOtherSpecTest, TellsOfOneOptionWhetherItIsTheSame) {
    m_group.setStrVal(m_options.top, "cpu", false);
    EXPECT_FALSE(m_group.isSameIn(m_options.top, m_other));
    m_other.setStrVal(m_top, "cpu", false);
    EXPECT_TRUE(m_group.isSameIn(m_options.top, m_other));
    EXPECT_TRUE(m_other.isSameIn(m_top, m_group));
    m_other.setStrVal(m_seed, "1", false);
    EXPECT_FALSE(m_group.isSameIn(m_options.seed, m_other));
    EXPECT_THROW(m_group.isSameIn(m_options.fast, m_other), HEXAlgException);
}

TEST_F(HATOptGroupCompareTest, AllocatesNothing) {
    setAll(m_group);
    setAll(m_other);
    PlaceOptions twin;
    HATOptGroup twinGroup(&twin.spec);
    const std::size_t before = s_allocations;
    const bool same = m_group != m_other;
    const bool byDbId = m_group != twinGroup;
    const std::size_t after = s_allocations;
    EXPECT_FALSE(same);
    EXPECT_TRUE(byDbId);
    EXPECT_EQ(after, before);
}

TEST_F(HATOptGroupCompareTest, CountsTheAllocationsOfThisProgram) {
    const std::size_t before = s_allocations;
    m_group.setStrVal(m_options.top, "a text too long for the small string buffer", false);
    EXPECT_GT(s_allocations, before);
}

TEST_F(HATOptGroupCompareTest, NeedsNoStorageForAGroupWithNothingSet) {
    const std::size_t before = s_allocations;
    HATOptGroup fresh(&m_options.spec);
    fresh.setIntVal(m_options.seed, 1, true);
    fresh.getBoolVal(m_options.fast);
    EXPECT_EQ(s_allocations, before);
}

}  // namespace
