// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>

#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "environment/errors/HXMLException.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestStepFilter.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/strategyMgrFixture.h"

namespace {

using test::contentOf;
using test::thrownText;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class StrategyMgrTest : public test::StrategyMgrTest {};

TEST_F(StrategyMgrTest, IsOneForTheProcess) {
    EXPECT_NE(HAXPStrategyMgr::getGlobal(), nullptr);
    EXPECT_EQ(HAXPStrategyMgr::getGlobal(), HAXPStrategyMgr::getGlobal());
}

TEST_F(StrategyMgrTest, HasNothingAtFirst) {
    for (const HAXPFlow* flow : {m_flow, static_cast<const HAXPFlow*>(nullptr)}) {
        EXPECT_EQ(m_manager->getStratVec(flow), nullptr);
        EXPECT_EQ(m_manager->strategyCount(flow), 0);
        EXPECT_THAT(test::drain(m_manager->createStrategyIter(flow)), IsEmpty());
        EXPECT_EQ(m_manager->findStrategy(flow, ""), nullptr);
        EXPECT_TRUE(m_manager->isUniqueStrategyName(flow, ""));
    }
    EXPECT_FALSE(m_manager->hasEquivalentStrategy(nullptr));
}

TEST_F(StrategyMgrTest, KeepsTheOrderOfRegistration) {
    create("b");
    create("a");
    addEnterprise("c");
    EXPECT_THAT(names(), ElementsAre("b", "a", "c"));
    EXPECT_EQ(m_manager->strategyCount(m_flow), 3);
    EXPECT_EQ(m_manager->getStratVec(m_flow)->at(1), find("a"));
}

TEST_F(StrategyMgrTest, FindsExactlyTheName) {
    HAXPStrategy* const strategy = create("Quick");
    EXPECT_EQ(find("Quick"), strategy);
    EXPECT_EQ(find("quick"), nullptr);
    EXPECT_EQ(find("Quick "), nullptr);
    EXPECT_FALSE(m_manager->isUniqueStrategyName(m_flow, "Quick"));
}

TEST_F(StrategyMgrTest, KeepsOneNameInSeveralFlows) {
    HAXPStrategy* const mine = create("Quick");
    HAXPStrategy* const other = m_manager->createStrategy(m_otherFlow, "Quick");
    EXPECT_NE(mine->getFilename(), other->getFilename());
    EXPECT_EQ(find("Quick"), mine);
    EXPECT_EQ(m_manager->findStrategy(m_otherFlow, "Quick"), other);
}

TEST_F(StrategyMgrTest, RefusesASecondOneOfAName) {
    create("Quick");
    EXPECT_EQ(thrownText<HEXDataException>([&] { create("Quick"); }), "non-unique strategy name");
    EXPECT_EQ(thrownText<HEXDataException>([&] { addEnterprise("Quick"); }),
              "non-unique strategy name");
    EXPECT_EQ(m_manager->strategyCount(m_flow), 1);
    EXPECT_THAT(namesIn(personal()), ElementsAre("Quick.kept_flow.psg"));
}

TEST_F(StrategyMgrTest, RefusesNull) {
    EXPECT_THROW(m_manager->registerStrategy(nullptr), HEXAlgException);
    EXPECT_THROW(m_manager->registerInternalStrategy(nullptr), HEXAlgException);
    EXPECT_THROW(m_manager->createStrategy(nullptr, "Quick"), HEXAlgException);
    EXPECT_THROW(m_manager->createInternalStrategy(nullptr), HEXAlgException);
    EXPECT_THROW(m_manager->saveStrat(nullptr), HEXAlgException);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->copyStrategy(nullptr, "Quick"); }),
              "can't copy null strategy");
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_manager->renameStrategy(nullptr, "Quick"); }),
              "can't rename unregistered strategy");
}

TEST_F(StrategyMgrTest, CreatesAUserStrategyWithTheDefaultSteps) {
    const HAXPStrategy* const strategy = create("Quick");
    EXPECT_TRUE(strategy->isUserDefined());
    EXPECT_FALSE(strategy->isInternal());
    EXPECT_EQ(strategy->stepCount(), 2);
    EXPECT_EQ(strategy->getFilename(), personal() + "/Quick.kept_flow.psg");
    EXPECT_TRUE(exists(strategy->getFilename()));
}

