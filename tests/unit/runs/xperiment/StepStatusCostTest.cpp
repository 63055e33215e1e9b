// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/files/HUTFile.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestFlowStep.h"
#include "tests/support/TestInstallation.h"

namespace {

/// What this thread asked of the heap and of the disk.
struct Cost {
    long allocations = 0;
    long looks = 0;
};

thread_local Cost t_cost;

void* counted(std::size_t size) {
    ++t_cost.allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

}  // namespace

// This program's own, so that the libraries' calls are counted as well.
void* operator new(std::size_t size) {
    return counted(size);
}
void* operator new[](std::size_t size) {
    return counted(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

// Stand in for the system's "stat" and "fstatat" in this program and in the libraries.
__attribute__((visibility("default"))) int countedStat(const char* path, struct stat* out) noexcept
    __asm__("stat");
__attribute__((visibility("default"))) int countedStatAt(int folder, const char* path,
                                                         struct stat* out, int flags) noexcept
    __asm__("fstatat");

int countedStat(const char* path, struct stat* out) noexcept {
    return countedStatAt(AT_FDCWD, path, out, 0);
}

int countedStatAt(int folder, const char* path, struct stat* out, int flags) noexcept {
    ++t_cost.looks;
    return static_cast<int>(syscall(SYS_newfstatat, folder, path, out, flags));
}

namespace {

/// What one more poll of the step "synth" costs, when nothing changed since the last.
class StepPollCostTest : public ::testing::Test {
protected:
    void SetUp() override { m_handle.setComplete(true); }

    Cost poll() {
        m_step.updateStatus(&m_status, &m_handle, m_dir.path());
        const Cost before = t_cost;
        m_step.updateStatus(&m_status, &m_handle, m_dir.path());
        const Cost after = t_cost;
        return {after.allocations - before.allocations, after.looks - before.looks};
    }

    test::TestInstallation m_installation;
    test::RunDir m_dir;
    test::TestFlowStep m_step{"synth"};
    HDGUIStatus m_status;
    HUTProcessHandle m_handle;
};

TEST_F(StepPollCostTest, IsCountedInsideTheLibraries) {
    const Cost before = t_cost;
    const std::unique_ptr<HSTFwdIter<HAXPFileSpec*>> specs(m_step.createReportSpecIter());
    EXPECT_EQ(t_cost.allocations, before.allocations + 1);
    HUTFile(m_dir.path()).isDir();
    EXPECT_EQ(t_cost.looks, before.looks + 1);
}

TEST_F(StepPollCostTest, IsTwoLooksForAFinishedStep) {
    m_dir.mark(".synth.begin.rst", "a record");
    m_dir.mark(".synth.end.rst");
    EXPECT_EQ(poll().looks, 2);
    EXPECT_EQ(m_status.getCode(), HDGUIStatus::statusDone);
}

TEST_F(StepPollCostTest, IsTwoLooksAlsoWithAnEmptyBeginMarker) {
    m_handle.reset();
    m_dir.mark(".synth.begin.rst");
    m_dir.mark(".synth.end.rst");
    EXPECT_EQ(poll().looks, 2);
}

TEST_F(StepPollCostTest, IsOneLookForEachSuffixOfAStepThatIsNotStarted) {
    EXPECT_EQ(poll().looks, 2);
}

TEST_F(StepPollCostTest, IsOneLookForEachNameOfARunningStep) {
    m_dir.mark(".synth.begin.rst", "a record");
    EXPECT_EQ(poll().looks, 6);
    EXPECT_EQ(m_status.getCode(), HDGUIStatus::statusRunning);
}

TEST_F(StepPollCostTest, TakesNoMemoryForAFinishedStep) {
    m_dir.mark(".synth.begin.rst", "a record");
    m_dir.mark(".synth.end.rst");
    EXPECT_EQ(poll().allocations, 0);
}

TEST_F(StepPollCostTest, TakesNoMemoryForAStepThatIsNotStarted) {
    EXPECT_EQ(poll().allocations, 0);
}

TEST_F(StepPollCostTest, TakesNoMemoryForARunningStep) {
    m_dir.mark(".synth.begin.rst", "a record");
    EXPECT_EQ(poll().allocations, 0);
}

}  // namespace
