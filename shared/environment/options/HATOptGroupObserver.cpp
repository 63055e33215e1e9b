// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroupObserver.h"

#include "environment/options/HATOptGroup.h"

HATOptGroupObserver::HATOptGroupObserver() = default;

HATOptGroupObserver::HATOptGroupObserver(const HATOptGroupObserver&) {}

HATOptGroupObserver& HATOptGroupObserver::operator=(const HATOptGroupObserver&) {
    return *this;
}

HATOptGroupObserver::~HATOptGroupObserver() noexcept(false) {
    while (!m_groups.empty())
        m_groups.back()->detach(this);
}

void HATOptGroupObserver::optionsChangedCallback(HATOptGroup* group) {
    optionsChangedCallback_(group);
}

void HATOptGroupObserver::optionsChangedCallback_(HATOptGroup*) {}
