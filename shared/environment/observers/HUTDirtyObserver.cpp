// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/observers/HUTDirtyObserver.h"

HUTDirtyObserver::~HUTDirtyObserver() noexcept(false) = default;

void HUTDirtyObserver::setDirty() {
    setDirtyCallback_();
}

void HUTDirtyObserver::setDirtyCallback_() {}

void HUTDirtyObserver::setDirtyCallbackAndFireEvent_(bool) {
    setDirtyCallback_();
}
