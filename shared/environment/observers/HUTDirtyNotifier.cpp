// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/observers/HUTDirtyNotifier.h"

#include <algorithm>
#include <exception>

#include "environment/observers/HUTDirtyObserver.h"

HUTDirtyNotifier::~HUTDirtyNotifier() = default;

void HUTDirtyNotifier::setDirty() {
    const std::vector<HUTDirtyObserver*> toTell = m_observers;
    std::exception_ptr firstThrown;
    for (HUTDirtyObserver* observer : toTell) {
        if (std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
            continue;
        try {
            observer->setDirty();
        } catch (...) {
            if (!firstThrown)
                firstThrown = std::current_exception();
        }
    }
    if (firstThrown)
        std::rethrow_exception(firstThrown);
}

void HUTDirtyNotifier::attachDirtyObserver(HUTDirtyObserver* observer) {
    if (observer == nullptr ||
        std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end())
        return;
    m_observers.push_back(observer);
}

void HUTDirtyNotifier::detachDirtyObserver(HUTDirtyObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer),
                      m_observers.end());
}
