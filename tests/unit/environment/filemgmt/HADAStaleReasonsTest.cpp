// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAStaleReasons.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

using Names = std::vector<std::string>;
using Reason = HADAStaleReason;
using Summary = HADAFileSetChangeSummary;

HADAStaleOption option(const std::string& name, const std::string& before,
                       const std::string& after) {
    HADAStaleOption option;
    option.setStaleOptionDetails("synth_design", name, before, after);
    return option;
}

TEST(StaleOptionTest, KeepsGroupNameAndBothValues) {
    const HADAStaleOption changed = option("flatten", "none", "full");
    EXPECT_EQ(changed.getGroup(), "synth_design");
    EXPECT_EQ(changed.getName(), "flatten");
    EXPECT_EQ(changed.getOldValue(), "none");
    EXPECT_EQ(changed.getNewValue(), "full");
}

TEST(StaleOptionTest, TellsFromWhatToWhat) {
    EXPECT_EQ(option("flatten", "none", "full").getText(),
              "synth_design: option \"flatten\" from \"none\" to \"full\"");
    EXPECT_EQ(option("more", "", "-x").getText(),
              "synth_design: option \"more\" from \"\" to \"-x\"");
    HADAStaleOption ungrouped;
    ungrouped.setStaleOptionDetails("", "effort", "1", "2");
    EXPECT_EQ(ungrouped.getText(), "option \"effort\" from \"1\" to \"2\"");
}

TEST(StaleReasonTest, HasTheNumbersThatStepsRecord) {
    EXPECT_EQ(Reason::SS_DESIGN_SRCS_CHANGED, 1);
    EXPECT_EQ(Reason::SS_CONSTRS_CHANGED, 2);
    EXPECT_EQ(Reason::SS_SIM_SRCS_CHANGED, 3);
    EXPECT_EQ(Reason::SS_OPTION_CHANGED, 9);
    EXPECT_EQ(Reason::SS_SW_PARAM_CHANGED, 10);
    EXPECT_EQ(Reason::SS_UTILS_CHANGED, 13);
    EXPECT_EQ(Reason::RT_SYNTH, 0);
    EXPECT_EQ(Reason::RT_IMPL, 1);
}

TEST(StaleReasonTest, HasATextOfItsOwnForEachSummary) {
    std::set<std::string> texts;
    for (const auto summary :
         {Reason::SS_NONE, Reason::SS_DESIGN_SRCS_CHANGED, Reason::SS_CONSTRS_CHANGED,
          Reason::SS_SIM_SRCS_CHANGED, Reason::SS_OPTION_CHANGED, Reason::SS_SW_PARAM_CHANGED,
          Reason::SS_UTILS_CHANGED})
        texts.insert(Reason::getSummaryText(summary));
    EXPECT_EQ(texts.size(), 7U);
    EXPECT_EQ(Reason::getSummaryText(static_cast<Reason::StaleSummary>(12)),
              "Something changed (reason 12)");
}

TEST(StaleReasonTest, TellsWhatChangedFromWhatToWhatAndSinceWhen) {
    Reason reason(Reason::SS_OPTION_CHANGED, 1700000000);
    reason.addOrUpdateOption(option("flatten", "none", "full"));
    reason.addOrUpdateOption(option("effort", "1", "2"));
    EXPECT_EQ(reason.getText(), "Options changed, noticed 2023-11-14 22:13:20 UTC.\n"
                                "  synth_design: option \"flatten\" from \"none\" to \"full\"\n"
                                "  synth_design: option \"effort\" from \"1\" to \"2\"");
    EXPECT_EQ(reason.getHeadline(), "Options changed, noticed 2023-11-14 22:13:20 UTC.");
}

TEST(StaleReasonTest, TellsWhichFilesChangedAndWhen) {
    Reason reason(Reason::SS_DESIGN_SRCS_CHANGED, 0);
    reason.addOrUpdateFile({"/src/top.v", "sources_1", Summary::FSCS_MODIFIED, 1700000000});
    reason.addOrUpdateFile({"/src/old.v", "", Summary::FSCS_REMOVED, 0});
    EXPECT_EQ(reason.getText(), "Design sources changed.\n"
                                "  /src/top.v: modified, file set \"sources_1\", last modified "
                                "2023-11-14 22:13:20 UTC\n"
                                "  /src/old.v: removed");
}

