// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runEvents.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/FakeClock.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

using Texts = std::vector<std::string>;

constexpr char kDir[] = "proj/runs/impl_1";
constexpr long kTime = 1000000;

/// An implementation, and what is told of it.
class RunEventsTest : public ::testing::Test {
protected:
    RunEventsTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_run(m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")) {
        m_bench.folder().folder(kDir);
        m_run.setRunDir(m_project->getRunsDir() + "/impl_1", false);
    }

    void launch(long time) {
        m_run.setRunMode(HAXPExpRun::kLaunched);
        m_run.getInfo().setLaunch(time, "");
    }
    void begin(const std::string& program) {
        mark(program, "begin", kTime);
        if (m_lock == nullptr)
            m_lock = std::make_unique<test::HeldRunLock>(m_run.getDir());
    }
    void end(const std::string& program) const { mark(program, "end", kTime + 7); }
    void fail(const std::string& program) {
        mark(program, "error", kTime + 2);
        m_lock.reset();
    }
    void finish() {
        for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"})
            pass(program);
        m_lock.reset();
    }
    void pass(const std::string& program) {
        begin(program);
        end(program);
    }
    void mark(const std::string& program, const std::string& kind, long time) const {
        const std::string name = std::string(kDir) + "/." + program + "." + kind + ".rst";
        m_bench.folder().mark(name, kind == "begin" ? test::TestBench::handleText() : "");
        m_bench.folder().touch(name, time);
    }
    void log(int arcs) const {
        m_bench.folder().mark(std::string(kDir) + "/runme.log",
                              "Command: nextpnr-ice40 --asc x\nInfo: Routing " +
                                  std::to_string(arcs) + " arcs.\n");
    }

    /// The events of a look, such as "step_done place_design failed".
    Texts look() {
        m_run.updateStatus();
        Texts texts;
        for (const shell::RunEvent& event : m_events.look(m_run, m_progress)) {
            const nlohmann::json json = shell::eventJson(event, kTime);
            std::string text = json["event"];
            for (const char* key : {"step", "outcome", "text"}) {
                if (json.contains(key))
                    text += " " + json[key].get<std::string>();
            }
            texts.push_back(text);
        }
        return texts;
    }

    test::FakeClock m_clock;
    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_run;
    std::unique_ptr<test::HeldRunLock> m_lock;
    shell::LaunchProgress m_progress{
        *m_project, [](const HAXPExpRun&, const std::string&) { return std::nullopt; }};
    shell::RunEvents m_events;
};

TEST_F(RunEventsTest, TellsALaunchFromItsBeginningToItsEnd) {
    EXPECT_EQ(look(), Texts{});
    launch(kTime);
    begin("ice40_init");
    EXPECT_EQ(look(), (Texts{"run_began", "step_began init_design"}));
    EXPECT_EQ(look(), Texts{});
    end("ice40_init");
    begin("ice40_place");
    EXPECT_EQ(look(), (Texts{"step_done init_design done", "step_began place_design"}));
    fail("ice40_place");
    EXPECT_EQ(look(), (Texts{"step_done place_design failed", "run_ended failed"}));
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, TellsWhatARunAtWorkHasDoneBeforeTheFirstLook) {
    launch(kTime);
    pass("ice40_init");
    begin("ice40_place");
    EXPECT_EQ(look(), (Texts{"run_began", "step_began init_design", "step_done init_design done",
                             "step_began place_design"}));
}

TEST_F(RunEventsTest, TellsNothingOfWhatEndedBeforeTheFirstLook) {
    launch(kTime);
    finish();
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, TellsALaunchThatCameAndWentBetweenTwoLooks) {
    look();
    launch(kTime);
    finish();
    const Texts texts = look();
    ASSERT_EQ(texts.size(), 10U);
    EXPECT_EQ(texts.front(), "run_began");
    EXPECT_EQ(texts[8], "step_done write_bitstream done");
    EXPECT_EQ(texts.back(), "run_ended done");
}

TEST_F(RunEventsTest, TellsALaunchThatIsOverOfARunThatCameBehindTheFirstLook) {
    m_events.expectNew();
    launch(kTime);
    finish();
    const Texts told = look();
    ASSERT_EQ(told.size(), 10U);
    EXPECT_EQ(told.front(), "run_began");
    EXPECT_EQ(told[1], "step_began init_design");
    EXPECT_EQ(told.back(), "run_ended done");
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, TellsNothingOfARunThatCameAndIsNotLaunched) {
    m_events.expectNew();
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, TellsNothingMoreOfWhatWasOverBeforeOthersWereExpected) {
    launch(kTime);
    finish();
    EXPECT_EQ(look(), Texts{});
    m_events.expectNew();
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, TellsTheNextLaunchToo) {
    launch(kTime);
    begin("ice40_init");
    look();
    fail("ice40_init");
    look();
    launch(kTime + 100);
    m_bench.folder().unmark(std::string(kDir) + "/.ice40_init.error.rst");
    begin("ice40_init");
    EXPECT_EQ(look(), (Texts{"run_began", "step_began init_design"}));
}

TEST_F(RunEventsTest, TellsProgressOnceASecondAndOnlyWhenItChanges) {
    launch(kTime);
    pass("ice40_init");
    pass("ice40_place");
    begin("ice40_route");
    log(4000);
    EXPECT_EQ(look().back(), "progress route_design routing, 4000 arcs left");
    log(300);
    EXPECT_EQ(look(), Texts{});
    m_clock.sleepMs(shell::RunEvents::kProgressMs);
    EXPECT_EQ(look(), Texts{"progress route_design routing, 300 arcs left"});
    m_clock.sleepMs(shell::RunEvents::kProgressMs);
    EXPECT_EQ(look(), Texts{});
}

TEST_F(RunEventsTest, SaysThatARunWasTakenBack) {
    launch(kTime);
    begin("ice40_init");
    look();
    m_run.setRunMode(HAXPExpRun::kNotLaunched);
    EXPECT_EQ(look(), Texts{"run_ended reset"});
}

TEST_F(RunEventsTest, AnEventHasItsTimeAndItsNumbers) {
    launch(kTime);
    pass("ice40_init");
    begin("ice40_place");
    m_run.updateStatus();
    const std::vector<shell::RunEvent> events = m_events.look(m_run, m_progress);
    ASSERT_EQ(events.size(), 4U);
    const nlohmann::json began = shell::eventJson(events[0], kTime);
    EXPECT_EQ(began["time"], "1970-01-12T13:46:40Z");
    EXPECT_EQ(began["flow"], "impl");
    EXPECT_EQ(began["strategy"], "Default");
    EXPECT_EQ(began["steps"].size(), 4U);
    EXPECT_EQ(shell::eventJson(events[2], kTime)["seconds"], 7.0);
}

TEST_F(RunEventsTest, TheEndOfAFailedRunSaysWhy) {
    launch(kTime);
    begin("ice40_init");
    look();
    fail("ice40_init");
    m_run.updateStatus();
    const std::vector<shell::RunEvent> events = m_events.look(m_run, m_progress);
    ASSERT_EQ(events.size(), 2U);
    const nlohmann::json json = shell::eventJson(events[1], kTime);
    EXPECT_NE(json["failure"].get<std::string>().find("impl_1 failed in step init_design"),
              std::string::npos);
    EXPECT_EQ(shell::eventText(events[1]), "impl_1: failed");
    EXPECT_EQ(shell::eventText(events[0]), "");
}

}  // namespace
