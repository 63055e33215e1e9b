// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <pthread.h>

#include "environment/EnvironmentExport.h"
#include "environment/threads/threadAnnotations.h"

/// A mutex that tells its owner when locking goes wrong.
///
/// It isn't recursive: a thread that locks it twice gets the error instead of
/// waiting for itself. It fits std::lock_guard; HCTLock takes it as this
/// library's classes do.
class XP_CAPABILITY("mutex") ENVIRONMENT_API HCTMutex {
public:
    HCTMutex();
    ~HCTMutex();

    HCTMutex(const HCTMutex&) = delete;
    HCTMutex& operator=(const HCTMutex&) = delete;

    /// Waits for the mutex. @throws HCTThreadException with the error number.
    void lock() XP_ACQUIRE();

    /// Takes the mutex if it is free; false when it is busy, also when this
    /// thread holds it. @throws HCTThreadException for any other error.
    bool try_lock() XP_TRY_ACQUIRE(true);

    /// @throws HCTThreadException this thread doesn't hold the mutex.
    void unlock() XP_RELEASE();

private:
    friend class HCTLock;

    pthread_mutex_t m_mutex;
};

/// Holds a mutex for a scope: tried without blocking first, then waited for.
class XP_SCOPED_CAPABILITY ENVIRONMENT_API HCTLock {
public:
    /// @throws HCTThreadException the mutex can't be taken.
    explicit HCTLock(HCTMutex& mutex) XP_ACQUIRE(mutex);
    ~HCTLock() XP_RELEASE();

    HCTLock(const HCTLock&) = delete;
    HCTLock& operator=(const HCTLock&) = delete;

private:
    HCTMutex& m_mutex;
};
