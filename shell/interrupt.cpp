// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/interrupt.h"

#include <ctime>

#include <poll.h>

namespace shell {

namespace {

volatile std::sig_atomic_t s_pressed = 0;

extern "C" void onInterrupt(int) {
    s_pressed = 1;
}

}  // namespace

Interrupt::Interrupt() {
    s_pressed = 0;
    // Blocked but while pause() waits: between a look and a wait none gets lost.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigprocmask(SIG_BLOCK, &blocked, &m_maskBefore);
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_before);
}

Interrupt::~Interrupt() {
    sigaction(SIGINT, &m_before, nullptr);
    sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
}

bool Interrupt::pause(int ms) const {
    timespec time{};
    time.tv_sec = ms / 1000;
    time.tv_nsec = (ms % 1000) * 1000000L;
    sigset_t open = m_maskBefore;
    sigdelset(&open, SIGINT);
    if (s_pressed == 0)
        ppoll(nullptr, 0, &time, &open);
    return s_pressed != 0;
}

}  // namespace shell
