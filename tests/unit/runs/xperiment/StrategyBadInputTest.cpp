// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "environment/errors/HXMLException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/ComMsgMgrSink.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/FaultyDisk.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xperiment/strategyMgrFixture.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

namespace {

using test::thrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

/// Strategies, as the tests below use them.
struct Strategies {
    using Strategy = HAXPStrategy;

    static constexpr char kFolder[] = "strategies";
    static constexpr char kDuplicateId[] = "36-547";

    static Strategy* create(HAXPStrategyMgr& mgr, const HAXPFlow* flow, const std::string& name) {
        return mgr.createStrategy(flow, name);
    }
    static Strategy* copy(HAXPStrategyMgr& mgr, Strategy* source, const std::string& name) {
        return mgr.copyStrategy(source, name);
    }
    static void rename(HAXPStrategyMgr& mgr, Strategy* strategy, const std::string& name) {
        mgr.renameStrategy(strategy, name);
    }
    static void remove(HAXPStrategyMgr& mgr, Strategy* strategy) { mgr.deleteStrategy(strategy); }
    static void destroy(Strategy* strategy) { delete strategy; }
    static std::vector<Strategy*> all(const HAXPStrategyMgr& mgr, const HAXPFlow* flow) {
        return test::drain(mgr.createStrategyIter(flow));
    }
    static void restoreAll(HAXPStrategyMgr& mgr) { mgr.restoreAllStrategies("psg", false); }
    static void restore(HAXPStrategyMgr& mgr, const std::string& dir, bool userDefined) {
        mgr.restoreStrategies(dir, "psg", userDefined);
    }
    /// A second thing to keep beside the description.
    static void fill(Strategy& strategy) {
        test::setInt(strategy.getOptions("synth"), "CountInt", 7);
        test::setInt(strategy.getOptions("place"), "CountInt", 8);
    }
    static bool isFilled(const Strategy& strategy) {
        return strategy.stepCount() == 2 &&
               test::intOf(strategy.getOptions("synth"), "CountInt") == 7 &&
               test::intOf(strategy.getOptions("place"), "CountInt") == 8;
    }

    static std::string fileOf(const std::string& inside) {
        return "<Strategy Version=\"1\" Minor=\"2\">\n<Tool Major=\"2023\" Minor=\"2\"/>\n" +
               inside + "</Strategy>\n";
    }
    static std::string entryOf(const std::string& name) {
        return "<StratHandle Name=\"" + name + "\" Flow=\"kept_flow\"/>\n";
    }
    /// Two strategies in one file: the inner one ends first.
    static std::string fileOfTwo(const std::string& first, const std::string& second) {
        return fileOf("<Strategy>" + entryOf(first) + "</Strategy><Strategy>" + entryOf(second) +
                      "</Strategy>\n");
    }
    /// A file that has `name` and then ends in the middle of something.
    static std::string fileThatBreaksBehind(const std::string& name) {
        return fileOf(entryOf(name)) + fileOf(entryOf("b"));
    }
    static std::string fileWithText(const std::string& text) { return fileOf(entryOf(text)); }
};

/// Report strategies.
struct ReportStrategies {
    using Strategy = HAXRReportStrategy;

    static constexpr char kFolder[] = "reportstrategies";
    static constexpr char kDuplicateId[] = "36-546";