TEST(StaleReasonTest, SaysNoMoreThanTheHeadlineForAnOptionThatStandsForItsGroup) {
    HADAStaleOption whole;
    whole.setStaleOptionDetails("SW_Param_change", "SW_Param_change", "0", "");
    Reason reason(Reason::SS_SW_PARAM_CHANGED, 0);
    reason.addOrUpdateOption(whole);
    EXPECT_EQ(reason.getText(), "A parameter or the version of the software changed.");
    EXPECT_EQ(reason.getOptions().size(), 1U);
}

TEST(StaleReasonTest, BringsAFileThatItNotesUpToDate) {
    Reason reason(Reason::SS_DESIGN_SRCS_CHANGED, 0);
    reason.addOrUpdateFile({"/src/top.v", "sources_1", Summary::FSCS_MODIFIED, 100});
    reason.addOrUpdateFiles({{"/src/alu.v", "sources_1", Summary::FSCS_MODIFIED, 150},
                             {"/src/top.v", "sources_1", Summary::FSCS_MODIFIED, 200},
                             {"/src/top.v", "sources_1", Summary::FSCS_DISABLED, 200},
                             {"/src/top.v", "sim_1", Summary::FSCS_MODIFIED, 200}});
    ASSERT_EQ(reason.getFiles().size(), 4U);
    EXPECT_EQ(reason.getFiles()[0].modTime, 200);
    EXPECT_EQ(reason.getFiles()[1].name, "/src/alu.v");
}

/// A design with two sources, and a list of reasons.
class StaleReasonsTest : public ::testing::Test {
protected:
    std::vector<int> summaries() const {
        const std::unique_ptr<HSTFwdIter<const Reason*>> iter(m_reasons.createReasonIter());
        std::vector<int> numbers;
        while (iter->hasNext())
            numbers.push_back(iter->next()->getSummary());
        return numbers;
    }
    Names files(Reason::StaleSummary summary) const {
        Names names;
        for (const Reason::ChangedFile& file : m_reasons.find(summary)->getFiles())
            names.push_back(file.name.substr(m_folder.path("").size()));
        return names;
    }

    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
    HDDASrcFile* m_top = m_folder.add(m_set, "top.v");
    HDDASrcFile* m_notes = m_folder.add(m_set, "notes.md");
    HDDACompositeFile* m_core = m_folder.addCore(m_set, "fifo.core");
    HDDASrcFile* m_inner = m_folder.add(*m_core, "fifo.v");
    Summary m_changes{&m_set};
    HADAStaleReasons m_reasons;
};

TEST_F(StaleReasonsTest, BeginsEmpty) {
    EXPECT_TRUE(m_reasons.empty());
    EXPECT_EQ(m_reasons.count(), 0U);
    EXPECT_TRUE(summaries().empty());
    EXPECT_EQ(m_reasons.find(Reason::SS_OPTION_CHANGED), nullptr);
}

TEST_F(StaleReasonsTest, AddsAReasonOnce) {
    Reason* const first = m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED);
    EXPECT_EQ(m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED), first);
    EXPECT_EQ(summaries(), (std::vector<int>{2}));
    EXPECT_FALSE(m_reasons.empty());
}

TEST_F(StaleReasonsTest, DatesAReasonWhenItIsFirstFound) {
    const std::time_t before = std::time(nullptr);
    EXPECT_GE(m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED)->getSince(), before);
    m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED)->setSince(1700000000);
    EXPECT_EQ(m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED)->getSince(), 1700000000);
}

TEST_F(StaleReasonsTest, HandsOutTheReasonForItsRunType) {
    EXPECT_EQ(m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED)->getRunType(), Reason::RT_SYNTH);
    m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED)->setRunType(Reason::RT_IMPL);
    EXPECT_EQ(m_reasons.find(Reason::SS_CONSTRS_CHANGED)->getRunType(), Reason::RT_IMPL);
}

TEST_F(StaleReasonsTest, GathersOptionsUnderOneReason) {
    const HADAStaleOption flatten = option("flatten", "none", "full");
    const HADAStaleOption effort = option("effort", "1", "2");
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, &flatten);
    const Reason* const reason = m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, &effort);
    EXPECT_EQ(summaries(), (std::vector<int>{9}));
    ASSERT_EQ(reason->getOptions().size(), 2U);
    EXPECT_EQ(reason->getOptions()[0].getName(), "flatten");
    EXPECT_EQ(reason->getOptions()[1].getName(), "effort");
}