TEST_F(StrategyMgrTest, NumbersAFileWhoseNameIsTaken) {
    addFile(personal() + "/Quick.kept_flow.psg", "theirs");
    addFile(personal() + "/Quick_2.kept_flow.psg", "theirs");
    EXPECT_EQ(create("Quick")->getFilename(), personal() + "/Quick_3.kept_flow.psg");
    EXPECT_EQ(contentOfFile(personal() + "/Quick.kept_flow.psg"), "theirs");
    EXPECT_EQ(contentOfFile(personal() + "/Quick_2.kept_flow.psg"), "theirs");
}

TEST_F(StrategyMgrTest, SavesEveryChangeAtOnce) {
    HAXPStrategy* const strategy = create("Quick");
    const std::string file = strategy->getFilename();
    test::setInt(strategy->getOptions("synth"), "CountInt", 7);
    EXPECT_THAT(contentOfFile(file), HasSubstr("Id=\"CountInt\" Value=\"7\""));
    strategy->setDescription("Little effort");
    EXPECT_THAT(contentOfFile(file), HasSubstr("Little effort"));
    const std::string before = contentOf(*strategy);
    restartAndRestore();
    EXPECT_EQ(contentOf(*find("Quick")), before);
    EXPECT_EQ(find("Quick")->getFilename(), file);
}

TEST_F(StrategyMgrTest, FindsAStrategyByTheNameThatItGivesItself) {
    HAXPStrategy* const strategy = create("Quick");
    strategy->setName("Slow");
    EXPECT_EQ(find("Slow"), strategy);
    EXPECT_EQ(find("Quick"), nullptr);
}

TEST_F(StrategyMgrTest, FindsTheFirstRegisteredOfTwoThatCameToOneName) {
    HAXPStrategy* const first = create("a");
    HAXPStrategy* const second = create("b");
    first->setName("b");
    EXPECT_EQ(find("b"), first);
    first->setName("a");
    EXPECT_EQ(find("b"), second);
}

TEST_F(StrategyMgrTest, RefusesToSaveAChangedEnterpriseStrategy) {
    HAXPStrategy* const strategy = addEnterprise("Quick");
    const std::string refusal = "Can't save changes to an enterprise strategy";
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->saveStrat(strategy); }), refusal);
    EXPECT_EQ(thrownText<HEXAlgException>(
                  [&] { test::setInt(strategy->getOptions("synth"), "CountInt", 7); }),
              refusal);
    EXPECT_EQ(test::intOf(strategy->getOptions("synth"), "CountInt"), 7);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { strategy->setName("Slow"); }), refusal);
    EXPECT_EQ(find("Slow"), strategy);
}

TEST_F(StrategyMgrTest, CopiesAnEnterpriseStrategyToAUsers) {
    HAXPStrategy* const source = addEnterprise("Quick");
    HAXPStrategy* const copy = m_manager->copyStrategy(source, "Mine");
    EXPECT_TRUE(copy->isUserDefined());
    EXPECT_EQ(copy->getFilename(), personal() + "/Mine.kept_flow.psg");
    EXPECT_FALSE(copy->differsFrom(source));
    EXPECT_EQ(source->getName(), "Quick");
    test::setInt(copy->getOptions("synth"), "CountInt", 7);
    EXPECT_THAT(contentOfFile(copy->getFilename()), HasSubstr("CountInt"));
}

TEST_F(StrategyMgrTest, LeavesNothingOfACopyWhoseNameIsTaken) {
    HAXPStrategy* const source = create("Quick");
    EXPECT_EQ(thrownText<HEXDataException>([&] { m_manager->copyStrategy(source, "Quick"); }),
              "non-unique strategy name");
    EXPECT_THAT(names(), ElementsAre("Quick"));
    EXPECT_THAT(namesIn(personal()), ElementsAre("Quick.kept_flow.psg"));
}

