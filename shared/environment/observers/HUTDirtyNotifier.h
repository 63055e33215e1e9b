// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "environment/EnvironmentExport.h"

class HUTDirtyObserver;

/// Mix-in of a part whose changes make the objects that hold it dirty.
class ENVIRONMENT_API HUTDirtyNotifier {
public:
    virtual ~HUTDirtyNotifier();

    /// Calls setDirty() of every observer, in order of attachment. An observer
    /// may attach or detach while it is told. What the first of them throws
    /// passes after all were told.
    void setDirty();

    /// Tells `observer` from now on. Null, or one attached already, is ignored.
    /// The observer isn't owned: detach it before it goes.
    void attachDirtyObserver(HUTDirtyObserver* observer);

    /// Tells `observer` no longer; a stranger is ignored.
    void detachDirtyObserver(HUTDirtyObserver* observer);

protected:
    HUTDirtyNotifier() = default;
    HUTDirtyNotifier(const HUTDirtyNotifier&) = delete;
    HUTDirtyNotifier& operator=(const HUTDirtyNotifier&) = delete;

private:
    std::vector<HUTDirtyObserver*> m_observers;
};
