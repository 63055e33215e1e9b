// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/CAttributeList.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using CSL::XML::CAttributeList;

class CAttributeListTest : public ::testing::Test {
protected:
    CAttributeListTest() {
        m_list.addAttribute("Name", "fast");
        m_list.addAttribute("Flow", "");
    }

    CAttributeList m_list;
};

TEST_F(CAttributeListTest, KeepsTheOrder) {
    ASSERT_EQ(m_list.getLength(), 2u);
    EXPECT_EQ(m_list.getName(0), "Name");
    EXPECT_EQ(m_list.getValue(0u), "fast");
    EXPECT_EQ(m_list.getName(1), "Flow");
}

TEST_F(CAttributeListTest, GivesAnEmptyValueForAMissingName) {
    EXPECT_EQ(m_list.getValue("Missing"), "");
    EXPECT_EQ(m_list.find("Missing"), nullptr);
}

TEST_F(CAttributeListTest, TellsAnEmptyValueFromAMissingOne) {
    EXPECT_TRUE(m_list.hasAttribute("Flow"));
    EXPECT_FALSE(m_list.hasAttribute("flow"));
    EXPECT_EQ(*m_list.find("Flow"), "");
}

TEST_F(CAttributeListTest, FindsTheFirstOfAName) {
    m_list.addAttribute("Name", "slow");
    EXPECT_EQ(m_list.getValue("Name"), "fast");
}

TEST_F(CAttributeListTest, RefusesAPlaceBehindTheEnd) {
    EXPECT_THROW(m_list.getName(2), std::out_of_range);
    EXPECT_THROW(m_list.getValue(2u), std::out_of_range);
}

TEST_F(CAttributeListTest, IsEmptyOnceCleared) {
    m_list.clear();
    EXPECT_EQ(m_list.getLength(), 0u);
    EXPECT_FALSE(m_list.hasAttribute("Name"));
}

}  // namespace
