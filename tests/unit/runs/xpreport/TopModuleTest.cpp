// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>

#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HEIOptions.h"
#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::getEDIFTopFile;
using reportConfigUtil::getTopDcpFile;
using reportConfigUtil::getTopModuleName;

/// Sources without a chosen top.
class TopModuleTest : public test::ReportCommandFixture {
protected:
    TopModuleTest() { setTop(""); }

    std::string top() const {
        std::string name = "what was there";
        getTopModuleName(m_run.get(), name);
        return name;
    }
    /// The top netlist; "none" without one.
    std::string netlist() const {
        std::string path = "untouched";
        if (getEDIFTopFile(&m_sources, path))
            return path;
        EXPECT_EQ(path, "untouched");
        return "none";
    }
    /// The top checkpoint; "none" without one.
    std::string checkpoint() const {
        std::string path = "what was there";
        if (getTopDcpFile(&m_sources, path))
            return path;
        EXPECT_EQ(path, "");
        return "none";
    }
    void addKind(const std::string& path, int kind) {
        m_sources.addSrcFile(path, static_cast<HDDATypes::SFTId>(kind));
    }
    /// The root block of an out-of-context set.
    HDDACompositeFile* addRoot() {
        HDDACompositeFile* const root =
            m_sources.addCompositeFile("/d/b.core", HDDATypes::SFT_CORE);
        m_sources.setOOCRootCompositeFile(root);
        return root;
    }
};

// The name -------------------------------------------------------------------

TEST_F(TopModuleTest, IsTheChosenOne) {
    setTop("cpu");
    m_sources.getEDIFOptions().setTopFile("/d/other.edf");
    EXPECT_EQ(top(), "cpu");
}

TEST_F(TopModuleTest, IsElseTheBaseNameOfTheTopNetlist) {
    m_sources.getEDIFOptions().setTopFile("/d/my.cpu.edf");
    EXPECT_EQ(top(), "my.cpu");
}

TEST_F(TopModuleTest, IsElseTheBaseNameOfTheTopCheckpoint) {
    addKind("/d/cpu.dcp", 32);
    EXPECT_EQ(top(), "cpu");
}

TEST_F(TopModuleTest, PrefersTheNetlistToTheCheckpoint) {
    addRoot()->addSrcFile("/d/block.dcp", HDDATypes::SFT_CHECKPOINT);
    m_sources.getEDIFOptions().setTopFile("/d/net.edf");
    EXPECT_EQ(top(), "net");
}

TEST_F(TopModuleTest, IsEmptyWhenNothingTells) {
    EXPECT_EQ(top(), "");
}

TEST_F(TopModuleTest, IsEmptyWithoutSourcesInformationOrRun) {
    m_run->info().setSrcSet(nullptr, false);
    EXPECT_EQ(top(), "");
    m_run->setExpInfoBase(nullptr);
    EXPECT_EQ(top(), "");
    std::string name = "what was there";
    getTopModuleName(nullptr, name);
    EXPECT_EQ(name, "");
}

// The netlist ----------------------------------------------------------------

TEST_F(TopModuleTest, FindsTheChosenNetlistWhateverTheSources) {
    m_sources.getEDIFOptions().setTopFile("/d/cpu.edf");
    m_sources.addSrcFile("/d/cpu.v");
    m_sources.addSrcFile("/d/a.edf");
    m_sources.addSrcFile("/d/b.edf");
    EXPECT_EQ(netlist(), "/d/cpu.edf");
}

TEST_F(TopModuleTest, FindsTheOnlyNetlistOfEachKind) {
    for (const int kind : {7, 8, 22}) {
        addKind("/d/net", kind);
        EXPECT_EQ(netlist(), "/d/net") << kind;
        m_sources.removeAllSrcFiles();
    }
}

TEST_F(TopModuleTest, FindsNoNetlistAmongTwo) {
    addKind("/d/a.edf", 7);
    addKind("/d/b.net", 8);
    EXPECT_EQ(netlist(), "none");
}

TEST_F(TopModuleTest, FindsNoNetlistBesideVerilog) {
    addKind("/d/a.edf", 7);
    addKind("/d/a.v", 0);
    EXPECT_EQ(netlist(), "none");
}

