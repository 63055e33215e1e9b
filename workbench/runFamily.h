// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace workbench {

/// Where a run that a sweep made belongs. A family is runs that differ in their seed alone;
/// a sweep is families. Both are called as a run may be, and are empty for other runs.
struct RunFamily {
    std::string sweep;
    std::string name;
};

}  // namespace workbench
