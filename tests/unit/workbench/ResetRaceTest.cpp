// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// A reset while somebody exchanges what is in the run directory for links that lead out.
#include "workbench/runReset.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXError.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

constexpr int kRounds = 150;
constexpr int kFiles = 4;
constexpr unsigned kExchange = 2;  // RENAME_EXCHANGE

/// Exchanges two paths without a pause, while it lives.
class Swapper {
public:
    Swapper(std::string a, std::string b)
        : m_a(std::move(a)), m_b(std::move(b)), m_thread([this] { run_(); }) {
        while (m_count == 0)
            std::this_thread::yield();
    }
    ~Swapper() {
        m_isOver = true;
        m_thread.join();
    }
    Swapper(const Swapper&) = delete;
    Swapper& operator=(const Swapper&) = delete;

private:
    void run_() {
        while (!m_isOver) {
            syscall(SYS_renameat2, AT_FDCWD, m_a.c_str(), AT_FDCWD, m_b.c_str(), kExchange);
            ++m_count;
        }
    }

    std::string m_a;
    std::string m_b;
    std::atomic<bool> m_isOver{false};
    std::atomic<long> m_count{0};
    std::thread m_thread;
};

/// A synthesis that was launched and is done, with a folder in the place of its netlist,
/// and a folder outside that holds the same names.
class ResetRaceTest : public ::testing::Test {
protected:
    ResetRaceTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_run(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_bench.folder().folder("outside");
        m_run.setRunDir(m_bench.path("proj/runs/synth_1"), false);
        for (int file = 0; file < kFiles; ++file)
            m_bench.folder().mark(nameOf("outside", file), "precious");
    }

    static std::string nameOf(const std::string& folder, int file) {
        return folder + "/file" + std::to_string(file);
    }
    void prepare() {
        m_run.setRunMode(HAXPExpRun::kLaunched);
        m_run.getInfo().setLaunch(1000, "synth");
        boost::filesystem::remove(m_bench.path(kNetlist));
        boost::filesystem::remove(m_bench.path("aside"));
        m_bench.folder().folder(kNetlist);
        for (int file = 0; file < kFiles; ++file)
            m_bench.folder().mark(nameOf(kNetlist, file), "generated");
        boost::filesystem::create_symlink(m_bench.path("outside"), m_bench.path("aside"));
    }
    void cleanUp() {
        boost::filesystem::remove_all(m_bench.path(kNetlist));
        boost::filesystem::remove_all(m_bench.path("aside"));
    }
    int filesOutside() const {
        int count = 0;
        for (int file = 0; file < kFiles; ++file)
            count += m_bench.folder().has(nameOf("outside", file)) ? 1 : 0;
        return count;
    }
    /// Does `removal` in the midst of the exchanges, until something outside is gone or the
    /// rounds are over; the number of rounds.
    int race(int rounds, const std::function<void()>& removal) {
        int round = 0;
        for (; round < rounds && filesOutside() == kFiles; ++round) {
            prepare();
            {
                const Swapper swapper(m_bench.path(kNetlist), m_bench.path("aside"));
                removal();
            }
            cleanUp();
        }
        return round;
    }

    static constexpr char kNetlist[] = "proj/runs/synth_1/blinky.json";
    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_run;
};

TEST_F(ResetRaceTest, DeletesNothingOutside) {
    const int rounds = race(kRounds, [this] {
        HSTVector<std::string> errors;
        workbench::resetRun(*m_project, m_run, "", true, errors);
    });
    EXPECT_EQ(rounds, kRounds);
    EXPECT_EQ(filesOutside(), kFiles);
}

/// Looks at what stands there, and believes it.
void removeTrustingly(const std::string& folder) {
    struct stat info {};
    if (lstat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        return;
    DIR* dir = opendir(folder.c_str());
    while (const dirent* entry = dir == nullptr ? nullptr : readdir(dir))
        unlink((folder + "/" + entry->d_name).c_str());
    if (dir != nullptr)
        closedir(dir);
}

/// The race is one that is lost by who doesn't look where he removes.
TEST_F(ResetRaceTest, DeletesOutsideWhenItIsDoneNaively) {
    constexpr int kPatience = 100000;
    EXPECT_LT(race(kPatience, [this] { removeTrustingly(m_bench.path(kNetlist)); }), kPatience);
    EXPECT_LT(filesOutside(), kFiles);
}

TEST_F(ResetRaceTest, IsRefusedForADirectoryThatIsALink) {
    prepare();
    m_bench.folder().mark("outside/blinky.json", "precious");
    boost::filesystem::remove_all(m_bench.path("proj/runs/synth_1"));
    boost::filesystem::create_symlink(m_bench.path("outside"), m_bench.path("proj/runs/synth_1"));
    HSTVector<std::string> errors;
    EXPECT_EQ(test::thrownText<HEXError>(
                  [&] { workbench::resetRun(*m_project, m_run, "", true, errors); }),
              "Run synth_1 isn't reset: its directory " + m_bench.path("proj/runs/synth_1") +
                  " is a link, and what that leads to isn't the run's. Put a folder in the place "
                  "of the link.");
    EXPECT_TRUE(m_bench.folder().has("outside/blinky.json"));
}

}  // namespace
