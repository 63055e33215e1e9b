// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileMgr.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HADAFileSet.h"

namespace {

std::vector<std::string> listed(const HADAFileMgr& mgr) {
    const std::unique_ptr<HSTFwdIter<HADAFileSet*>> iter(mgr.createFileSetIter());
    std::vector<std::string> names;
    while (iter->hasNext())
        names.push_back(iter->next()->getName());
    return names;
}

using Names = std::vector<std::string>;

TEST(FileMgrTest, ListsTheUsersSetsInTheOrderOfMaking) {
    HADAFileMgr mgr;
    EXPECT_TRUE(listed(mgr).empty());
    mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    mgr.createFileSet("constrs_1", HDDATypes::FST_CONSTRS);
    EXPECT_EQ(listed(mgr), (Names{"sources_1", "constrs_1"}));
    EXPECT_EQ(mgr.fileSetCount(), 2U);
}

TEST(FileMgrTest, MakesASetOfTheGivenNameAndType) {
    HADAFileMgr mgr;
    HADAFileSet* const set = mgr.createFileSet("constrs_1", HDDATypes::FST_CONSTRS);
    EXPECT_EQ(set->getName(), "constrs_1");
    EXPECT_EQ(set->getType(), HDDATypes::FST_CONSTRS);
    EXPECT_EQ(set->getFileMgr(), &mgr);
    EXPECT_FALSE(set->isInternal());
}

TEST(FileMgrTest, FindsAUsersSetByName) {
    HADAFileMgr mgr;
    HADAFileSet* const set = mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    EXPECT_EQ(mgr.findFileSet("sources_1"), set);
    EXPECT_EQ(mgr.findFileSet("sources_2"), nullptr);
}

TEST(FileMgrTest, RefusesANameThatIsTakenOrEmpty) {
    HADAFileMgr mgr;
    mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    try {
        mgr.createFileSet("sources_1", HDDATypes::FST_CONSTRS);
        FAIL() << "made twice";
    } catch (const HEXUserException& refusal) {
        EXPECT_STREQ(refusal.what(), "There is a file set \"sources_1\" already. Choose another "
                                     "name, or use that one.");
    }
    EXPECT_THROW(mgr.createFileSet("", HDDATypes::FST_CONSTRS), HEXUserException);
    EXPECT_EQ(mgr.fileSetCount(), 1U);
}

TEST(FileMgrTest, ListsNoInternalSet) {
    HADAFileMgr mgr;
    const std::unique_ptr<HADAFileSet> set(
        mgr.createInternalFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS));
    EXPECT_TRUE(set->isInternal());
    EXPECT_EQ(set->getFileMgr(), &mgr);
    EXPECT_TRUE(listed(mgr).empty());
    EXPECT_EQ(mgr.findFileSet("sources_1"), nullptr);
    EXPECT_EQ(mgr.internalFileSetCount(), 1U);
}

TEST(FileMgrTest, LetsInternalSetsShareANameWithAnyOther) {
    HADAFileMgr mgr;
    mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    const std::unique_ptr<HADAFileSet> first(
        mgr.createInternalFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS));
    const std::unique_ptr<HADAFileSet> second(
        mgr.createInternalFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS));
    EXPECT_EQ(mgr.internalFileSetCount(), 2U);
}

TEST(FileMgrTest, ForgetsAnInternalSetThatItsOwnerDeletes) {
    HADAFileMgr mgr;
    std::unique_ptr<HADAFileSet> set(
        mgr.createInternalFileSet("snapshot", HDDATypes::FST_DESIGN_SRCS));
    set.reset();
    EXPECT_EQ(mgr.internalFileSetCount(), 0U);
}

TEST(FileMgrTest, LeavesInternalSetsToTheirOwnersWhenItGoes) {
    auto mgr = std::make_unique<HADAFileMgr>();
    const std::unique_ptr<HADAFileSet> set(
        mgr->createInternalFileSet("snapshot", HDDATypes::FST_DESIGN_SRCS));
    mgr.reset();
    EXPECT_EQ(set->getFileMgr(), nullptr);
    EXPECT_EQ(set->getName(), "snapshot");
    EXPECT_TRUE(set->isInternal());
}

TEST(FileMgrTest, RemovesOnlyUsersSets) {
    HADAFileMgr mgr;
    HADAFileMgr other;
    HADAFileSet* const set = mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    const std::unique_ptr<HADAFileSet> internal(
        mgr.createInternalFileSet("snapshot", HDDATypes::FST_DESIGN_SRCS));
    EXPECT_FALSE(other.removeFileSet(set));
    EXPECT_FALSE(mgr.removeFileSet(internal.get()));
    EXPECT_FALSE(mgr.removeFileSet(nullptr));
    EXPECT_TRUE(mgr.removeFileSet(set));
    EXPECT_EQ(mgr.findFileSet("sources_1"), nullptr);
}

TEST(FileMgrTest, ForgetsAUsersSetThatSomeoneDeletes) {
    HADAFileMgr mgr;
    mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    delete mgr.createFileSet("constrs_1", HDDATypes::FST_CONSTRS);
    EXPECT_EQ(listed(mgr), (Names{"sources_1"}));
}

}  // namespace
