// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/installation/HUTEnv.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "environment/errors/HEXDataException.h"
#include "environment/installation/Installation.h"
#include "tests/support/FakeEnvironment.h"
#include "tests/support/TestInstallation.h"

namespace {

using Texts = std::vector<std::string>;

class InstallationTest : public ::testing::Test {
protected:
    test::TestInstallation m_installation;
};

TEST_F(InstallationTest, AnswersWithWhatTheProgramSaid) {
    EXPECT_EQ(HUTEnv::getProgramName(), "xptest");
    EXPECT_EQ(HUTEnv::getProductName(), "tarnel");
    EXPECT_EQ(HUTEnv::getCopyRight(), "Copyright the testers");
    EXPECT_EQ(HUTEnv::getMQIInstallRoot(), m_installation.root());
    EXPECT_EQ(HUTEnv::getMQIAppRoot(), m_installation.root());
    EXPECT_EQ(HUTEnv::getMQIAppDataDir(), m_installation.appDataDir());
    EXPECT_EQ(HUTEnv::getKPXAppRootList(), Texts{m_installation.root()});
}

TEST_F(InstallationTest, KeepsItsRootsApart) {
    Installation installation = m_installation.get();
    installation.installRoot = "/opt/all";
    installation.appRoot = "/opt/app";
    m_installation.set(installation);
    EXPECT_EQ(HUTEnv::getMQIInstallRoot(), "/opt/all");
    EXPECT_EQ(HUTEnv::getMQIAppRoot(), "/opt/app");
}

TEST_F(InstallationTest, DropsSeparatorsAtTheEndOfFolders) {
    Installation installation = m_installation.get();
    installation.installRoot = "/opt/all/";
    installation.appRoot = "/";
    installation.appDataDir = "/home/u//";
    installation.appRoots = {"/a/", "/b"};
    m_installation.set(installation);
    EXPECT_EQ(HUTEnv::getMQIInstallRoot(), "/opt/all");
    EXPECT_EQ(HUTEnv::getMQIAppRoot(), "/");
    EXPECT_EQ(HUTEnv::getMQIAppDataDir(), "/home/u");
    EXPECT_EQ(HUTEnv::getKPXAppRootList(), (Texts{"/a", "/b"}));
}

TEST_F(InstallationTest, RefusesToNameAUserFolderThatThereIsNot) {
    Installation installation = m_installation.get();
    installation.appDataDir = "";
    m_installation.set(installation);
    try {
        HUTEnv::getMQIAppDataDir();
        FAIL() << "no exception";
    } catch (const HEXDataException& error) {
        EXPECT_STREQ(error.what(),
                     "There is no folder for the user's own strategies and settings. Set the "
                     "variable XPERIMENT_APP_DATA_DIR to one, or let the program name one in its "
                     "installation.");
    }
}

TEST_F(InstallationTest, FillsTheEmptiedListWithTheLoadersArguments) {
    Installation installation = m_installation.get();
    installation.loaderArgs = {"-m64", "a b"};
    m_installation.set(installation);
    HSTVector<std::string> args{"old"};
    HUTEnv::getLoaderArgs(args);
    EXPECT_EQ(args, (Texts{"-m64", "a b"}));
    m_installation.setProgramName("again");
    HUTEnv::getLoaderArgs(args);
    EXPECT_EQ(args.size(), 2U);
}

TEST_F(InstallationTest, EmptiesTheListWhenThereAreNoLoadersArguments) {
    HSTVector<std::string> args{"old"};
    HUTEnv::getLoaderArgs(args);
    EXPECT_TRUE(args.empty());
}

TEST_F(InstallationTest, GivesTheFirstRootThatHoldsAFile) {
    const std::string second = m_installation.addRoot("second");
    m_installation.addRoot("third");
    m_installation.addFile("scripts/first.sh");
    m_installation.addFile("../second/scripts/x.sh");
    m_installation.addFile("../third/scripts/x.sh");
    EXPECT_EQ(HUTEnv::getKPXAppRoot("scripts/x.sh"), second);
    EXPECT_EQ(HUTEnv::getKPXAppRoot("scripts/first.sh"), m_installation.root());
    EXPECT_EQ(HUTEnv::getKPXAppRoot("scripts"), m_installation.root());
}

TEST_F(InstallationTest, GivesTheFirstRootWhenNoneHoldsTheFile) {
    m_installation.addRoot("second");
    EXPECT_EQ(HUTEnv::getKPXAppRoot("scripts/none.sh"), m_installation.root());
}

TEST_F(InstallationTest, GivesAnEmptyRootWhenThereAreNone) {
    Installation installation = m_installation.get();
    installation.appRoots.clear();
    m_installation.set(installation);
    EXPECT_EQ(HUTEnv::getKPXAppRoot("scripts/x.sh"), "");
    EXPECT_TRUE(HUTEnv::getKPXAppRootList().empty());
}

TEST_F(InstallationTest, IsTheTarnelProgramByItsNameInAnyCase) {
    EXPECT_FALSE(HUTEnv::isTarnel());
    m_installation.setProgramName("TARNEL");
    EXPECT_TRUE(HUTEnv::isTarnel());
    m_installation.setProgramName("tarnel2");
    EXPECT_FALSE(HUTEnv::isTarnel());
}

TEST_F(InstallationTest, IsTheTarnelProgramWhenItSaysSo) {
    Installation installation = m_installation.get();
    installation.isTarnel = true;
    m_installation.set(installation);
    EXPECT_TRUE(HUTEnv::isTarnel());
}

TEST_F(InstallationTest, ComesBackWhenAPrivateOneEnds) {
    {
        test::TestInstallation inner;
        inner.setProductName("inner");
        EXPECT_EQ(HUTEnv::getProductName(), "inner");
    }
    EXPECT_EQ(HUTEnv::getProductName(), "tarnel");
    EXPECT_EQ(HUTEnv::getInstallation().installRoot, m_installation.root());
}

TEST_F(InstallationTest, MayBeReadWhileAnotherIsSet) {
    std::thread setter([this] {
        for (int i = 0; i < 500; ++i)
            m_installation.setProductName(i % 2 == 0 ? "tarnel" : "lentar");
    });
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(HUTEnv::getProductName().size(), 6U);
    setter.join();
}

/// A version and its pieces.
struct VersionCase {
    const char* name;
    const char* version;
    const char* major;
    const char* minor;
    const char* both;
};

std::ostream& operator<<(std::ostream& os, const VersionCase& row) {
    return os << row.name;
}

class VersionTable : public InstallationTest, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(VersionTable, HasItsPieces) {
    m_installation.setVersion(GetParam().version);
    EXPECT_EQ(HUTEnv::getMajor(), GetParam().major);
    EXPECT_EQ(HUTEnv::getMinor(), GetParam().minor);
    EXPECT_EQ(HUTEnv::getProductMajorMinorVersion(), GetParam().both);
}

INSTANTIATE_TEST_SUITE_P(Versions, VersionTable,
                         ::testing::Values(VersionCase{"Plain", "2026.1", "2026", "1", "2026.1"},
                                           VersionCase{"Patch", "2026.1.3", "2026", "1", "2026.1"},
                                           VersionCase{"MajorOnly", "2026", "2026", "", "2026"},
                                           VersionCase{"Words", "dev.main", "dev", "main",
                                                       "dev.main"},
                                           VersionCase{"Empty", "", "", "", ""}),
                         [](const auto& row) { return std::string(row.param.name); });

/// The default installation under variables of the test's own.
class DefaultInstallationTest : public ::testing::Test {
protected:
    test::FakeEnvironment m_variables;
};

TEST_F(DefaultInstallationTest, BearsTheNameByWhichTheProcessWasStarted) {
    EXPECT_EQ(Installation::getDefault().programName, program_invocation_short_name);
}

TEST_F(DefaultInstallationTest, IsTheLibraryItself) {
    const Installation installation = Installation::getDefault();
    EXPECT_EQ(installation.productName, "xperiment");
    EXPECT_NE(installation.version.find('.'), std::string::npos);
    EXPECT_FALSE(installation.isTarnel);
}

TEST_F(DefaultInstallationTest, HasNoUserFolderThoughTheUserHasAHome) {
    m_variables.set("HOME", "/home/u");
    m_variables.set("XDG_DATA_HOME", "/home/u/data");
    EXPECT_EQ(Installation::getDefault().appDataDir, "");
}

TEST_F(DefaultInstallationTest, TakesFoldersAndArgumentsFromVariables) {
    m_variables.set("XPERIMENT_ROOT", "/site:/opt/xp:");
    m_variables.set("XPERIMENT_APP_DATA_DIR", "/home/u/xp");
    m_variables.set("XPERIMENT_LOADER_ARGS", "-a  -b=1");
    const Installation installation = Installation::getDefault();
    EXPECT_EQ(installation.appRoots, (Texts{"/site", "/opt/xp"}));
    EXPECT_EQ(installation.installRoot, "/site");
    EXPECT_EQ(installation.appRoot, "/site");
    EXPECT_EQ(installation.appDataDir, "/home/u/xp");
    EXPECT_EQ(installation.loaderArgs, (Texts{"-a", "-b=1"}));
}

TEST_F(DefaultInstallationTest, FindsItsFilesFromThePlaceOfTheLibrary) {
    const Installation installation = Installation::getDefault();
    ASSERT_EQ(installation.appRoots.size(), 1U);
    const std::string& root = installation.appRoots.front();
    EXPECT_EQ(root.front(), '/');
    EXPECT_EQ(root.substr(root.size() - 15), "share/xperiment");
    EXPECT_EQ(installation.installRoot, root);
    EXPECT_TRUE(std::filesystem::exists(root + "/messages/runs.msg")) << root;
}

TEST_F(DefaultInstallationTest, OffersTheUsualPlaceForUsersData) {
    EXPECT_EQ(Installation::getUserDataDir("xp"), "");
    m_variables.set("HOME", "/home/u");
    EXPECT_EQ(Installation::getUserDataDir("xp"), "/home/u/.local/share/xp");
    m_variables.set("XDG_DATA_HOME", "/data");
    EXPECT_EQ(Installation::getUserDataDir("xp"), "/data/xp");
}

TEST(EnvironmentTest, GivesNullForAnUnsetVariableAndAnEmptyTextForAnEmptyOne) {
    test::FakeEnvironment variables;
    EXPECT_EQ(HUTEnv::getEnv("KPX_BINROOT"), nullptr);
    variables.set("KPX_BINROOT", "");
    ASSERT_NE(HUTEnv::getEnv("KPX_BINROOT"), nullptr);
    EXPECT_STREQ(HUTEnv::getEnv("KPX_BINROOT"), "");
    variables.set("KPX_BINROOT", "/opt/bin");
    EXPECT_STREQ(HUTEnv::getEnv("KPX_BINROOT"), "/opt/bin");
}

TEST(EnvironmentTest, ReadsTheProcessEnvironmentUnlessATestStandsIn) {
    const char* const path = std::getenv("PATH");
    ASSERT_NE(path, nullptr);
    EXPECT_STREQ(HUTEnv::getEnv("PATH"), path);
    {
        const test::FakeEnvironment empty;
        EXPECT_EQ(HUTEnv::getEnv("PATH"), nullptr);
    }
    EXPECT_STREQ(HUTEnv::getEnv("PATH"), path);
    EXPECT_EQ(HUTEnv::getEnv("XPERIMENT_SURELY_UNSET"), nullptr);
}

TEST(EnvironmentTest, NamesThisHostOnceAndForAll) {
    utsname system{};
    ASSERT_EQ(uname(&system), 0);
    EXPECT_EQ(HUTEnv::getHostName(), system.nodename);
    EXPECT_EQ(&HUTEnv::getHostName(), &HUTEnv::getHostName());
}

}  // namespace
