// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace workbench {

RunLife probeRunLock(const std::string& runDir) {
    const std::string path = runDir + "/" + kRunLockName;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0)
        return RunLife::kUnknown;
    const bool taken = flock(fd, LOCK_SH | LOCK_NB) == 0;
    const int error = errno;
    close(fd);
    if (taken)
        return RunLife::kGone;
    return error == EWOULDBLOCK ? RunLife::kAlive : RunLife::kUnknown;
}

}  // namespace workbench
