// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcFilter.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

/// Two sources and a core.
class SrcFilterTest : public ::testing::Test {
protected:
    std::vector<HDDATypes::SFTId> kinds() const {
        const std::unique_ptr<HSTFwdIter<HDDATypes::SFTId>> iter(m_filter.createSFTypeIter());
        std::vector<HDDATypes::SFTId> ids;
        while (iter->hasNext())
            ids.push_back(iter->next());
        return ids;
    }

    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
    HDDASrcFile* m_verilog = m_folder.add(m_set, "top.v");
    HDDASrcFile* m_vhdl = m_folder.add(m_set, "alu.vhd");
    HDDACompositeFile* m_core = m_folder.addCore(m_set, "fifo.core");
    HDDASrcFilter m_filter;
};

TEST_F(SrcFilterTest, LetsEveryFilePassWhenNew) {
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    EXPECT_TRUE(m_filter.filterSF(m_core));
    EXPECT_EQ(m_filter.sfTypeCount(), 0);
    EXPECT_TRUE(kinds().empty());
}

TEST_F(SrcFilterTest, LetsNoNullPass) {
    EXPECT_FALSE(m_filter.filterSF(nullptr));
}

TEST_F(SrcFilterTest, LetsOnlyTheAddedKindsPass) {
    m_filter.addSFType(HDDATypes::SFT_VHDL);
    EXPECT_TRUE(m_filter.filterSF(m_vhdl));
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
    EXPECT_FALSE(m_filter.filterSF(m_core));
}

TEST_F(SrcFilterTest, LetsACompositeFilePassByItsKind) {
    m_filter.addSFType(HDDATypes::SFT_CORE);
    EXPECT_TRUE(m_filter.filterSF(m_core));
}

TEST_F(SrcFilterTest, LetsOnlyCompositeFilesPassWhenThatIsAllItHas) {
    m_filter.addCompositeFileType();
    EXPECT_TRUE(m_filter.hasCompositeFileType());
    EXPECT_EQ(m_filter.sfTypeCount(), 0);
    EXPECT_TRUE(m_filter.filterSF(m_core));
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
}

TEST_F(SrcFilterTest, LetsCompositeFilesPassBesideTheAddedKinds) {
    m_filter.addSFType(HDDATypes::SFT_VERILOG);
    m_filter.addCompositeFileType();
    EXPECT_TRUE(m_filter.filterSF(m_core));
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    EXPECT_FALSE(m_filter.filterSF(m_vhdl));
}

TEST_F(SrcFilterTest, CountsEachKindOnceAndGivesThemInAscendingOrder) {
    for (const auto id : {HDDATypes::SFT_NOTES, HDDATypes::SFT_VERILOG, HDDATypes::SFT_CHECKPOINT,
                          HDDATypes::SFT_NOTES, HDDATypes::SFT_UNKNOWN})
        m_filter.addSFType(id);
    EXPECT_EQ(m_filter.sfTypeCount(), 4);
    EXPECT_EQ(kinds(),
              (std::vector<HDDATypes::SFTId>{HDDATypes::SFT_VERILOG, HDDATypes::SFT_CHECKPOINT,
                                             HDDATypes::SFT_NOTES, HDDATypes::SFT_UNKNOWN}));
}

TEST_F(SrcFilterTest, LeavesAnIteratorBeforeItsEnd) {
    m_filter.addSFType(HDDATypes::SFT_VHDL);
    m_filter.addSFType(HDDATypes::SFT_VERILOG);
    const std::unique_ptr<HSTFwdIter<HDDATypes::SFTId>> iter(m_filter.createSFTypeIter());
    EXPECT_EQ(iter->next(), HDDATypes::SFT_VERILOG);
    EXPECT_TRUE(iter->hasNext());
}

