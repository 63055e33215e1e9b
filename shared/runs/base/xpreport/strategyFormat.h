// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xpreport/documentRules.h"

/// Elements and attributes of report strategy files;
/// docs/formats/report-strategy.md describes them.
namespace xpreport::strategy {

constexpr char kReportStrategies[] = "ReportStrategies";
constexpr char kTool[] = "Tool";
constexpr char kReportStrategy[] = "ReportStrategy";
constexpr char kHandle[] = "ReportStratHandle";
constexpr char kDesc[] = "Desc";
constexpr char kStep[] = "Step";
constexpr char kSpec[] = "Spec";
constexpr char kOption[] = "Option";

/// Of the format, and of a report.
constexpr char kVersion[] = "Version";
constexpr char kMinor[] = "Minor";

/// Of the tool, beside its minor version.
constexpr char kToolMajor[] = "Major";

/// Of the strategy.
constexpr char kName[] = "Name";
constexpr char kFlow[] = "Flow";

constexpr char kStepId[] = "Id";

/// Of a report, beside name and version.
constexpr char kDisplayName[] = "DisplayName";

/// Of an option.
constexpr char kOptionName[] = "name";
constexpr char kOptionType[] = "type";
constexpr char kOptionValue[] = "def_value";

/// The version of the format that is written.
constexpr int kFormatVersion = 1;
constexpr int kFormatMinor = 0;

/// The rules of the whole document, from its root.
const ElementRule& rules();

}  // namespace xpreport::strategy
