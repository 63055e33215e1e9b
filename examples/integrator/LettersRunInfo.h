// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPExpInfoBase.h"

/// What a run remembers: the text that it sorts, and the text's size at the launch.
class LettersRunInfo final : public HAXPExpInfoBase {
public:
    LettersRunInfo(HAXPExpRunBase* run, const std::string& name);

    const std::string& getText() const { return m_text; }
    void setText(const std::string& path) { m_text = path; }

    /// To be called when the run is launched: what holds then is what later is compared with.
    void recordLaunch();

    /// After a strategy was applied to a started run, and whenever the product asks.
    void updStaleReasons() override;
    /// By file events of the product; whether anything became stale.
    bool updStaleFileReasons(HADAFileSet* current, HADAFileSet* snapshot,
                             HADAStaleReason::StaleSummary summary) override;
    /// When the run was taken back to its first step and its directory emptied.
    void resetRun() override;

protected:
    /// For each event that was registered for. Must not delete this object.
    void handleEvent_(const HUTGuiEvent::GuiEventBase* event) override;

private:
    std::string m_text;
    long m_launchedSize = -1;
};
