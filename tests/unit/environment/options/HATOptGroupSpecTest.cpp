// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroupSpec.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATAttrSpec.h"
#include "tests/support/thrownText.h"

namespace {

using test::thrownText;
using ::testing::ElementsAre;

/// An empty group spec "place_design".
class HATOptGroupSpecTest : public ::testing::Test {
protected:
    HATOptGroupSpecTest() { m_group.setOptGrpId("place_design"); }

    HATAttrSpec* add(const std::string& name, const std::string& dbId,
                     const std::string& invokeText = "") {
        auto spec = std::make_unique<HATAttrSpec>(HATAttrTypes::kString, HATAttrSpec::kOption);
        spec->setName(name);
        m_group.registerAttrSpec(spec.get(), dbId, invokeText);
        return spec.release();
    }

    /// Enough options "name0", "name1" ... under "Id0", "Id1" ... to be hashed.
    void addMany() {
        for (int i = 0; i < kMany; ++i)
            m_many.push_back(add("name" + std::to_string(i), "Id" + std::to_string(i)));
    }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> specs(m_group.createAttrSpecIter());
        while (specs->hasNext())
            result.push_back(specs->next()->getName());
        return result;
    }

    static constexpr int kMany = 40;
    HATOptGroupSpec m_group;
    std::vector<HATAttrSpec*> m_many;
};

TEST_F(HATOptGroupSpecTest, KeepsItsIdAndDisplayName) {
    EXPECT_EQ(m_group.getOptGrpPrettyDisplayName(), "");
    m_group.setOptGrpPrettyDisplayName("Place Design");
    EXPECT_EQ(m_group.getOptGrpId(), "place_design");
    EXPECT_EQ(m_group.getOptGrpPrettyDisplayName(), "Place Design");
}

TEST_F(HATOptGroupSpecTest, GivesAnEmptyIteratorWhenEmpty) {
    const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> specs(m_group.createAttrSpecIter());
    EXPECT_FALSE(specs->hasNext());
    EXPECT_EQ(m_group.attrSpecCount(), 0U);
}

TEST_F(HATOptGroupSpecTest, WalksInOrderOfRegistration) {
    add("zeta", "Z");
    add("alpha", "A");
    add("mid", "M");
    EXPECT_THAT(names(), ElementsAre("zeta", "alpha", "mid"));
    EXPECT_EQ(m_group.attrSpecCount(), 3U);
}

TEST_F(HATOptGroupSpecTest, AllowsAnIteratorToBeDroppedHalfWay) {
    HATAttrSpec* first = add("a", "A");
    add("b", "B");
    const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> specs(m_group.createAttrSpecIter());
    EXPECT_EQ(specs->next(), first);
}

TEST_F(HATOptGroupSpecTest, FindsByDatabaseIdExactly) {
    HATAttrSpec* directive = add("directive", "PlaceDirective");
    EXPECT_EQ(m_group.getAttrSpecForDbId("PlaceDirective"), directive);
    EXPECT_EQ(m_group.getAttrSpecForDbId("placedirective"), nullptr);
    EXPECT_EQ(m_group.getAttrSpecForDbId("directive"), nullptr);
    EXPECT_EQ(m_group.getAttrSpecForDbId(""), nullptr);
}

TEST_F(HATOptGroupSpecTest, FindsByNameExactly) {
    HATAttrSpec* directive = add("directive", "PlaceDirective");
    EXPECT_EQ(m_group.getAttrSpecByName("directive"), directive);
    EXPECT_EQ(m_group.getAttrSpecByName("Directive"), nullptr);
    EXPECT_EQ(m_group.getAttrSpecByName("PlaceDirective"), nullptr);
}

TEST_F(HATOptGroupSpecTest, FindsTheFirstOfEqualDatabaseIds) {
    HATAttrSpec* first = add("a", "Same");
    HATAttrSpec* second = add("b", "Same");
    EXPECT_EQ(m_group.getAttrSpecForDbId("Same"), first);
    EXPECT_EQ(m_group.getDbId(second), "Same");
}