TEST_F(SrcFilterTest, RefusesNumbersThatNoKindHas) {
    EXPECT_THROW(m_filter.addSFType(HDDATypes::SFT_LIMIT), HEXAlgException);
    EXPECT_THROW(m_filter.addSFType(static_cast<HDDATypes::SFTId>(-1)), HEXAlgException);
    EXPECT_EQ(m_filter.sfTypeCount(), 0);
    EXPECT_FALSE(m_filter.hasSFType(HDDATypes::SFT_LIMIT));
}

TEST_F(SrcFilterTest, ForgetsItsKinds) {
    m_filter.addSFType(HDDATypes::SFT_VHDL);
    m_filter.addCompositeFileType();
    m_filter.clearSFTypes();
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    EXPECT_FALSE(m_filter.hasCompositeFileType());
}

TEST_F(SrcFilterTest, LetsDisabledFilesPassUntilTheyAreExcluded) {
    m_verilog->getAttrs().setDisabled(true);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    m_filter.setExcludeDisabled(true);
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
    EXPECT_TRUE(m_filter.filterSF(m_vhdl));
}

TEST_F(SrcFilterTest, ExcludesFilesThatTheEnvironmentDisabled) {
    m_verilog->getAttrs().setAutoDisabled(true);
    m_filter.setExcludeDisabled(true);
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
}

TEST_F(SrcFilterTest, HoldsAllConditionsTogether) {
    m_filter.addSFType(HDDATypes::SFT_VERILOG);
    m_filter.setUsedInSynthesisFilter(true, false);
    m_filter.setUsedInSimulationFilter(true, false);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    m_verilog->getAttrs().setUsedInSimulation(false);
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
}

TEST_F(SrcFilterTest, IsAValueWhoseCopyGoesItsOwnWay) {
    m_filter.addSFType(HDDATypes::SFT_VERILOG);
    HDDASrcFilter copy = m_filter;
    copy.addSFType(HDDATypes::SFT_VHDL);
    EXPECT_TRUE(copy.filterSF(m_vhdl));
    EXPECT_FALSE(m_filter.filterSF(m_vhdl));
}

/// A stage, and how a filter and a file are set for it.
struct StageCase {
    const char* name;
    void (HDDASrcFilter::*filter)(bool, bool);
    void (HDDASrcAttrs::*use)(bool);
};

std::ostream& operator<<(std::ostream& os, const StageCase& row) {
    return os << row.name;
}

class SrcFilterStageTest : public SrcFilterTest, public ::testing::WithParamInterface<StageCase> {
protected:
    void use(bool used) { (m_verilog->getAttrs().*GetParam().use)(used); }
    void filter(bool on, bool inverted) { (m_filter.*GetParam().filter)(on, inverted); }
};

TEST_P(SrcFilterStageTest, LetsOnlyUsedFilesPass) {
    filter(true, false);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    use(false);
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
    EXPECT_TRUE(m_filter.filterSF(m_vhdl));
}

TEST_P(SrcFilterStageTest, LetsOnlyUnusedFilesPassWhenInverted) {
    filter(true, true);
    EXPECT_FALSE(m_filter.filterSF(m_verilog));
    use(false);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
}

TEST_P(SrcFilterStageTest, DoesNotLookAtUseOnceSwitchedOff) {
    filter(true, false);
    filter(false, true);
    use(false);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
    use(true);
    EXPECT_TRUE(m_filter.filterSF(m_verilog));
}

INSTANTIATE_TEST_SUITE_P(
    Stages, SrcFilterStageTest,
    ::testing::Values(StageCase{"Synthesis", &HDDASrcFilter::setUsedInSynthesisFilter,
                                &HDDASrcAttrs::setUsedInSynthesis},
                      StageCase{"Implementation", &HDDASrcFilter::setUsedInImplementationFilter,
                                &HDDASrcAttrs::setUsedInImplementation},
                      StageCase{"Simulation", &HDDASrcFilter::setUsedInSimulationFilter,
                                &HDDASrcAttrs::setUsedInSimulation}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