TEST_F(StrategyMgrTest, AsksTheStepFilterForCopies) {
    HAXPStrategy* const source = create("Quick");
    test::TestStepFilter filter;
    filter.keptOut = {"place"};
    const test::InstalledStepFilter installed(&filter);
    EXPECT_EQ(m_manager->copyStrategy(source, "Mine")->stepCount(), 1);
    const std::unique_ptr<HAXPStrategy> internal(m_manager->createInternalStrategy(source));
    EXPECT_EQ(internal->stepCount(), 1);
}

TEST_F(StrategyMgrTest, KeepsAnInternalCopyOutOfTheRegistry) {
    HAXPStrategy* const source = create("Quick");
    m_manager->deleteStrategy(create("Slow"));
    const std::unique_ptr<HAXPStrategy> internal(m_manager->createInternalStrategy(source));
    EXPECT_TRUE(internal->isInternal());
    EXPECT_EQ(internal->getName(), "Quick");
    EXPECT_EQ(find("Quick"), source);
    EXPECT_EQ(m_manager->strategyCount(m_flow), 1);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->deleteStrategy(internal.get()); }),
              "can't delete unregistered strategy");
    m_manager->deleteStrategy(source);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->deleteStrategy(internal.get()); }),
              "no strategies registered for this flow");
}

TEST_F(StrategyMgrTest, SavesAnInternalCopyThatIsChanged) {
    const std::unique_ptr<HAXPStrategy> internal(
        m_manager->createInternalStrategy(create("Quick")));
    EXPECT_EQ(internal->getFilename(), "");
    test::setInt(internal->getOptions("synth"), "CountInt", 7);
    EXPECT_EQ(internal->getFilename(), personal() + "/Quick_2.kept_flow.psg");
    EXPECT_TRUE(exists(internal->getFilename()));
}

TEST_F(StrategyMgrTest, DeletesAStrategyWithItsFile) {
    HAXPStrategy* const strategy = create("Quick");
    create("Slow");
    m_manager->deleteStrategy(strategy);
    EXPECT_THAT(names(), ElementsAre("Slow"));
    EXPECT_EQ(find("Quick"), nullptr);
    EXPECT_THAT(namesIn(personal()), ElementsAre("Slow.kept_flow.psg"));
    m_manager->deleteStrategy(find("Slow"));
    EXPECT_EQ(m_manager->getStratVec(m_flow), nullptr);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(StrategyMgrTest, RefusesToDelete) {
    const auto refusal = [&](HAXPStrategy* strategy) {
        return thrownText<HEXAlgException>([&] { m_manager->deleteStrategy(strategy); });
    };
    HAXPStrategy stranger(m_flow);
    EXPECT_EQ(refusal(nullptr), "can't delete null strategy");
    EXPECT_EQ(refusal(&stranger), "no strategies registered for this flow");
    EXPECT_EQ(refusal(addEnterprise("Quick")), "can't delete an enterprise strategy!");
    EXPECT_EQ(refusal(&stranger), "can't delete unregistered strategy");
    EXPECT_THAT(names(), ElementsAre("Quick"));
}

TEST_F(StrategyMgrTest, RenamesAStrategyWithItsFile) {
    HAXPStrategy* const strategy = create("Quick");
    m_manager->renameStrategy(strategy, "Slow");
    EXPECT_EQ(find("Slow"), strategy);
    EXPECT_EQ(find("Quick"), nullptr);
    EXPECT_EQ(strategy->getFilename(), personal() + "/Slow.kept_flow.psg");
    EXPECT_THAT(namesIn(personal()), ElementsAre("Slow.kept_flow.psg"));
    restartAndRestore();
    EXPECT_THAT(names(), ElementsAre("Slow"));
}

TEST_F(StrategyMgrTest, RefusesToRename) {
    const auto refusal = [&](HAXPStrategy* strategy, const std::string& name) {
        return thrownText<HEXDataException>([&] { m_manager->renameStrategy(strategy, name); });
    };
    HAXPStrategy stranger(m_flow);
    stranger.setName("Quick");
    EXPECT_EQ(refusal(&stranger, "Slow"), "can't rename unregistered strategy");
    HAXPStrategy* const strategy = create("Quick");
    create("Slow");
    EXPECT_EQ(refusal(strategy, "Slow"), "non-unique strategy name");
    EXPECT_EQ(refusal(strategy, "Quick"), "non-unique strategy name");
    EXPECT_EQ(strategy->getFilename(), personal() + "/Quick.kept_flow.psg");
    EXPECT_THAT(namesIn(personal()), ElementsAre("Quick.kept_flow.psg", "Slow.kept_flow.psg"));
}

TEST_F(StrategyMgrTest, RemovesTheFileOfAnEnterpriseStrategyBeforeItRefusesTheNewName) {
    const std::string file = m_installation.root() + "/strategies/a.psg";
    addFile(file, "");
    HAXPStrategy* const strategy = addEnterprise("Quick", file);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_manager->renameStrategy(strategy, "Slow"); }),
              "Can't save changes to an enterprise strategy");
    EXPECT_FALSE(exists(file));
    EXPECT_EQ(strategy->getFilename(), "");
    EXPECT_EQ(find("Slow"), strategy);
}