    static Strategy* create(HAXPStrategyMgr& mgr, const HAXPFlow* flow, const std::string& name) {
        return mgr.createReportStrategy(flow, name);
    }
    static Strategy* copy(HAXPStrategyMgr& mgr, Strategy* source, const std::string& name) {
        return mgr.copyReportStrategy(source, name);
    }
    static void rename(HAXPStrategyMgr& mgr, Strategy* strategy, const std::string& name) {
        mgr.renameReportStrategy(strategy, name);
    }
    static void remove(HAXPStrategyMgr& mgr, Strategy* strategy) {
        mgr.deleteReportStrategy(strategy);
    }
    static void destroy(Strategy* strategy) {
        strategy->nukeSteps();
        delete strategy;
    }
    static std::vector<Strategy*> all(const HAXPStrategyMgr& mgr, const HAXPFlow* flow) {
        return test::drain(mgr.createReportStrategyIter(flow));
    }
    static void restoreAll(HAXPStrategyMgr& mgr) { mgr.restoreAllReportStrategies("psg"); }
    static void restore(HAXPStrategyMgr& mgr, const std::string& dir, bool userDefined) {
        mgr.restoreReportStrategies(dir, "psg", userDefined);
    }
    /// A report "report_bad_input" with a number "count".
    static void addToCatalogue() {
        static const bool isAdded = [] {
            HAXRReportSpecMgr& catalogue = *HAXRReportSpecMgr::getGlobal();
            catalogue.addReportSpec(
                test::reports::makeReport("report_bad_input", {test::reports::number("count", 3)})
                    .release());
            catalogue.populateLatestSpecs();
            return true;
        }();
        static_cast<void>(isAdded);
    }
    static void fill(Strategy& strategy) {
        addToCatalogue();
        std::unique_ptr<HAXRReportSpec> report(
            HAXRReportSpecMgr::getGlobal()->getReportSpec("report_bad_input"));
        test::reports::setNumber(report->getOptions(), "count", 7);
        strategy.addSpec("synth", report.get(), true);
        static_cast<void>(report.release());
    }
    static bool isFilled(const Strategy& strategy) {
        const std::unique_ptr<HSTFwdIter<HAXRReportSpec*>> reports(
            strategy.createReportSpecIter("synth"));
        return reports != nullptr && reports->hasNext() &&
               test::reports::valueOf(reports->next()->getOptions(), "count") == "7";
    }

