// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// The lease of a launch: what isn't one leaves no trace, and one that was read is written
// and read again as it was.
#include "workbench/launchLease.h"

#include <string>

#include "environment/errors/HXMLException.h"
#include "fuzz/fuzzSupport.h"

namespace {

using workbench::LaunchLease;

bool same(const LaunchLease& a, const LaunchLease& b) {
    return a.id == b.id && a.time == b.time && a.isWaiting == b.isWaiting &&
           a.keptSteps == b.keptSteps && a.launcher.getPid() == b.launcher.getPid() &&
           a.launcher.getStartTicks() == b.launcher.getStartTicks() && a.way.kind == b.way.kind &&
           a.way.jobName == b.way.jobName;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = fuzz::scratch().write("lease", data, size);
    LaunchLease lease;
    lease.id = "before";
    if (!workbench::readLease(path, lease)) {
        fuzz::require(lease.id == "before", "what is no lease changes none");
        return 0;
    }
    fuzz::require(!lease.id.empty(), "a lease has an identity");
    workbench::leaseText(lease);
    workbench::lookAtLauncher(lease);
    LaunchLease again;
    try {
        workbench::writeLease(fuzz::scratch().path("again"), lease);
    } catch (const HXMLException&) {
        return 0;
    }
    fuzz::require(workbench::readLease(fuzz::scratch().path("again"), again) && same(lease, again),
                  "a lease is read as it was written");
    return 0;
}