TEST_F(StrategyMgrTest, KnowsAnEquivalentStrategy) {
    create("Quick");
    HAXPStrategy other(m_flow);
    EXPECT_FALSE(m_manager->hasEquivalentStrategy(&other));
    other.setName("Quick");
    EXPECT_TRUE(m_manager->hasEquivalentStrategy(&other));
    test::setInt(other.getOptions("synth"), "CountInt", 7);
    EXPECT_FALSE(m_manager->hasEquivalentStrategy(&other));
    HAXPStrategy without;
    without.setName("Quick");
    EXPECT_FALSE(m_manager->hasEquivalentStrategy(&without));
}

TEST_F(StrategyMgrTest, LooksForAnEquivalentBehindOneOfTheNameThatDiffers) {
    HAXPStrategy* const first = create("a");
    HAXPStrategy* const second = create("b");
    test::setInt(first->getOptions("synth"), "CountInt", 7);
    second->setName("a");
    HAXPStrategy other(m_flow);
    other.setName("a");
    EXPECT_TRUE(m_manager->hasEquivalentStrategy(&other));
}

TEST_F(StrategyMgrTest, LetsTheListBeWalkedWhileItChanges) {
    create("a");
    create("b");
    for (HAXPStrategy* strategy : test::drain(m_manager->createStrategyIter(m_flow)))
        m_manager->deleteStrategy(strategy);
    create("c");
    const std::unique_ptr<HSTFwdIter<HAXPStrategy*>> iter(m_manager->createStrategyIter(m_flow));
    for (int i = 0; i < 100; ++i)
        create("d" + std::to_string(i));
    EXPECT_EQ(iter->next()->getName(), "c");
    EXPECT_FALSE(iter->hasNext());
}

TEST_F(StrategyMgrTest, MakesNothingThatCanNotBeSaved) {
    HAXPStrategy* const source = addEnterprise("Quick");
    static_cast<void>(m_manager->getPersonalStratDir());
    test::FaultyDisk disk;
    disk.failAll("write", ENOSPC);
    EXPECT_THROW(create("Mine"), HXMLException);
    EXPECT_THROW(m_manager->copyStrategy(source, "Mine"), HXMLException);
    EXPECT_THAT(names(), ElementsAre("Quick"));
    EXPECT_EQ(find("Mine"), nullptr);
    EXPECT_THAT(namesIn(personal()), IsEmpty());
}

TEST_F(StrategyMgrTest, KeepsAChangeInMemoryThatCanNotBeSaved) {
    HAXPStrategy* const strategy = create("Quick");
    const std::string before = contentOfFile(strategy->getFilename());
    {
        test::FaultyDisk disk;
        disk.failAll("write", ENOSPC);
        EXPECT_THROW(strategy->setDescription("Later"), HXMLException);
    }
    EXPECT_EQ(strategy->getDescription(), "Later");
    EXPECT_EQ(contentOfFile(strategy->getFilename()), before);
}

TEST_F(StrategyMgrTest, BringsTheOldFileBackWhenANewNameCanNotBeSaved) {
    HAXPStrategy* const strategy = create("Quick");
    {
        test::FaultyDisk disk;
        disk.failAll("write", ENOSPC);
        EXPECT_THROW(m_manager->renameStrategy(strategy, "Slow"), HXMLException);
    }
    EXPECT_EQ(find("Slow"), strategy);
    EXPECT_EQ(strategy->getFilename(), personal() + "/Quick.kept_flow.psg");
    EXPECT_THAT(namesIn(personal()), ElementsAre("Quick.kept_flow.psg"));
    m_manager->saveStrat(strategy);
    restartAndRestore();
    EXPECT_THAT(names(), ElementsAre("Slow"));
}

