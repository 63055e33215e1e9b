// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/catalogueFormat.h"

namespace xpreport::catalogue {

const ElementRule& rules() {
    static const ElementRule option = {kOption,
                                       {{kName, ValueKind::kText, true},
                                        {kType, ValueKind::kText, true},
                                        {kDefault, ValueKind::kText, false},
                                        {kDescription, ValueKind::kText, false}},
                                       {},
                                       false};
    static const ElementRule outputOption = {kOutputOption,
                                             {{kName, ValueKind::kText, true},
                                              {kType, ValueKind::kText, true},
                                              {kDefault, ValueKind::kText, true},
                                              {kDescription, ValueKind::kText, false}},
                                             {},
                                             false};
    static const ElementRule options = {kOptions, {}, {{&option, 0, kAnyNumber}}, false};
    static const ElementRule outputOptions = {
        kOutputOptions, {}, {{&outputOption, 0, kAnyNumber}}, false};
    static const ElementRule reportSpec = {kReportSpec,
                                           {{kName, ValueKind::kText, true},
                                            {kDisplayName, ValueKind::kText, false},
                                            {kShortDescription, ValueKind::kText, true},
                                            {kVersion, ValueKind::kUnsignedInt, true},
                                            {kMinor, ValueKind::kUnsignedInt, true}},
                                           {{&options, 0, 1}, {&outputOptions, 0, 1}},
                                           false};
    static const ElementRule reports = {kReports, {}, {{&reportSpec, 0, kAnyNumber}}, false};
    return reports;
}

}  // namespace xpreport::catalogue
