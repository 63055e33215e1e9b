// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/strategyFormat.h"

namespace xpreport::strategy {

const ElementRule& rules() {
    static const ElementRule option = {kOption,
                                       {{kOptionName, ValueKind::kText, false},
                                        {kOptionType, ValueKind::kText, false},
                                        {kOptionValue, ValueKind::kText, false}},
                                       {},
                                       true};
    static const ElementRule spec = {kSpec,
                                     {{kName, ValueKind::kText, false},
                                      {kDisplayName, ValueKind::kText, false},
                                      {kVersion, ValueKind::kSignedByte, false},
                                      {kMinor, ValueKind::kSignedByte, false}},
                                     {{&option, 0, kAnyNumber}},
                                     false};
    static const ElementRule step = {
        kStep, {{kStepId, ValueKind::kText, false}}, {{&spec, 0, kAnyNumber}}, false};
    static const ElementRule desc = {kDesc, {}, {}, true};
    static const ElementRule handle = {
        kHandle,
        {{kName, ValueKind::kText, false}, {kFlow, ValueKind::kText, false}},
        {{&desc, 1, 1}},
        false};
    static const ElementRule strategy = {
        kReportStrategy, {}, {{&handle, 1, 1}, {&step, 0, kAnyNumber}}, false};
    static const ElementRule tool = {
        kTool,
        {{kToolMajor, ValueKind::kText, false}, {kMinor, ValueKind::kText, false}},
        {},
        false};
    static const ElementRule root = {
        kReportStrategies,
        {{kVersion, ValueKind::kSignedByte, false}, {kMinor, ValueKind::kSignedByte, false}},
        {{&tool, 0, 1}, {&strategy, 0, kAnyNumber}},
        false};
    return root;
}

}  // namespace xpreport::strategy