TEST_F(StrategyMgrTest, LosesNoStrategyWhereverADiskGoesAwayDuringARename) {
    bool failed = true;
    for (int call = 1; failed && call < 100; ++call) {
        const std::string name = "Quick" + std::to_string(call);
        HAXPStrategy* const strategy = create(name);
        {
            test::FaultyDisk disk;
            disk.failFrom(call, EIO);
            try {
                m_manager->renameStrategy(strategy, name + "_new");
            } catch (const HXMLException&) {
            }
            failed = disk.hasFailed();
        }
        restartAndRestore();
        EXPECT_TRUE(find(name) != nullptr || find(name + "_new") != nullptr) << call;
    }
    EXPECT_FALSE(failed);
}

/// Processes that are killed at each call of the disk in turn.
class StrategyKillTest : public StrategyMgrTest {
protected:
    /// Does `action` in a process that is killed at the disk's call `call`; false when it
    /// came to its end before.
    template <class Action> static bool killed(int call, Action action) {
        const pid_t child = ::fork();
        if (child == 0) {
            test::FaultyDisk disk;
            disk.killAt(call);
            action();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFSIGNALED(status);
    }
};

TEST_F(StrategyKillTest, LeavesTheOldOrTheNewStrategyWhenASaveIsKilled) {
    create("Quick")->setDescription("old");
    int call = 0;
    do {
        EXPECT_THAT(find("Quick")->getDescription(), AnyOf("old", "new")) << call;
        EXPECT_EQ(m_manager->strategyCount(m_flow), 1) << call;
        restartAndRestore();
    } while (killed(++call, [&] { find("Quick")->setDescription("new"); }));
    EXPECT_GT(call, 4);
    restartAndRestore();
    EXPECT_EQ(find("Quick")->getDescription(), "new");
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyKillTest, LeavesAllOrNothingWhenACreationIsKilled) {
    int call = 0;
    do {
        restartAndRestore();
        for (const HAXPStrategy* strategy : test::drain(m_manager->createStrategyIter(m_flow)))
            EXPECT_EQ(strategy->stepCount(), 2) << call;
        ++call;
    } while (killed(call, [&] { create("s" + std::to_string(call)); }));
    EXPECT_GT(call, 4);
    restartAndRestore();
    EXPECT_NE(find("s" + std::to_string(call)), nullptr);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyKillTest, LeavesTheOldOrTheNewNameWhenARenameIsKilled) {
    int call = 0;
    std::string old;
    do {
        old = "s" + std::to_string(++call);
        create(old)->setDescription("kept");
    } while (killed(call, [&] { m_manager->renameStrategy(find(old), old + "_new"); }));
    EXPECT_GT(call, 5);
    restartAndRestore();
    for (int i = 1; i <= call; ++i) {
        const std::string name = "s" + std::to_string(i);
        const HAXPStrategy* const left = find(name) != nullptr ? find(name) : find(name + "_new");
        ASSERT_NE(left, nullptr) << i;
        EXPECT_EQ(left->getDescription(), "kept") << i;
    }
    EXPECT_EQ(find(old), nullptr);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyMgrTest, RenamesAStrategyWhoseFileWentAway) {
    HAXPStrategy* const strategy = create("Quick");
    std::filesystem::remove(strategy->getFilename());
    m_manager->renameStrategy(strategy, "Slow");
    EXPECT_THAT(namesIn(personal()), ElementsAre("Slow.kept_flow.psg"));
}

TEST_F(StrategyMgrTest, SaysThatItsFolderWentAway) {
    HAXPStrategy* const strategy = create("Quick");
    std::filesystem::remove_all(personal());
    EXPECT_THAT(thrownText<HXMLException>([&] { strategy->setDescription("Later"); }),
                HasSubstr(personal() + "/Quick.kept_flow.psg"));
    EXPECT_THROW(create("Slow"), HXMLException);
}

}  // namespace
