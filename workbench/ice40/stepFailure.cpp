// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/stepFailure.h"

#include <fmt/format.h>

namespace ice40 {

StepFailure::StepFailure(const std::string& cause, const std::string& advice, ExitStatus status)
    : std::runtime_error(advice.empty() ? cause : cause + ". " + advice + "."), m_status(status) {}

StepFailure::~StepFailure() = default;

StepStopped::StepStopped(int signal)
    : std::runtime_error(fmt::format("stopped by signal {}", signal)), m_signal(signal) {}

StepStopped::~StepStopped() = default;

}  // namespace ice40