    static std::string fileOf(const std::string& inside) {
        return "<ReportStrategies Version=\"1\" Minor=\"0\">\n<Tool Major=\"2023\" "
               "Minor=\"2\"/>\n" +
               inside + "</ReportStrategies>\n";
    }
    static std::string entryOf(const std::string& name, const std::string& steps = "") {
        return "<ReportStrategy><ReportStratHandle Name=\"" + name +
               "\" Flow=\"kept_flow\"><Desc>d</Desc></ReportStratHandle>" + steps +
               "</ReportStrategy>\n";
    }
    static std::string fileOfTwo(const std::string& first, const std::string& second) {
        return fileOf(entryOf(first) + entryOf(second));
    }
    static std::string fileThatBreaksBehind(const std::string& name) {
        addToCatalogue();
        return fileOf(entryOf(name) + entryOf("b", "<Step Id=\"nowhere\">\n"
                                                   "<Spec Name=\"report_bad_input\"/></Step>"));
    }
    static std::string fileWithText(const std::string& text) { return fileOf(entryOf(text)); }
};

/// What a restore, a save and a removal do with files and disks that aren't as they
/// should be, for either kind of strategy.
template <class Kind> class StrategyBadInput : public test::StrategyMgrTest {
protected:
    using Strategy = typename Kind::Strategy;

    ~StrategyBadInput() override { forgetReports(); }

    std::string folder() const { return m_installation.appDataDir() + "/2023.2/" + Kind::kFolder; }
    std::string path(const std::string& name) const { return folder() + "/" + name; }

    void startAnew() {
        forgetReports();
        restart();
    }
    /// A new start of the program. What report strategies say on standard output is kept
    /// apart.
    void startAnewAndRestore() {
        startAnew();
        m_said = test::reports::outputOf([this] { Kind::restoreAll(*m_manager); });
    }
    Strategy* find(const std::string& name) const {
        for (Strategy* strategy : Kind::all(*m_manager, m_flow)) {
            if (strategy->getName() == name)
                return strategy;
        }
        return nullptr;
    }
    std::vector<std::string> restoredNames() const {
        std::vector<std::string> names;
        for (const Strategy* strategy : Kind::all(*m_manager, m_flow))
            names.push_back(strategy->getName());
        std::sort(names.begin(), names.end());
        return names;
    }
    Strategy* make(const std::string& name, const std::string& description) {
        Strategy* const strategy = Kind::create(*m_manager, m_flow, name);
        strategy->setDescription(description);
        Kind::fill(*strategy);
        return strategy;
    }

    /// Starts from a folder with the strategies "mine" and "other".
    void startWithTwo() {
        startAnew();
        std::filesystem::remove_all(folder());
        std::filesystem::create_directories(folder());
        make("mine", "kept");
        make("other", "of another");
    }
    void expectWhole(const std::string& name, const std::string& description) const {
        const Strategy* const strategy = find(name);
        ASSERT_NE(strategy, nullptr) << name;
        EXPECT_EQ(strategy->getDescription(), description) << name;
        EXPECT_TRUE(Kind::isFilled(*strategy)) << name;
    }
    /// Whatever happened to "mine", the rest is there, and every file can be read.
    void expectTheRest() const {
        expectWhole("other", "of another");
        EXPECT_THAT(m_messages.texts(), IsEmpty());
    }

    std::string m_said;

private:
    void forgetReports() {
        for (HAXRReportStrategy* strategy :
             test::drain(m_manager->createReportStrategyIter(m_flow)))
            ReportStrategies::destroy(strategy);
    }
};

using Kinds = ::testing::Types<Strategies, ReportStrategies>;

struct KindName {
    template <class Kind> static std::string GetName(int) { return Kind::kFolder; }
};

TYPED_TEST_SUITE(StrategyBadInput, Kinds, KindName);

// What a user does, ended at any moment --------------------------------------

/// A user's action on "mine", and what a new start may find of it, "other" apart.
template <class Fixture> struct UserAction {
    const char* name;
    std::function<void(Fixture&)> act;
    std::function<void(const Fixture&)> expectOldOrNew;
};

template <class Kind> class StrategyInterrupted : public StrategyBadInput<Kind> {
protected:
    using Action = UserAction<StrategyInterrupted>;

    void set_() { this->find("mine")->setDescription("changed"); }
    void create_() { Kind::create(*this->m_manager, this->m_flow, "fresh"); }
    void copy_() { Kind::copy(*this->m_manager, this->find("mine"), "fresh"); }
    void rename_() { Kind::rename(*this->m_manager, this->find("mine"), "renamed"); }
    void remove_() { Kind::remove(*this->m_manager, this->find("mine")); }

    void expectKept_() const { this->expectWhole("mine", "kept"); }
    void expectSet_() const {
        const auto* const mine = this->find("mine");
        ASSERT_NE(mine, nullptr);
        this->expectWhole("mine", mine->getDescription() == "kept" ? "kept" : "changed");
    }
    void expectCreated_() const {
        expectKept_();
        EXPECT_LE(this->restoredNames().size(), 3U);
    }
    void expectCopied_() const {
        expectKept_();
        if (this->find("fresh") != nullptr)
            this->expectWhole("fresh", "kept");
    }
    /// While the old file isn't gone both may be there, whole.
    void expectRenamed_() const {
        EXPECT_TRUE(this->find("mine") != nullptr || this->find("renamed") != nullptr);
        for (const char* name : {"mine", "renamed"}) {
            if (this->find(name) != nullptr)
                this->expectWhole(name, "kept");
        }
    }
    void expectRemoved_() const {
        if (this->find("mine") != nullptr)
            expectKept_();
    }

    static std::vector<Action> actions() {
        using F = StrategyInterrupted;
        return {{"set", &F::set_, &F::expectSet_},
                {"create", &F::create_, &F::expectCreated_},
                {"copy", &F::copy_, &F::expectCopied_},
                {"rename", &F::rename_, &F::expectRenamed_},
                {"remove", &F::remove_, &F::expectRemoved_}};
    }

    /// Does it in a process that is killed at the disk's call `call`; false when it came
    /// to its end before.
    bool killed(int call, const Action& action) {
        const pid_t child = ::fork();
        if (child == 0) {
            test::FaultyDisk disk;
            disk.killAt(call);
            action.act(*this);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFSIGNALED(status);
    }

    /// Does it on a disk that is as `prepare` makes it; whether it failed.
    bool failed(const std::function<void(test::FaultyDisk&)>& prepare, const Action& action) {
        test::FaultyDisk disk;
        prepare(disk);
        try {
            action.act(*this);
        } catch (const HXMLException& error) {
            EXPECT_THAT(error.what(), HasSubstr(this->folder())) << action.name;
        }
        return disk.hasFailed();
    }

    void expectAfterRestart(const Action& action, int call) {
        SCOPED_TRACE(std::string(action.name) + ", call " + std::to_string(call));
        this->startAnewAndRestore();
        action.expectOldOrNew(*this);
        this->expectTheRest();
        this->m_messages.clear();
    }
};

TYPED_TEST_SUITE(StrategyInterrupted, Kinds, KindName);

TYPED_TEST(StrategyInterrupted, LeavesTheOldOrTheNewWhereverItIsKilled) {
    for (const auto& action : TestFixture::actions()) {
        int call = 0;
        bool goesOn = true;
        while (goesOn && call < 100) {
            this->startWithTwo();
            goesOn = this->killed(++call, action);
            this->expectAfterRestart(action, call);
        }
        EXPECT_GT(call, std::string(action.name) == "remove" ? 1 : 4) << action.name;
        EXPECT_LT(call, 100) << action.name;
    }
}

TYPED_TEST(StrategyInterrupted, LeavesTheOldOrTheNewWhereverADiskIsFull) {
    for (const auto& action : TestFixture::actions()) {
        int call = 0;
        bool goesOn = true;
        while (goesOn && call < 100) {
            this->startWithTwo();
            ++call;
            goesOn =
                this->failed([&](test::FaultyDisk& disk) { disk.failFrom(call, ENOSPC); }, action);
            this->expectAfterRestart(action, call);
        }
        EXPECT_LT(call, 100) << action.name;
    }
}

TYPED_TEST(StrategyInterrupted, LeavesTheOldOrTheNewWhicheverCallFails) {
    for (const auto& action : TestFixture::actions()) {
        int call = 0;
        bool goesOn = true;
        while (goesOn && call < 100) {
            this->startWithTwo();
            ++call;
            goesOn =
                this->failed([&](test::FaultyDisk& disk) { disk.failOnce(call, EIO); }, action);
            this->expectAfterRestart(action, call);
        }
        EXPECT_LT(call, 100) << action.name;
    }
}

TYPED_TEST(StrategyInterrupted, ChangesNothingOnADiskThatCanOnlyBeRead) {
    for (const auto& action : TestFixture::actions()) {
        this->startWithTwo();
        std::map<std::string, std::string> before;
        for (const std::string& name : TestFixture::namesIn(this->folder()))
            before[name] = TestFixture::contentOfFile(this->path(name));
        {
            test::FaultyDisk disk;
            disk.failFrom(1, EROFS);
            try {
                action.act(*this);
                EXPECT_STREQ(action.name, "remove");
            } catch (const HXMLException& error) {
                EXPECT_THAT(error.what(), HasSubstr(this->folder())) << action.name;
            }
        }
        for (const auto& [name, content] : before)
            EXPECT_EQ(TestFixture::contentOfFile(this->path(name)), content) << action.name;
        EXPECT_EQ(TestFixture::namesIn(this->folder()).size(), before.size()) << action.name;
    }
}

// Files that aren't as they should be ----------------------------------------

TYPED_TEST(StrategyBadInput, RestoresTheRestBesideAFileThatIsCutAtAnyByte) {
    this->startWithTwo();
    const std::string name = this->namesIn(this->folder()).front();
    ASSERT_THAT(name, StartsWith("mine"));
    const std::string whole = this->contentOfFile(this->path(name));
    const std::size_t end = whole.rfind('>');
    for (std::size_t size = 0; size <= end; ++size) {
        const std::string cut = whole.substr(0, size);
        this->addFile(this->path(name), cut);
        this->m_messages.clear();
        this->startAnewAndRestore();
        ASSERT_THAT(this->restoredNames(), ElementsAre("other")) << size;
        ASSERT_THAT(this->m_messages.ids(), ElementsAre("1-126")) << size;
        const std::vector<std::string> args = this->m_messages.messages().front().args;
        ASSERT_EQ(args.at(0), this->path(name)) << size;
        // An empty file has no line.
        ASSERT_TRUE(size == 0 ? args.at(1) == "0" : std::stoi(args.at(1)) > 0) << size;
        ASSERT_EQ(args.at(2).find(this->folder()), std::string::npos) << args.at(2);
        ASSERT_EQ(this->contentOfFile(this->path(name)), cut);
    }
}

TYPED_TEST(StrategyBadInput, TellsOfAFileThatIsTooLargeWithoutReadingIt) {
    this->startWithTwo();
    // A strategy with an attribute of a gigabyte, most of which the disk doesn't hold.
    const std::string file = this->path("large.psg");
    this->addFile(file, TypeParam::fileOf("").substr(0, 60) + "<a b=\"");
    ASSERT_EQ(::truncate(file.c_str(), off_t{1} << 30), 0);
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other"));
    ASSERT_THAT(this->m_messages.ids(), ElementsAre("1-126"));
    EXPECT_THAT(this->m_messages.texts().front(), HasSubstr(file));
}

TYPED_TEST(StrategyBadInput, TellsOfAnAttributeThatIsTooLongAtItsLine) {
    this->startWithTwo();
    this->addFile(this->path("long.psg"), TypeParam::fileWithText(std::string(2U << 20U, 'x')));
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other"));
    ASSERT_THAT(this->m_messages.ids(), ElementsAre("1-126"));
    const std::vector<std::string> args = this->m_messages.messages().front().args;
    EXPECT_EQ(args.at(1), "3");
    EXPECT_THAT(args.at(2), HasSubstr("is longer than 1048576 bytes"));
}

TYPED_TEST(StrategyBadInput, TellsAToolVersionThatIsNoNumberAtItsLine) {
    this->startWithTwo();
    std::string content = TypeParam::fileWithText("a");
    content.replace(content.find("2023"), 4, "abcd");
    this->addFile(this->path("a.psg"), content);
    content.replace(content.find("abcd"), 4, "99999999999999999999");
    this->addFile(this->path("b.psg"), content);
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other"));
    EXPECT_THAT(this->m_messages.summaries(),
                UnorderedElementsAre("project ERROR 1-126(" + this->path("a.psg") +
                                         ", 2, the version of the tool is no number)",
                                     "project ERROR 1-126(" + this->path("b.psg") +
                                         ", 2, the version of the tool is no number)"));
}

TYPED_TEST(StrategyBadInput, DropsTheSecondFileOfANameAndLeavesIt) {
    this->startWithTwo();
    const std::string content = TypeParam::fileWithText("same");
    this->addFile(this->path("x.psg"), content);
    this->addFile(this->path("y.psg"), content);
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other", "same"));
    ASSERT_THAT(this->m_messages.ids(), ElementsAre(TypeParam::kDuplicateId));
    TypeParam::remove(*this->m_manager, this->find("same"));
    EXPECT_NE(this->exists(this->path("x.psg")), this->exists(this->path("y.psg")));
    this->startAnewAndRestore();
    EXPECT_NE(this->find("same"), nullptr);
}

/// Removes files as soon as it hears of the first one.
class RemovingSink : public ComMsgMgrSink {
public:
    explicit RemovingSink(std::vector<std::string> paths) : m_paths(std::move(paths)) {}

    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin&) override {
        for (const std::string& path : m_paths) {
            if (message.getArgs().front() != path)
                std::filesystem::remove(path);
        }
    }

private:
    std::vector<std::string> m_paths;
};

TYPED_TEST(StrategyBadInput, TellsOfAFileThatVanishesBetweenListingAndReading) {
    this->startWithTwo();
    const std::vector<std::string> files = {this->path("x.psg"), this->path("y.psg")};
    for (const std::string& file : files)
        this->addFile(file, "no document");
    const auto sink = std::make_shared<RemovingSink>(files);
    ComMsgMgr::addSink(sink);
    this->startAnewAndRestore();
    ComMsgMgr::removeSink(sink);
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other"));
    ASSERT_THAT(this->m_messages.ids(), ElementsAre("1-126", "1-126"));
    EXPECT_THAT(this->m_messages.texts().back(), HasSubstr("No such file or directory"));
}

// Folders that can't be read -------------------------------------------------

TYPED_TEST(StrategyBadInput, TellsOfAFolderThatIsNone) {
    const std::string file = this->m_installation.root() + "/" + TypeParam::kFolder;
    this->addFile(file, "");
    TypeParam::restore(*this->m_manager, file, false);
    EXPECT_THAT(this->m_messages.summaries(),
                ElementsAre("runs WARNING 36-561(" + file + ", Not a directory)"));
    EXPECT_TRUE(this->m_manager->isAlreadyParsed(file));
}

TYPED_TEST(StrategyBadInput, TellsOfAFolderThatMayNotBeRead) {
    this->startWithTwo();
    const std::string users = this->m_installation.appDataDir() + "/" + TypeParam::kFolder;
    this->addFile(users + "/a.psg", TypeParam::fileWithText("a"));
    ASSERT_EQ(::chmod(users.c_str(), 0), 0);
    // The superuser may read everything: be someone else meanwhile.
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        constexpr uid_t kNobody = 65534;
        for (const auto* dir : {"", "/.."})
            ASSERT_EQ(::chmod((this->m_installation.appDataDir() + dir).c_str(), 0755), 0);
        ASSERT_EQ(::seteuid(kNobody), 0);
    }
    this->startAnew();
    TypeParam::restore(*this->m_manager, this->folder(), true);
    TypeParam::restore(*this->m_manager, users, true);
    if (isRoot) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    ASSERT_EQ(::chmod(users.c_str(), 0755), 0);
    EXPECT_THAT(this->restoredNames(), ElementsAre("mine", "other"));
    EXPECT_THAT(this->m_messages.summaries(),
                ElementsAre("runs WARNING 36-561(" + users + ", Permission denied)"));
}

