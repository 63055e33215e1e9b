// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/optionText.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"

namespace {

/// A group with an option of each kind that has a text.
class OptionTextTest : public ::testing::Test {
protected:
    OptionTextTest() {
        add(HATAttrTypes::kBool, "flag");
        add(HATAttrTypes::kInt, "number")->setIntDefault(7);
        HATAttrSpec* choice = add(HATAttrTypes::kEnum, "choice");
        choice->addEnumRange("heap", "heap", "heap");
        choice->addEnumRange("sa", "sa", "sa");
        choice->setEnumDefault("heap");
        add(HATAttrTypes::kString, "text");
        add(HATAttrTypes::kFile, "file");
        m_group = std::make_unique<HATOptGroup>(&m_spec);
    }

    HATAttrSpec* add(HATAttrTypes::AttrType type, const std::string& name) {
        auto spec = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
        spec->setName(name);
        HATAttrSpec* made = spec.get();
        m_spec.registerAttrSpec(spec.release(), name, "--" + name);
        return made;
    }

    bool set(const std::string& name, const std::string& text) {
        return workbench::setOptionText(*m_group, *m_group->getAttrSpecByName(name), text,
                                        m_reason);
    }
    std::string text(const std::string& name) const {
        return workbench::optionText(*m_group, *m_group->getAttrSpecByName(name));
    }
    std::string defaultOf(const std::string& name) const {
        return workbench::defaultText(*m_group->getAttrSpecByName(name));
    }

    HATOptGroupSpec m_spec;
    std::unique_ptr<HATOptGroup> m_group;
    std::string m_reason = "untouched";
};

TEST_F(OptionTextTest, ReadsDefaultsAsTexts) {
    EXPECT_EQ(text("flag"), "false");
    EXPECT_EQ(text("number"), "7");
    EXPECT_EQ(text("choice"), "heap");
    EXPECT_EQ(text("text"), "");
    for (const char* name : {"flag", "number", "choice", "text", "file"})
        EXPECT_EQ(defaultOf(name), text(name)) << name;
}

TEST_F(OptionTextTest, GivesBackWhatWasSet) {
    EXPECT_TRUE(set("flag", "true"));
    EXPECT_TRUE(set("number", "-12"));
    EXPECT_TRUE(set("choice", "sa"));
    EXPECT_TRUE(set("text", "two words"));
    EXPECT_TRUE(set("file", "/a/b c.hex"));
    EXPECT_EQ(text("flag"), "true");
    EXPECT_EQ(text("number"), "-12");
    EXPECT_EQ(text("choice"), "sa");
    EXPECT_EQ(text("text"), "two words");
    EXPECT_EQ(text("file"), "/a/b c.hex");
    EXPECT_EQ(m_reason, "untouched");
}

TEST_F(OptionTextTest, KeepsTheDefaultApartFromTheValue) {
    set("number", "8");
    EXPECT_EQ(defaultOf("number"), "7");
}

TEST_F(OptionTextTest, RefusesWhatIsNeitherTrueNorFalse) {
    EXPECT_FALSE(set("flag", "maybe"));
    EXPECT_EQ(m_reason, "'maybe' is neither true nor false");
    EXPECT_EQ(text("flag"), "false");
}

TEST_F(OptionTextTest, RefusesWhatIsNoWholeNumber) {
    for (const std::string bad : {"many", "1.5", "", "7x", "99999999999"}) {
        EXPECT_FALSE(set("number", bad)) << bad;
        EXPECT_EQ(m_reason, "'" + bad + "' is no whole number");
    }
    EXPECT_EQ(text("number"), "7");
}

TEST_F(OptionTextTest, NamesTheValuesOfAnEnum) {
    EXPECT_FALSE(set("choice", "best"));
    EXPECT_EQ(m_reason, "'best' is none of its values: heap, sa");
    EXPECT_EQ(text("choice"), "heap");
}

TEST_F(OptionTextTest, RefusesAnOptionThatIsReadOnly) {
    m_group->getAttrSpecByName("flag")->setReadOnly(true);
    EXPECT_FALSE(set("flag", "true"));
    EXPECT_EQ(m_reason, "it can't be set");
}

}  // namespace
