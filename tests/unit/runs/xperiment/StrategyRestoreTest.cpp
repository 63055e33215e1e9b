// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <ostream>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "environment/errors/HEXDataException.h"
#include "environment/errors/HXMLException.h"
#include "environment/installation/Installation.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/strategyMgrFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class StrategyRestoreTest : public test::StrategyMgrTest {
protected:
    void restoreAll() { m_manager->restoreAllStrategies("psg", false); }
    std::string user(const std::string& path) const {
        return m_installation.appDataDir() + "/" + path;
    }
    std::string description(const std::string& name) const { return find(name)->getDescription(); }

    std::vector<std::string> previousDirs() const {
        std::vector<std::string> dirs{"left from before"};
        m_manager->getPreviousDataDirs(dirs);
        return dirs;
    }
};

TEST_F(StrategyRestoreTest, KnowsItsDirectories) {
    EXPECT_EQ(m_manager->getGlobalStratDir(), m_installation.root() + "/strategies");
    EXPECT_EQ(m_manager->getReleaseStratDir(), "strategies");
    EXPECT_EQ(m_manager->getPersonalStratDir(), personal());
    EXPECT_EQ(m_manager->getUserGlobalStratDir(), user("strategies"));
    EXPECT_FALSE(exists(m_installation.root() + "/strategies"));
    EXPECT_TRUE(exists(personal()));
    EXPECT_TRUE(exists(user("strategies")));
}

TEST_F(StrategyRestoreTest, FindsOutADirectoryOnce) {
    static_cast<void>(m_manager->getPersonalStratDir());
    std::filesystem::remove_all(personal());
    m_installation.setVersion("2024.1");
    EXPECT_EQ(m_manager->getPersonalStratDir(), personal());
    EXPECT_FALSE(exists(personal()));
}

TEST_F(StrategyRestoreTest, ReadsTheDirectoriesInTheirOrder) {
    const std::string first = m_installation.addRoot("first");
    const std::string second = m_installation.addRoot("second");
    const std::vector<std::string> places = {m_installation.root() + "/strategies",
                                             first + "/strategies",
                                             second + "/strategies",
                                             personal(),
                                             user("2022.1/strategies"),
                                             user("strategies")};
    // Each directory has its own name, and those of all behind it.
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t name = i; name < places.size(); ++name) {
            const std::string text = "s" + std::to_string(name);
            addFile(places[i] + "/" + text + ".psg", fileOf(text));
        }
    restoreAll();
    // All names came from the first directory.
    for (std::size_t name = 0; name < places.size(); ++name)
        EXPECT_EQ(find("s" + std::to_string(name))->getFilename(),
                  places[0] + "/s" + std::to_string(name) + ".psg");
    for (std::size_t gone = 0; gone + 1 < places.size(); ++gone) {
        std::filesystem::remove_all(places[gone]);
        restartAndRestore();
        EXPECT_EQ(find("s5")->getFilename(), places[gone + 1] + "/s5.psg") << gone;
        EXPECT_EQ(find("s5")->isUserDefined(), gone >= 2) << gone;
    }
}

TEST_F(StrategyRestoreTest, TellsOfASecondStrategyOfAName) {
    const std::string global = m_installation.root() + "/strategies/a.psg";
    const std::string mine = personal() + "/b.psg";
    addFile(global, fileOf("Quick"));
    addFile(mine, fileOf("Quick"));
    m_installation.set([&] {
        Installation installation = m_installation.get();
        installation.appRoots.clear();
        return installation;
    }());
    restoreAll();
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs WARNING 36-547(User, Quick, " + mine + ", " + global + ")"));
    EXPECT_EQ(m_messages.messages().at(0).ordinal, 4);
    EXPECT_FALSE(find("Quick")->isUserDefined());
    EXPECT_EQ(m_manager->strategyCount(m_flow), 1);
}

TEST_F(StrategyRestoreTest, NamesTheKindOfTheOneThatIsDropped) {
    const std::string dir = m_installation.addRoot("more");
    create("Quick");
    addFile(dir + "/a.psg", fileOf("Quick"));
    m_manager->restoreStrategies(dir, "psg", false);
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs WARNING 36-547(Tool, Quick, " + dir + "/a.psg, " + personal() +
                            "/Quick.kept_flow.psg)"));
    EXPECT_TRUE(find("Quick")->isUserDefined());
}