TYPED_TEST(StrategyBadInput, IsSilentAboutAFolderThatIsMissing) {
    TypeParam::restore(*this->m_manager, this->m_installation.root() + "/nowhere", false);
    EXPECT_THAT(this->m_messages.ids(), IsEmpty());
}

TYPED_TEST(StrategyBadInput, RestoresAStrategyWhoseNameIsEmpty) {
    this->startWithTwo();
    TypeParam::rename(*this->m_manager, this->find("mine"), "");
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("", "other"));
    this->expectWhole("", "kept");
    EXPECT_THAT(this->m_messages.ids(), IsEmpty());
}

// Files that hold more than one strategy -------------------------------------

TYPED_TEST(StrategyBadInput, KeepsTheOthersOfAFileWhenOneOfThemIsDeleted) {
    this->addFile(this->path("two.psg"), TypeParam::fileOfTwo("a", "b"));
    this->startAnewAndRestore();
    TypeParam::remove(*this->m_manager, this->find("a"));
    EXPECT_FALSE(this->exists(this->path("two.psg")));
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("b"));
    EXPECT_EQ(this->find("b")->getFilename(), this->path("b.kept_flow.psg"));
}

TYPED_TEST(StrategyBadInput, KeepsTheOthersOfAFileWhenOneOfThemIsSavedOrRenamed) {
    this->addFile(this->path("two.psg"), TypeParam::fileOfTwo("a", "b"));
    this->addFile(this->path("pair.psg"), TypeParam::fileOfTwo("c", "d"));
    this->startAnewAndRestore();
    this->find("a")->setDescription("mine");
    TypeParam::rename(*this->m_manager, this->find("d"), "e");
    EXPECT_EQ(this->find("a")->getFilename(), this->path("two.psg"));
    EXPECT_TRUE(this->exists(this->path("two.psg.bak-2023.2")));
    this->m_messages.clear();
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("a", "b", "c", "e"));
    EXPECT_EQ(this->find("a")->getDescription(), "mine");
    EXPECT_THAT(this->m_messages.ids(), IsEmpty());
}

