// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileSetChangeSummary.h"

#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

using Names = std::vector<std::string>;
using Summary = HADAFileSetChangeSummary;
using Collection = Summary::enumFSCSFileCollection;

class ChangeSummaryTest : public ::testing::Test {
protected:
    Names files(Collection collection) const {
        return m_folder.names(m_changes.createFilesIter(collection));
    }

    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
    HDDASrcFile* m_top = m_folder.add(m_set, "top.v");
    HDDASrcFile* m_alu = m_folder.add(m_set, "alu.vhd");
    Summary m_changes{&m_set};
};

TEST_F(ChangeSummaryTest, BeginsWithoutAFileInItsThirtyTwoCollections) {
    EXPECT_EQ(m_changes.getFileSet(), &m_set);
    EXPECT_TRUE(m_changes.empty());
    ASSERT_EQ(Summary::FSCS_LIMIT, 32);
    for (int number = 0; number < 32; ++number) {
        EXPECT_EQ(m_changes.filesCount(static_cast<Collection>(number)), 0U);
        EXPECT_TRUE(files(static_cast<Collection>(number)).empty());
        EXPECT_FALSE(m_changes.hasFileChange(static_cast<Collection>(number), nullptr));
    }
}

TEST_F(ChangeSummaryTest, HasNoFileSetWhenThereIsNone) {
    EXPECT_EQ(Summary(nullptr).getFileSet(), nullptr);
}

TEST_F(ChangeSummaryTest, KeepsTheFilesOfACollectionInOrder) {
    m_changes.addFiles(Summary::FSCS_ADDED, m_top);
    m_changes.addFiles(Summary::FSCS_ADDED, m_alu);
    EXPECT_EQ(files(Summary::FSCS_ADDED), (Names{"top.v", "alu.vhd"}));
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_ADDED), 2U);
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_REMOVED), 0U);
    EXPECT_FALSE(m_changes.empty());
}

TEST_F(ChangeSummaryTest, HoldsAFileOnceACollection) {
    m_changes.addFiles(Summary::FSCS_ADDED, m_top);
    m_changes.addFiles(Summary::FSCS_ADDED, m_top);
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_ADDED), 1U);
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_MODIFIED), 1U);
}

TEST_F(ChangeSummaryTest, AddsNoNull) {
    m_changes.addFiles(Summary::FSCS_ADDED, nullptr);
    EXPECT_TRUE(m_changes.empty());
}

TEST_F(ChangeSummaryTest, RefusesNumbersOfNoCollection) {
    EXPECT_THROW(m_changes.addFiles(Summary::FSCS_LIMIT, m_top), HEXAlgException);
    EXPECT_THROW(m_changes.filesCount(static_cast<Collection>(-1)), HEXAlgException);
    EXPECT_THROW(Summary::getChangeText(Summary::FSCS_LIMIT), HEXAlgException);
}

TEST_F(ChangeSummaryTest, HasAFileChangeWhenAFileOfTheCollectionPasses) {
    HDDASrcFilter verilog;
    verilog.addSFType(HDDATypes::SFT_VERILOG);
    m_changes.addFiles(Summary::FSCS_ADDED, m_alu);
    EXPECT_FALSE(m_changes.hasFileChange(Summary::FSCS_ADDED, &verilog));
    EXPECT_TRUE(m_changes.hasFileChange(Summary::FSCS_ADDED, nullptr));
    m_changes.addFiles(Summary::FSCS_ADDED, m_top);
    EXPECT_TRUE(m_changes.hasFileChange(Summary::FSCS_ADDED, &verilog));
    EXPECT_FALSE(m_changes.hasFileChange(Summary::FSCS_MODIFIED, &verilog));
}

TEST_F(ChangeSummaryTest, HoldsADisabledStateAgainstAnyOtherChange) {
    HDDASrcFilter enabled;
    enabled.setExcludeDisabled(true);
    m_top->getAttrs().setDisabled(true);
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    EXPECT_FALSE(m_changes.hasFileChange(Summary::FSCS_MODIFIED, &enabled));
}

TEST_F(ChangeSummaryTest, HasATextOfItsOwnForEachCollection) {
    std::set<std::string> texts;
    for (int number = 0; number < Summary::FSCS_LIMIT; ++number)
        texts.insert(Summary::getChangeText(static_cast<Collection>(number)));
    EXPECT_EQ(texts.size(), 32U);
    EXPECT_EQ(texts.count(""), 0U);
}

/// A change that alters what a filter asks for.
struct OwnChangeCase {
    const char* name;
    Collection collection;
    void (*change)(HDDASrcFile&);
    void (*ask)(HDDASrcFilter&);
};

std::ostream& operator<<(std::ostream& os, const OwnChangeCase& row) {
    return os << row.name;
}

class OwnChangeTest : public ChangeSummaryTest,
                      public ::testing::WithParamInterface<OwnChangeCase> {};

TEST_P(OwnChangeTest, IsNotHeldAgainstTheFile) {
    HDDASrcFilter filter;
    GetParam().ask(filter);
    GetParam().change(*m_top);
    ASSERT_FALSE(filter.filterSF(m_top));
    m_changes.addFiles(GetParam().collection, m_top);
    EXPECT_TRUE(m_changes.hasFileChange(GetParam().collection, &filter));
}

INSTANTIATE_TEST_SUITE_P(
    Changes, OwnChangeTest,
    ::testing::Values(
        OwnChangeCase{"Disabled", Summary::FSCS_DISABLED,
                      [](HDDASrcFile& file) { file.getAttrs().setDisabled(true); },
                      [](HDDASrcFilter& filter) { filter.setExcludeDisabled(true); }},
        OwnChangeCase{"AutoDisabled", Summary::FSCS_AUTO_DISABLED,
                      [](HDDASrcFile& file) { file.getAttrs().setAutoDisabled(true); },
                      [](HDDASrcFilter& filter) { filter.setExcludeDisabled(true); }},
        OwnChangeCase{"Kind", Summary::FSCS_KIND_CHANGED,
                      [](HDDASrcFile& file) { file.setFileType(HDDATypes::SFT_NOTES); },
                      [](HDDASrcFilter& filter) { filter.addSFType(HDDATypes::SFT_VERILOG); }},
        OwnChangeCase{"Synthesis", Summary::FSCS_SYNTHESIS_USE_CHANGED,
                      [](HDDASrcFile& file) { file.getAttrs().setUsedInSynthesis(false); },
                      [](HDDASrcFilter& filter) { filter.setUsedInSynthesisFilter(true, false); }},
        OwnChangeCase{
            "Implementation", Summary::FSCS_IMPLEMENTATION_USE_CHANGED,
            [](HDDASrcFile& file) { file.getAttrs().setUsedInImplementation(false); },
            [](HDDASrcFilter& filter) { filter.setUsedInImplementationFilter(true, false); }},
        OwnChangeCase{
            "Simulation", Summary::FSCS_SIMULATION_USE_CHANGED,
            [](HDDASrcFile& file) { file.getAttrs().setUsedInSimulation(false); },
            [](HDDASrcFilter& filter) { filter.setUsedInSimulationFilter(true, false); }}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
