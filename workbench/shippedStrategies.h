// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPFlow;
class HAXPStrategy;

/// The strategies that come with the workbench.
namespace workbench {

/// Their names for `flow`, the default first.
WORKBENCH_API std::vector<std::string> shippedStrategyNames(const HAXPFlow& flow);

/// The shipped strategy `name` of `flow`, not user-defined; the caller owns it. Null when
/// there is none of that name.
WORKBENCH_API std::unique_ptr<HAXPStrategy> makeShippedStrategy(const HAXPFlow& flow,
                                                                const std::string& name);

}  // namespace workbench
