// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/threads/HCTMutex.h"

#include <cerrno>

#include "environment/errors/HCTThreadException.h"

namespace {

void check(int error, const char* operation) {
    if (error != 0)
        throw HCTThreadException(operation, error);
}

}  // namespace

HCTMutex::HCTMutex() {
    pthread_mutexattr_t attributes;
    check(pthread_mutexattr_init(&attributes), "Mutex attributes");
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    const int error = pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    check(error, "Mutex creation");
}

HCTMutex::~HCTMutex() {
    pthread_mutex_destroy(&m_mutex);
}

void HCTMutex::lock() XP_NO_THREAD_SAFETY_ANALYSIS {
    check(pthread_mutex_lock(&m_mutex), "Mutex lock");
}

bool HCTMutex::try_lock() XP_NO_THREAD_SAFETY_ANALYSIS {
    const int error = pthread_mutex_trylock(&m_mutex);
    if (error == EBUSY)
        return false;
    check(error, "Mutex lock");
    return true;
}

void HCTMutex::unlock() XP_NO_THREAD_SAFETY_ANALYSIS {
    check(pthread_mutex_unlock(&m_mutex), "Mutex unlock");
}

HCTLock::HCTLock(HCTMutex& mutex) XP_NO_THREAD_SAFETY_ANALYSIS : m_mutex(mutex) {
    if (!m_mutex.try_lock())
        m_mutex.lock();
}

HCTLock::~HCTLock() XP_NO_THREAD_SAFETY_ANALYSIS {
    // Fails only when someone gave the mutex back already: nothing is left to do.
    pthread_mutex_unlock(&m_mutex.m_mutex);
}