TEST_F(HATOptGroupSpecTest, FindsEachOfManyByIdAndName) {
    addMany();
    for (int i = 0; i < kMany; ++i) {
        EXPECT_EQ(m_group.getAttrSpecForDbId("Id" + std::to_string(i)), m_many[i]);
        EXPECT_EQ(m_group.getAttrSpecByName("name" + std::to_string(i)), m_many[i]);
    }
    EXPECT_EQ(m_group.getAttrSpecForDbId("Id40"), nullptr);
    EXPECT_EQ(m_group.getAttrSpecByName("name40"), nullptr);
}

TEST_F(HATOptGroupSpecTest, FindsTheFirstOfEqualTextsAmongMany) {
    HATAttrSpec* first = add("same", "Same");
    addMany();
    add("same", "Same");
    EXPECT_EQ(m_group.getAttrSpecForDbId("Same"), first);
    EXPECT_EQ(m_group.getAttrSpecByName("same"), first);
}

TEST_F(HATOptGroupSpecTest, FindsASpecUnderTheNameItGotLater) {
    addMany();
    m_many[3]->setName("renamed");
    EXPECT_EQ(m_group.getAttrSpecByName("renamed"), m_many[3]);
    EXPECT_EQ(m_group.getAttrSpecByName("name3"), nullptr);
}

TEST_F(HATOptGroupSpecTest, FindsTheNextOfANameWhenTheFirstIsRenamed) {
    addMany();
    HATAttrSpec* second = add("name3", "Other");
    m_many[3]->setName("renamed");
    EXPECT_EQ(m_group.getAttrSpecByName("name3"), second);
}

TEST_F(HATOptGroupSpecTest, TellsInvokeTextAndDatabaseIdOfASpec) {
    HATAttrSpec* spec = add("directive", "PlaceDirective", "-directive");
    EXPECT_EQ(m_group.getInvokeStr(spec), "-directive");
    EXPECT_EQ(m_group.getDbId(spec), "PlaceDirective");
}

TEST_F(HATOptGroupSpecTest, TellsTheInvokeTextForTheSpecOfAnotherGroup) {
    add("effort", "Effort", "-e");
    add("directive", "PlaceDirective", "-directive");
    HATOptGroupSpec other;
    auto spec = std::make_unique<HATAttrSpec>(HATAttrTypes::kString, HATAttrSpec::kOption);
    HATAttrSpec* foreign = spec.get();
    other.registerAttrSpec(spec.release(), "PlaceDirective", "-d");
    EXPECT_EQ(m_group.getInvokeStr(foreign), "-directive");
}

TEST_F(HATOptGroupSpecTest, RefusesToTellOfAStrangeSpec) {
    HATAttrSpec stranger(HATAttrTypes::kBool, HATAttrSpec::kOption);
    stranger.setName("lone");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.getInvokeStr(&stranger); }),
              "option group \"place_design\" has no option \"lone\"");
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.getDbId(nullptr); }),
              "option group \"place_design\" has no option NULL");
}

TEST_F(HATOptGroupSpecTest, RefusesToRegisterNull) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_group.registerAttrSpec(nullptr, "A", ""); }),
              "NULL attribute spec registered in option group \"place_design\"");
    EXPECT_EQ(m_group.attrSpecCount(), 0U);
}

TEST_F(HATOptGroupSpecTest, RefusesASpecThatAnyGroupOwns) {
    HATAttrSpec* spec = add("a", "A");
    HATOptGroupSpec other;
    EXPECT_EQ(thrownText<HEXAlgException>([&] { other.registerAttrSpec(spec, "A", ""); }),
              "attribute spec \"a\" is registered already");
    EXPECT_THROW(m_group.registerAttrSpec(spec, "B", ""), HEXAlgException);
    EXPECT_EQ(other.attrSpecCount(), 0U);
    EXPECT_EQ(m_group.attrSpecCount(), 1U);
}

}  // namespace