TEST_F(StrategyRestoreTest, IsQuietAboutADirectoryThatWasReadBefore) {
    addFile(personal() + "/a.psg", fileOf("Quick"));
    EXPECT_FALSE(m_manager->isAlreadyParsed(personal()));
    m_manager->restoreStrategies(personal(), "psg", true);
    EXPECT_TRUE(m_manager->isAlreadyParsed(personal()));
    EXPECT_FALSE(m_manager->isAlreadyParsed(personal() + "/"));
    m_manager->restoreStrategies(personal(), "psg", true);
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    m_manager->restoreStrategies(personal() + "/.", "psg", true);
    EXPECT_THAT(m_messages.ids(), ElementsAre("36-547"));
    EXPECT_EQ(m_manager->strategyCount(m_flow), 1);
}

TEST_F(StrategyRestoreTest, NotesADirectoryThatIsThere) {
    m_manager->restoreStrategies("", "psg", true);
    EXPECT_FALSE(m_manager->isAlreadyParsed(""));
    m_manager->restoreStrategies(user("nowhere"), "psg", true);
    EXPECT_FALSE(m_manager->isAlreadyParsed(user("nowhere")));
    std::filesystem::create_directory(user("empty"));
    m_manager->restoreStrategies(user("empty"), "psg", true);
    EXPECT_TRUE(m_manager->isAlreadyParsed(user("empty")));
    m_manager->addToParsedPaths("any");
    EXPECT_TRUE(m_manager->isAlreadyParsed("any"));
}

TEST_F(StrategyRestoreTest, ReadsFilesOfTheExtensionAlone) {
    addFile(personal() + "/a.psg", fileOf("a"));
    addFile(personal() + "/b.PSG", fileOf("b"));
    addFile(personal() + "/c.psg.bak-2022.1", fileOf("c"));
    addFile(personal() + "/psg", fileOf("d"));
    addFile(personal() + "/e.xml", fileOf("e"));
    m_manager->restoreStrategies(personal(), "psg", true);
    EXPECT_THAT(names(), ElementsAre("a"));
    m_manager->restoreStrategies(personal(), "xml", true);
    EXPECT_THAT(names(), ElementsAre("a", "e"));
}

TEST_F(StrategyRestoreTest, KeepsTheRestWhenFilesCanNotBeRead) {
    addFile(personal() + "/a.psg", fileOf("a"));
    addFile(personal() + "/b.psg", "<Strategy Version=\"1\" Minor=\"2\">\n<b></Strategy>");
    addFile(personal() + "/c.psg", fileOf("c", "", "Major=\"x\" Minor=\"1\""));
    addFile(personal() + "/d.psg", fileOf("d", "", "Major=\"2023\" Minor=\"2\"", "no_flow"));
    addFile(personal() + "/e.psg", fileOf("e"));
    std::filesystem::create_directory(personal() + "/f.psg");
    restoreAll();
    EXPECT_THAT(names(), UnorderedElementsAre("a", "e"));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126", "1-126", "1-126"));
    EXPECT_THAT(m_messages.texts(),
                UnorderedElementsAre(HasSubstr(personal() + "/b.psg, line 2"),
                                     HasSubstr(personal() + "/c.psg, line 1: the version of the "
                                                            "tool is no number"),
                                     HasSubstr(personal() + "/f.psg")));
}

