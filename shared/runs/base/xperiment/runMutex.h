// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <mutex>

#include "environment/threads/threadAnnotations.h"

namespace xperiment {

/// The recursive mutex of a run: selection operations call each other while they
/// hold it. A lock that fails raises std::system_error.
class XP_CAPABILITY("mutex") RunMutex {
public:
    void lock() XP_ACQUIRE() { m_mutex.lock(); }
    void unlock() XP_RELEASE() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

/// Holds a run's mutex for a scope.
class XP_SCOPED_CAPABILITY RunLock {
public:
    explicit RunLock(RunMutex& mutex) XP_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~RunLock() XP_RELEASE() { m_mutex.unlock(); }

    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

private:
    RunMutex& m_mutex;
};

}  // namespace xperiment