TYPED_TEST(StrategyBadInput, DeletesNothingOfAFileWhoseOthersCanNotBeSaved) {
    this->addFile(this->path("two.psg"), TypeParam::fileOfTwo("a", "b"));
    this->startAnewAndRestore();
    {
        test::FaultyDisk disk;
        disk.failAll("write", ENOSPC);
        EXPECT_THROW(TypeParam::remove(*this->m_manager, this->find("a")), HXMLException);
    }
    EXPECT_EQ(this->find("b")->getFilename(), this->path("two.psg"));
    EXPECT_THAT(this->restoredNames(), ElementsAre("a", "b"));
    this->startAnewAndRestore();
    EXPECT_THAT(this->restoredNames(), ElementsAre("a", "b"));
}

TYPED_TEST(StrategyBadInput, KeepsWhatNobodyCouldReadOfAFile) {
    const std::string broken = TypeParam::fileThatBreaksBehind("a");
    for (const char* name : {"saved", "deleted"}) {
        SCOPED_TRACE(name);
        const std::string file = this->path(std::string(name) + ".psg");
        this->addFile(file, broken);
        this->startAnewAndRestore();
        ASSERT_THAT(this->restoredNames(), ElementsAre("a"));
        EXPECT_EQ(this->find("a")->getFilename(), file);
        if (std::string(name) == "saved")
            this->find("a")->setDescription("mine");
        else
            TypeParam::remove(*this->m_manager, this->find("a"));
        EXPECT_EQ(this->contentOfFile(file + ".bak-2023.2"), broken);
        std::filesystem::remove(file);
    }
}

}  // namespace
