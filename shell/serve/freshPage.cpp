// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/freshPage.h"

#include <chrono>

namespace shell {

namespace {

constexpr std::chrono::seconds kLongest(10);

}  // namespace

FreshPage::Snapshot FreshPage::get() {
    std::unique_lock<std::mutex> lock(m_mutex);
    const long number = ++m_asked;
    m_looked.wait_for(lock, kLongest, [&] { return m_answered >= number || m_isClosed; });
    return m_current;
}

bool FreshPage::isWanted() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_taken = m_asked;
    return m_taken > m_answered;
}

void FreshPage::publish(Snapshot snapshot) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_current = std::move(snapshot);
        m_answered = m_taken;
    }
    m_looked.notify_all();
}

void FreshPage::close() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosed = true;
    }
    m_looked.notify_all();
}

}  // namespace shell
