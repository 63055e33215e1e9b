// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "runs/base/xpreport/documentRules.h"

/// Elements and attributes of the report catalogue; docs/formats/report-catalogue.md
/// describes them.
namespace xpreport::catalogue {

constexpr char kReports[] = "Reports";
constexpr char kReportSpec[] = "ReportSpec";
constexpr char kOptions[] = "Options";
constexpr char kOption[] = "Option";
constexpr char kOutputOptions[] = "OutputOptions";
constexpr char kOutputOption[] = "OutputOption";

/// Of a report.
constexpr char kName[] = "name";
constexpr char kDisplayName[] = "displayName";
constexpr char kShortDescription[] = "short_description";
constexpr char kVersion[] = "Version";
constexpr char kMinor[] = "Minor";

/// Of an option, beside its name.
constexpr char kType[] = "type";
constexpr char kDefault[] = "def_value";
constexpr char kDescription[] = "description";

/// The rules of the whole document, from its root.
const ElementRule& rules();

}  // namespace xpreport::catalogue
