// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "environment/EnvironmentExport.h"

class HATOptGroup;

/// Mix-in of an object that hears when the values of option groups change.
///
/// HATOptGroup::attach() makes it hear of a group. Either side may go first:
/// the destructors detach. A copy of an observer is attached to nothing.
class ENVIRONMENT_API HATOptGroupObserver {
public:
    virtual ~HATOptGroupObserver() noexcept(false);

    /// Says that a value of `group` changed: calls the hook.
    void optionsChangedCallback(HATOptGroup* group);

protected:
    HATOptGroupObserver();
    HATOptGroupObserver(const HATOptGroupObserver&);
    HATOptGroupObserver& operator=(const HATOptGroupObserver&);

    /// Hook of optionsChangedCallback(): once for each change of `group`, after
    /// the value is stored. Does nothing here. An override may read, set, attach
    /// and detach, and may throw: the others are told all the same. It doesn't
    /// delete the group.
    virtual void optionsChangedCallback_(HATOptGroup* group);

private:
    friend class HATOptGroup;

    /// The groups that it is attached to; not owned.
    std::vector<HATOptGroup*> m_groups;
};
