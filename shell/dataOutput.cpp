// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/dataOutput.h"

#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace shell {

namespace {

void flush() {
    std::cout.flush();
    std::fflush(stdout);
}

}  // namespace

DataOutput::DataOutput(bool isNeeded) {
    if (!isNeeded)
        return;
    flush();
    // No program that is started meanwhile inherits it.
    m_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_output >= 0)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

DataOutput::~DataOutput() {
    if (m_output < 0)
        return;
    flush();
    dup2(m_output, STDOUT_FILENO);
    close(m_output);
}

}  // namespace shell
