// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/installation/environmentVariables.h"

#include <atomic>
#include <cstdlib>

namespace {

class ProcessVariables : public environmentVariables {
public:
    const char* find(const char* name) const override { return std::getenv(name); }
};

std::atomic<const environmentVariables*> theStandIn{nullptr};

}  // namespace

environmentVariables::~environmentVariables() = default;

const environmentVariables& environmentVariables::current() {
    static const ProcessVariables kProcess;
    const environmentVariables* standIn = theStandIn.load();
    return standIn == nullptr ? kProcess : *standIn;
}

const environmentVariables* environmentVariables::replace(const environmentVariables* variables) {
    return theStandIn.exchange(variables);
}