TEST_F(StrategyRestoreTest, KeepsWhatAFileFinishedBeforeItBroke) {
    addFile(personal() + "/a.psg",
            "<Strategy Version=\"1\" Minor=\"2\">" + fileOf("inner") + "<Tool/></Strategy>");
    restoreAll();
    EXPECT_THAT(names(), ElementsAre("inner"));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(StrategyRestoreTest, ReadsNothingOfTheUsersWithoutAFolderForTheUser) {
    addFile(m_installation.root() + "/strategies/a.psg", fileOf("Quick"));
    Installation installation = m_installation.get();
    installation.appDataDir.clear();
    m_installation.set(installation);
    restoreAll();
    EXPECT_THAT(names(), ElementsAre("Quick"));
    EXPECT_THAT(previousDirs(), IsEmpty());
    EXPECT_THROW(create("Slow"), HEXDataException);
    EXPECT_THAT(names(), ElementsAre("Quick"));
}

TEST_F(StrategyRestoreTest, FindsTheFoldersOfEarlierVersions) {
    const std::vector<std::string> older = {"2019.1", "2023.1", "2022.2.1", "2021.9_old"};
    for (const std::string& name : older)
        std::filesystem::create_directory(user(name));
    for (const char* name : {"2018.3", "2023.2", "2023.2.1", "2023.10", "2024.1", "strategies",
                             "2021", "foo.bar", "-1.2", "2020.-1", "99999999999.1", ".2020.1"})
        std::filesystem::create_directory(user(name));
    addFile(user("2020.1"), "a file");
    EXPECT_THAT(previousDirs(), UnorderedElementsAre(user("2019.1"), user("2023.1"),
                                                     user("2022.2.1"), user("2021.9_old")));
    m_installation.setVersion("unversioned");
    EXPECT_THAT(previousDirs(), IsEmpty());
}

TEST_F(StrategyRestoreTest, TakesTheFoldersOfEarlierVersionsBackwards) {
    for (const char* name : {"2019.1", "2020.1", "2021.1", "2022.1"})
        addFile(user(name) + "/strategies/a.psg", fileOf("Quick"));
    std::filesystem::create_directory(user("2022.2"));
    std::vector<std::string> dirs = previousDirs();
    dirs.erase(std::find(dirs.begin(), dirs.end(), user("2022.2")));
    m_manager->restorePreviousReleaseStrategies("psg");
    EXPECT_EQ(find("Quick")->getFilename(), dirs.back() + "/strategies/a.psg");
    EXPECT_TRUE(find("Quick")->isUserDefined());
    EXPECT_THAT(m_messages.ids(), ElementsAre("36-547", "36-547", "36-547"));
}

TEST_F(StrategyRestoreTest, KeepsAFileThatAnotherVersionWroteBeforeItIsSaved) {
    const std::string file = personal() + "/a.psg";
    const std::string theirs = fileOf("Quick", "", "Major=\"2024\" Minor=\"1\"");
    addFile(file, theirs);
    restoreAll();
    m_messages.clear();
    EXPECT_EQ(contentOfFile(file), theirs);
    find("Quick")->setDescription("mine");
    EXPECT_EQ(contentOfFile(file + ".bak-2024.1"), theirs);
    EXPECT_THAT(contentOfFile(file), HasSubstr("mine"));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs INFO 36-560(" + file + ", " + file + ".bak-2024.1)"));
    find("Quick")->setDescription("again");
    EXPECT_EQ(m_messages.ids().size(), 1U);
    EXPECT_THAT(namesIn(personal()), ElementsAre("a.psg", "a.psg.bak-2024.1"));
}

TEST_F(StrategyRestoreTest, KeepsAFileOfWhichSomethingWasDropped) {
    const std::string file = personal() + "/a.psg";
    const std::string theirs = fileOf("Quick", "<Step Id=\"extra\"/>");
    addFile(file, theirs);
    addFile(file + ".bak-2023.2", "earlier");
    restoreAll();
    m_manager->renameStrategy(find("Quick"), "Slow");
    EXPECT_EQ(contentOfFile(file + ".bak-2023.2"), "earlier");
    EXPECT_EQ(contentOfFile(file + ".bak-2023.2_2"), theirs);
    EXPECT_FALSE(exists(file));
}

TEST_F(StrategyRestoreTest, SavesNothingOverAFileThatCanNotBeKept) {
    const std::string file = personal() + "/a.psg";
    const std::string theirs = fileOf("Quick", "<Step Id=\"extra\"/>");
    addFile(file, theirs);
    restoreAll();
    {
        test::FaultyDisk disk;
        disk.failOnce(1, ENOSPC);
        EXPECT_THROW(find("Quick")->setDescription("mine"), HXMLException);
    }
    EXPECT_EQ(contentOfFile(file), theirs);
    EXPECT_THAT(namesIn(personal()), ElementsAre("a.psg"));
    m_manager->saveStrat(find("Quick"));
    EXPECT_EQ(contentOfFile(file + ".bak-2023.2"), theirs);
}

TEST_F(StrategyRestoreTest, KeepsNoCopyOfAFileOfItsOwn) {
    create("Quick");
    restartAndRestore();
    find("Quick")->setDescription("mine");
    EXPECT_THAT(namesIn(personal()), ElementsAre("Quick.kept_flow.psg"));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StrategyRestoreTest, PutsBackAFileThatACrashLeftAside) {
    addFile(personal() + "/.renamed.a.psg", fileOf("Quick"));
    restoreAll();
    EXPECT_EQ(find("Quick")->getFilename(), personal() + "/a.psg");
    EXPECT_THAT(namesIn(personal()), ElementsAre("a.psg"));
}

TEST_F(StrategyRestoreTest, ReadsAFileLeftAsideWhosePlaceIsTaken) {
    addFile(personal() + "/.renamed.a.psg", fileOf("Quick"));
    addFile(personal() + "/a.psg", fileOf("Slow"));
    restoreAll();
    EXPECT_EQ(find("Quick")->getFilename(), personal() + "/.renamed.a.psg");
    EXPECT_EQ(find("Slow")->getFilename(), personal() + "/a.psg");
}

/// The global manager, as the catalogue reaches it.
class CatalogueStrategiesTest : public test::StrategyMgrTest {
protected:
    HAXPStrategy* add(const std::string& name, bool userDefined) {
        auto strategy = std::make_unique<HAXPStrategy>(m_flow);
        strategy->setName(name);
        strategy->setUserDefined(userDefined);
        HAXPStrategyMgr::getGlobal()->registerStrategy(strategy.get());
        return strategy.release();
    }
    void TearDown() override {
        for (HAXPStrategy* strategy : test::drain(m_catalogue.createStrategyIter(m_flow))) {
            strategy->setUserDefined(true);
            m_catalogue.deleteStrategy(strategy);
        }
    }

    HAXPMgr& m_catalogue = *HAXPMgr::getGlobal();
};

TEST_F(CatalogueStrategiesTest, DefaultToTheFirst) {
    EXPECT_EQ(m_catalogue.getDefaultStrategy(m_flow), nullptr);
    EXPECT_EQ(m_catalogue.getDefaultStrategy(nullptr), nullptr);
    HAXPStrategy* const first = add("a", true);
    add("b", false);
    EXPECT_EQ(m_catalogue.getDefaultStrategy(m_flow), first);
    EXPECT_EQ(m_catalogue.getDefaultStrategy(m_otherFlow), nullptr);
}

TEST_F(CatalogueStrategiesTest, DefaultToTheToolsWhenAsked) {
    const test::TestParam toolsOnly("runs.defaultToToolStrategy", true);
    add("a", true);
    EXPECT_EQ(m_catalogue.getDefaultStrategy(m_flow), nullptr);
    HAXPStrategy* const tools = add("b", false);
    add("c", false);
    EXPECT_EQ(m_catalogue.getDefaultStrategy(m_flow), tools);
}

TEST_F(CatalogueStrategiesTest, AreThoseOfTheManager) {
    HAXPStrategyMgr& manager = *HAXPStrategyMgr::getGlobal();
    HAXPStrategy* const made = m_catalogue.createStrategy(m_flow, "a");
    EXPECT_EQ(manager.findStrategy(m_flow, "a"), made);
    HAXPStrategy* const copy = m_catalogue.copyStrategy(made, "b");
    EXPECT_EQ(m_catalogue.strategyCount(m_flow), 2);
    EXPECT_THAT(test::drain(m_catalogue.createStrategyIter(m_flow)), ElementsAre(made, copy));
    m_catalogue.renameStrategy(copy, "c");
    EXPECT_TRUE(m_catalogue.isUniqueStrategyName(m_flow, "b"));
    EXPECT_FALSE(m_catalogue.isUniqueStrategyName(m_flow, "c"));
    const std::unique_ptr<HAXPStrategy> internal(m_catalogue.createInternalStrategy(made));
    EXPECT_TRUE(internal->isInternal());
    EXPECT_TRUE(m_catalogue.hasEquivalentStrategy(internal.get()));
    m_catalogue.deleteStrategy(made);
    EXPECT_EQ(manager.findStrategy(m_flow, "a"), nullptr);
}

}  // namespace
