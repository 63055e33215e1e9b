// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/WorkbenchExport.h"

/// By which ways this user launches.
///
/// A lease lies in a project, and a project may come from anywhere: its lease may name any
/// host and any command. Only what this user launched by is called again, so that a look at
/// a stranger's project starts nothing.
namespace workbench {

struct LaunchLease;
struct LaunchWay;

/// Keeps `way` in the user's folder, for later processes and for hosts that share it. Does
/// without when that can't be written.
WORKBENCH_API void rememberWay(const LaunchWay& way);

/// Whether this user launched by the way of `lease`: on this host since it was started, or
/// as rememberWay() keeps it. A launch here needs no command and is always known.
WORKBENCH_API bool isKnownWay(const LaunchLease& lease);

}  // namespace workbench