TEST_F(StaleReasonsTest, GivesAnOptionThatItNotesTheNewValues) {
    const HADAStaleOption first = option("flatten", "none", "full");
    const HADAStaleOption second = option("flatten", "none", "rebuilt");
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, &first);
    const Reason* const reason = m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, &second);
    ASSERT_EQ(reason->getOptions().size(), 1U);
    EXPECT_EQ(reason->getOptions()[0].getNewValue(), "rebuilt");
}

TEST_F(StaleReasonsTest, KeepsACopyOfTheOption) {
    auto changed = std::make_unique<HADAStaleOption>(option("flatten", "none", "full"));
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, changed.get());
    changed.reset();
    EXPECT_EQ(m_reasons.find(Reason::SS_OPTION_CHANGED)->getOptions()[0].getOldValue(), "none");
}

TEST_F(StaleReasonsTest, AddsTheBareReasonForANullOptionOrNoChanges) {
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, nullptr);
    m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED, nullptr, nullptr);
    EXPECT_EQ(summaries(), (std::vector<int>{9, 2}));
    EXPECT_TRUE(m_reasons.find(Reason::SS_OPTION_CHANGED)->getOptions().empty());
}

TEST_F(StaleReasonsTest, NotesTheChangedFilesThatPassTheFilter) {
    HDDASrcFilter verilog;
    verilog.addSFType(HDDATypes::SFT_VERILOG);
    m_changes.addFiles(Summary::FSCS_ADDED, m_notes);
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    m_reasons.addOrUpdate(Reason::SS_DESIGN_SRCS_CHANGED, &m_changes, &verilog);
    EXPECT_EQ(files(Reason::SS_DESIGN_SRCS_CHANGED), (Names{"top.v"}));
    const Reason::ChangedFile& noted =
        m_reasons.find(Reason::SS_DESIGN_SRCS_CHANGED)->getFiles()[0];
    EXPECT_EQ(noted.fileSet, "sources_1");
    EXPECT_EQ(noted.change, Summary::FSCS_MODIFIED);
    EXPECT_EQ(noted.modTime, m_top->getModTime());
}

TEST_F(StaleReasonsTest, NotesEveryChangedFileWithoutAFilter) {
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    m_changes.addFiles(Summary::FSCS_ADDED, m_notes);
    m_reasons.addOrUpdate(Reason::SS_DESIGN_SRCS_CHANGED, &m_changes, nullptr);
    EXPECT_EQ(files(Reason::SS_DESIGN_SRCS_CHANGED), (Names{"notes.md", "top.v"}));
}

TEST_F(StaleReasonsTest, AccumulatesTheFilesOfSeveralChanges) {
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    m_reasons.addOrUpdate(Reason::SS_DESIGN_SRCS_CHANGED, &m_changes, nullptr);
    Summary later(&m_set);
    later.addFiles(Summary::FSCS_MODIFIED, m_top);
    later.addFiles(Summary::FSCS_MODIFIED, m_core);
    m_reasons.addOrUpdate(Reason::SS_DESIGN_SRCS_CHANGED, &later, nullptr);
    EXPECT_EQ(files(Reason::SS_DESIGN_SRCS_CHANGED), (Names{"top.v", "fifo.core"}));
    EXPECT_EQ(m_reasons.count(), 1U);
}

TEST_F(StaleReasonsTest, NeedsNeitherSetNorFilesAfterwards) {
    auto set = std::make_unique<HADAFileSet>("sim_1", HDDATypes::FST_SIM_SRCS);
    auto changes = std::make_unique<Summary>(set.get());
    changes->addFiles(Summary::FSCS_ADDED, m_folder.add(*set, "tb.v"));
    m_reasons.addOrUpdate(Reason::SS_SIM_SRCS_CHANGED, changes.get(), nullptr);
    changes.reset();
    set.reset();
    EXPECT_NE(m_reasons.find(Reason::SS_SIM_SRCS_CHANGED)
                  ->getText()
                  .find("tb.v: added, file set \"sim_1\""),
              std::string::npos);
}

