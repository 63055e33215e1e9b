// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/RunPlace.h"

#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/places/ClusterPlace.h"
#include "workbench/places/HerePlace.h"
#include "workbench/places/HostPlace.h"
#include "workbench/places/knownWays.h"

namespace workbench {

namespace {

/// A place that this user never launched at: nothing that its lease names is called.
class StrangePlace final : public RunPlace {
public:
    void start(HAXPExpRun& run, const LaunchLease& lease) const override { refuse_(run, lease); }

    Evidence look(HAXPExpRun& /*run*/, const LaunchLease& lease) const override {
        Evidence evidence;
        evidence.lines.push_back("it was launched " + leaseText(lease) +
                                 " by a way that you never launched by, which isn't asked");
        return evidence;
    }

    StopResult stop(HAXPExpRun& run, const LaunchLease& lease) const override {
        StopResult result;
        const int code = run.getStatus()->getCode();
        result.wasIdle = code != HDGUIStatus::statusQueued && code != HDGUIStatus::statusRunning;
        if (!result.wasIdle)
            refuse_(run, lease);
        return result;
    }

private:
    [[noreturn]] static void refuse_(const HAXPExpRun& run, const LaunchLease& lease) {
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-136@%s%s%s",
                                                 run.getName(), leaseText(lease),
                                                 lease.way.command));
    }
};

}  // namespace

RunPlace::RunPlace() = default;
RunPlace::~RunPlace() = default;

std::unique_ptr<RunPlace> RunPlace::of(const LaunchLease& lease) {
    if (!isKnownWay(lease))
        return std::make_unique<StrangePlace>();
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
