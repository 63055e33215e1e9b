// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/RunPlace.h"

#include "workbench/launchLease.h"
#include "workbench/places/ClusterPlace.h"
#include "workbench/places/HerePlace.h"
#include "workbench/places/HostPlace.h"

namespace workbench {

RunPlace::RunPlace() = default;
RunPlace::~RunPlace() = default;

std::unique_ptr<RunPlace> RunPlace::of(const LaunchLease& lease) {
    switch (lease.way.kind) {
    case LaunchWay::Kind::kHere:
        break;
    case LaunchWay::Kind::kHost:
        return std::make_unique<HostPlace>();
    case LaunchWay::Kind::kLsf:
    case LaunchWay::Kind::kSge:
        return std::make_unique<ClusterPlace>();
    }
    return std::make_unique<HerePlace>();
}

void RunPlace::complete(const HAXPExpRun& /*run*/, LaunchLease& /*lease*/) const {}

}  // namespace workbench