TEST_F(StaleReasonsTest, RemovesEveryReasonOfAKindAndNoOther) {
    HADAStaleReasons other;
    other.addOrUpdate(Reason::SS_OPTION_CHANGED);
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED);
    m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED);
    m_reasons.addCopy(other);
    m_reasons.remove(Reason::SS_OPTION_CHANGED);
    EXPECT_EQ(summaries(), (std::vector<int>{2}));
    m_reasons.remove(Reason::SS_OPTION_CHANGED);
    EXPECT_EQ(m_reasons.count(), 1U);
}

TEST_F(StaleReasonsTest, ForgetsAll) {
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED);
    m_reasons.clear();
    EXPECT_TRUE(m_reasons.empty());
}

TEST_F(StaleReasonsTest, AppendsTheReasonsOfAnotherWithoutMerging) {
    const HADAStaleOption mine = option("flatten", "none", "full");
    const HADAStaleOption theirs = option("effort", "1", "2");
    HADAStaleReasons other;
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED, &mine);
    other.addOrUpdate(Reason::SS_CONSTRS_CHANGED);
    other.addOrUpdate(Reason::SS_OPTION_CHANGED, &theirs);
    m_reasons.addCopy(other);
    EXPECT_EQ(summaries(), (std::vector<int>{9, 2, 9}));
    EXPECT_EQ(other.count(), 2U);
    EXPECT_EQ(m_reasons.find(Reason::SS_OPTION_CHANGED)->getOptions()[0].getName(), "flatten");
}

TEST_F(StaleReasonsTest, AppendsACopyOfItself) {
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED);
    m_reasons.addOrUpdate(Reason::SS_CONSTRS_CHANGED);
    m_reasons.addCopy(m_reasons);
    EXPECT_EQ(summaries(), (std::vector<int>{9, 2, 9, 2}));
}

TEST_F(StaleReasonsTest, IsAValueWhoseCopyGoesItsOwnWay) {
    m_reasons.addOrUpdate(Reason::SS_OPTION_CHANGED);
    HADAStaleReasons copy = m_reasons;
    copy.addOrUpdate(Reason::SS_CONSTRS_CHANGED);
    EXPECT_EQ(m_reasons.count(), 1U);
    EXPECT_EQ(copy.count(), 2U);
}

TEST_F(StaleReasonsTest, CostsNoMoreThanThreePointersWhileEmpty) {
    EXPECT_LE(sizeof(HADAStaleReasons), 3 * sizeof(void*));
}

TEST_F(StaleReasonsTest, HasChangesWhenAChangedFilePasses) {
    HDDASrcFilter verilog;
    verilog.addSFType(HDDATypes::SFT_VERILOG);
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, &verilog, nullptr));
    m_changes.addFiles(Summary::FSCS_ADDED, m_notes);
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, &verilog, nullptr));
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, nullptr, nullptr));
    m_changes.addFiles(Summary::FSCS_OTHER_CHANGE, m_top);
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, &verilog, nullptr));
}

TEST_F(StaleReasonsTest, HasNoChangesWithoutASummary) {
    EXPECT_FALSE(HADAStaleReasons::hasChanges(nullptr, nullptr, nullptr));
    EXPECT_FALSE(HADAStaleReasons::hasChanges(nullptr, "impl_1"));
}

TEST_F(StaleReasonsTest, CountsOnlyTheFileThatIsAskedFor) {
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, nullptr, m_top));
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, nullptr, m_notes));
}

TEST_F(StaleReasonsTest, CountsTheSourcesInsideABlockAsTheBlock) {
    m_changes.addFiles(Summary::FSCS_COMPOSITE_SRCS_MODIFIED, m_inner);
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, nullptr, m_core));
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, nullptr, m_top));
}

TEST_F(StaleReasonsTest, SeesAFileThatTheChangeItselfDisabled) {
    HDDASrcFilter enabled;
    enabled.setExcludeDisabled(true);
    m_top->getAttrs().setDisabled(true);
    m_changes.addFiles(Summary::FSCS_DISABLED, m_top);
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, &enabled, nullptr));
}

TEST_F(StaleReasonsTest, HasChangesForARunThatAChangedFileNames) {
    m_changes.addFiles(Summary::FSCS_MODIFIED, m_top);
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, "impl_1"));
    m_top->getAttrs().setRunNames({"impl_1"});
    EXPECT_TRUE(HADAStaleReasons::hasChanges(&m_changes, "impl_1"));
    EXPECT_FALSE(HADAStaleReasons::hasChanges(&m_changes, "impl_2"));
}

}  // namespace
