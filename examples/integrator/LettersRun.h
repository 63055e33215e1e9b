// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPExpRunBase.h"

class HAXPStratDB;
class LettersRunInfo;

/// A run that sorts one text.
class LettersRun final : public HAXPExpRunBase {
public:
    /// `owner` hears of changes of the run's strategy; it outlives the run.
    LettersRun(const std::string& name, const HAXPStrategy* strategy, HAXPStratDB* owner);
    ~LettersRun() noexcept(false) override;

    LettersRunInfo& getInfo() const;
    /// Whether something changed that a project file would have to hold.
    bool isDirty() const { return m_isDirty; }

    /// Polls the steps and sets the run's status. Doesn't call updateRun().
    void updateStatus() override;
    /// A status that no marker tells, such as that of a job in a queue.
    void setRunStatus(HAXPExpRunStep* step, int status) override;
    /// Where a launch ends when nobody said.
    HAXPExpRunStep* getDefaultLastStep() const override;

protected:
    void initRun_(const std::string& name, const HAXPStrategy* strategy,
                  const HAXRReportStrategy* reportStrategy) override;
    /// Called for each change that must reach a file: notes it, and writes nothing.
    void setDirtyCallback_() override;
    /// Called when an option of the run's strategy or of one of its reports changed.
    void optionsChangedCallback_(HATOptGroup* group) override;

private:
    bool m_isDirty = false;
};