TEST_F(TopModuleTest, FindsTheNetlistBesideEveryOtherLanguage) {
    addKind("/d/a.edf", 7);
    for (const int kind : {1, 2, 3, 4, 5, 9, 10, 32})
        addKind("/d/" + std::to_string(kind), kind);
    EXPECT_EQ(netlist(), "/d/a.edf");
}

TEST_F(TopModuleTest, FindsNoNetlistWithoutSources) {
    EXPECT_EQ(netlist(), "none");
    std::string path = "untouched";
    EXPECT_FALSE(getEDIFTopFile(nullptr, path));
    EXPECT_EQ(path, "untouched");
}

TEST_F(TopModuleTest, LooksForNetlistsInTheSetItselfOnly) {
    HDDACompositeFile* const core = m_sources.addCompositeFile("/d/b.core", HDDATypes::SFT_CORE);
    core->addSrcFile("/d/inside.edf", HDDATypes::SFT_EDIF);
    core->addSrcFile("/d/inside.v", HDDATypes::SFT_VERILOG);
    EXPECT_EQ(netlist(), "none");
    addKind("/d/a.edf", 7);
    EXPECT_EQ(netlist(), "/d/a.edf");
}

// The checkpoint -------------------------------------------------------------

TEST_F(TopModuleTest, FindsTheCheckpointThatIsTheOnlyDesignSource) {
    addKind("/d/cpu.dcp", 32);
    for (const int kind : {2, 6, 10, 11, 12, 31, 43})
        addKind("/d/" + std::to_string(kind), kind);
    EXPECT_EQ(checkpoint(), "/d/cpu.dcp");
}

TEST_F(TopModuleTest, FindsNoCheckpointBesideAnotherDesignSource) {
    for (const int kind : {0, 1, 3, 4, 5, 7, 8, 22, 9, 25, 27, 32}) {
        m_sources.removeAllSrcFiles();
        addKind("/d/cpu.dcp", 32);
        addKind("/d/other", kind);
        EXPECT_EQ(checkpoint(), "none") << kind;
    }
}

TEST_F(TopModuleTest, FindsNoCheckpointInASetWithAnotherDesignSourceAlone) {
    addKind("/d/cpu.vhd", 1);
    EXPECT_EQ(checkpoint(), "none");
}

TEST_F(TopModuleTest, FindsNoCheckpointWithoutSources) {
    EXPECT_EQ(checkpoint(), "none");
    std::string path = "what was there";
    EXPECT_FALSE(getTopDcpFile(nullptr, path));
    EXPECT_EQ(path, "");
}

TEST_F(TopModuleTest, FindsTheFirstCheckpointInsideTheRootBlock) {
    HDDACompositeFile* const root = addRoot();
    root->addSrcFile("/d/block.v", HDDATypes::SFT_VERILOG);
    HDDACompositeFile* const inner = root->addCompositeFile("/d/inner.core", HDDATypes::SFT_CORE);
    inner->addSrcFile("/d/inner.dcp", HDDATypes::SFT_CHECKPOINT);
    root->addSrcFile("/d/later.dcp", HDDATypes::SFT_CHECKPOINT);
    EXPECT_EQ(checkpoint(), "/d/inner.dcp");
}

TEST_F(TopModuleTest, FindsTheCheckpointInsideADisabledRootBlock) {
    HDDACompositeFile* const root = addRoot();
    root->addSrcFile("/d/block.dcp", HDDATypes::SFT_CHECKPOINT);
    root->getAttrs().setDisabled(true);
    EXPECT_EQ(checkpoint(), "/d/block.dcp");
}

TEST_F(TopModuleTest, LooksNowhereElseWithARootBlock) {
    // Of no design kind, so that the set's only design source is the checkpoint.
    m_sources.setOOCRootCompositeFile(m_sources.addCompositeFile("/d/b.data", HDDATypes::SFT_DATA));
    addKind("/d/cpu.dcp", 32);
    EXPECT_EQ(checkpoint(), "none");
}

}  // namespace
