// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestInstallation.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

class HAXPFlow;

namespace test::reports {

/// Deletes a strategy with its reports.
struct DeleteStrategy {
    void operator()(HAXRReportStrategy* strategy) const;
};
using OwnedStrategy = std::unique_ptr<HAXRReportStrategy, DeleteStrategy>;

/// Report strategy files of a flow "report_flow" with the steps "synth", "place" and
/// "extra", over a catalogue with
///
/// - "report_io" 1.0: switches "on" (true) and "off" (false), a number "count" (3),
///   texts "pins" ("abc") and "MORE_OPTIONS"; an output option "file" ("io.rpt");
/// - "report_io" 1.2: a text "pins" ("xyz");
/// - "report_drc" 2.0, without options; "report_wide" 200.0.
///
/// The tool's version is 2026.1. Messages are recorded.
class StrategyFileTest : public ::testing::Test {
protected:
    StrategyFileTest();

    std::string path() const { return m_dir.path("strategy.xml"); }
    /// A strategy "Mine" of the flow, without reports.
    OwnedStrategy makeStrategy() const;

    HAXPFlow* m_flow;
    TestInstallation m_installation;
    RunDir m_dir;
    MessageRecorder m_messages;
};

}  // namespace test::reports
