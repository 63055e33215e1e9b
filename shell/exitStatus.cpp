// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/exitStatus.h"

namespace shell {

CommandError::CommandError(ExitStatus status, const std::string& text)
    : std::runtime_error(text), m_status(status) {}

CommandError::~CommandError() = default;

}  // namespace shell
