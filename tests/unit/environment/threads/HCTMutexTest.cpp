// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/threads/HCTMutex.h"

#include <cerrno>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "environment/errors/HCTThreadException.h"

/// Some tests misuse a mutex on purpose: the thread sanitizer is to report
/// races only. Nobody calls it in other builds.
extern "C" const char* __tsan_default_options();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "report_mutex_bugs=0";
}

namespace {

/// Runs `action` on another thread to its end.
template <class Action> void elsewhere(Action action) {
    std::thread thread(action);
    thread.join();
}

/// Whether another thread could take the mutex now.
bool isFree(HCTMutex& mutex) {
    bool free = false;
    elsewhere([&]() XP_NO_THREAD_SAFETY_ANALYSIS {
        free = mutex.try_lock();
        if (free)
            mutex.unlock();
    });
    return free;
}

/// The error number that `action` throws, 0 when it throws none.
template <class Action> int thrownNumber(Action action) {
    try {
        action();
    } catch (const HCTThreadException& thrown) {
        return thrown.getErrorNumber();
    }
    return 0;
}

TEST(HCTMutexTest, IsFreeAtFirst) {
    HCTMutex mutex;
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTMutexTest, KeepsOthersOutWhileItIsHeld) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    mutex.lock();
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTMutexTest, RefusesASecondLockOfOneThread) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    mutex.lock();
    EXPECT_EQ(thrownNumber([&]() XP_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); }), EDEADLK);
    EXPECT_FALSE(mutex.try_lock());
    mutex.unlock();
}

TEST(HCTMutexTest, RefusesToBeUnlockedByAStranger) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    const auto unlock = [&]() XP_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); };
    EXPECT_EQ(thrownNumber(unlock), EPERM);
    mutex.lock();
    int number = 0;
    elsewhere([&] { number = thrownNumber(unlock); });
    EXPECT_EQ(number, EPERM);
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
}

TEST(HCTMutexTest, FitsTheStandardGuards) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    {
        const std::lock_guard<HCTMutex> guard(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTMutexTest, LetsOneThreadAtATimeChangeWhatItGuards) {
    constexpr int kRounds = 20000;
    HCTMutex mutex;
    long count = 0;
    const auto add = [&]() XP_NO_THREAD_SAFETY_ANALYSIS {
        for (int i = 0; i < kRounds; ++i) {
            const HCTLock lock(mutex);
            ++count;
        }
    };
    std::thread first(add);
    std::thread second(add);
    first.join();
    second.join();
    EXPECT_EQ(count, 2L * kRounds);
}

TEST(HCTLockTest, HoldsTheMutexForItsScope) {
    HCTMutex mutex;
    {
        const HCTLock lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTLockTest, ReleasesTheMutexWhenAnExceptionPasses) {
    HCTMutex mutex;
    try {
        const HCTLock lock(mutex);
        throw 1;
    } catch (int) {
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTLockTest, GoesQuietlyWhenTheMutexWasGivenBackAlready) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    {
        const HCTLock lock(mutex);
        mutex.unlock();
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(HCTLockTest, RefusesAMutexThatThisThreadHolds) XP_NO_THREAD_SAFETY_ANALYSIS {
    HCTMutex mutex;
    const HCTLock lock(mutex);
    EXPECT_EQ(thrownNumber([&]() XP_NO_THREAD_SAFETY_ANALYSIS { const HCTLock again(mutex); }),
              EDEADLK);
    EXPECT_FALSE(isFree(mutex));
}

}  // namespace
