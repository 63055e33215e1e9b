// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// Elements and attributes of a strategy file, for reader and writer. The inner
/// form of a "Step" is that of every option group; HXMLWriterBase shows it.
namespace xpstratxio {

/// Of the format, whatever the version of the tool.
constexpr int kFormatMajor = 1;
constexpr int kFormatMinor = 2;

constexpr char kStrategyElem[] = "Strategy";
constexpr char kVersionAttr[] = "Version";

constexpr char kToolElem[] = "Tool";
constexpr char kMajorAttr[] = "Major";
/// Of the root as of "Tool".
constexpr char kMinorAttr[] = "Minor";

constexpr char kStratHandleElem[] = "StratHandle";
constexpr char kNameAttr[] = "Name";
constexpr char kFlowAttr[] = "Flow";

constexpr char kDescElem[] = "Desc";

constexpr char kStepElem[] = "Step";
constexpr char kIdAttr[] = "Id";

}  // namespace xpstratxio
