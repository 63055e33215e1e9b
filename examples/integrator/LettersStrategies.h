// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xperiment/HAXPStratDB.h"

/// The owner of strategies: hears of each change, once it is made.
class LettersStrategies final : public HAXPStratDB {
public:
    LettersStrategies() = default;

    int changes() const { return m_changes; }

protected:
    /// What it throws reaches whoever made the change, and the change stays.
    void strategyModifiedCallback_(HAXPStrategy*) override { ++m_changes; }

private:
    int m_changes = 0;
};
