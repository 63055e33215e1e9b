// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

/// Mix-in of an object whose changes must reach a file.
class ENVIRONMENT_API HUTDirtyObserver {
public:
    virtual ~HUTDirtyObserver() noexcept(false);

    /// Says that the object changed. Calls the hook every time, also when the
    /// object was dirty already.
    void setDirty();

protected:
    HUTDirtyObserver() = default;
    HUTDirtyObserver(const HUTDirtyObserver&) = default;
    HUTDirtyObserver& operator=(const HUTDirtyObserver&) = default;

    /// Hook of setDirty(): once for each call, on the caller's thread, no lock
    /// held by this class. Does nothing here. An override notes the change; it
    /// doesn't call setDirty() again.
    virtual void setDirtyCallback_();

    /// Hook for owners that also tell a user interface. Calls setDirtyCallback_()
    /// and no more; an override fires its event when `fireEvent` is true.
    virtual void setDirtyCallbackAndFireEvent_(bool fireEvent);
};
