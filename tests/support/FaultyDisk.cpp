// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/FaultyDisk.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <utility>

namespace test {

FaultyDisk::FaultyDisk() : m_real(files::disk()) {
    files::setDisk(this);
}

FaultyDisk::~FaultyDisk() {
    files::setDisk(nullptr);
}

void FaultyDisk::failOnce(int number, int error) {
    failFrom(number, error);
    m_last = number;
}

void FaultyDisk::failFrom(int number, int error) {
    m_calls.clear();
    m_failingName.clear();
    m_hasFailed = false;
    m_first = number;
    m_last = INT_MAX;
    m_error = error;
}

void FaultyDisk::failAll(const std::string& name, int error) {
    failOnce(0, error);
    m_failingName = name;
}

void FaultyDisk::killAt(int number) {
    m_calls.clear();
    m_kill = number;
}

void FaultyDisk::doAt(int number, std::function<void()> action) {
    m_calls.clear();
    m_actionAt = number;
    m_action = std::move(action);
}

bool FaultyDisk::fails_(const char* name) {
    m_calls.emplace_back(name);
    if (calls() == m_kill)
        ::raise(SIGKILL);
    if (calls() == m_actionAt)
        m_action();
    const bool fails =
        (m_first > 0 && calls() >= m_first && calls() <= m_last) || m_failingName == name;
    if (fails) {
        m_hasFailed = true;
        errno = m_error;
    }
    return fails;
}

int FaultyDisk::openAt(int folder, const char* path, int flags, mode_t mode) {
    return fails_("openAt") ? -1 : m_real.openAt(folder, path, flags, mode);
}

ssize_t FaultyDisk::read(int fd, void* buffer, std::size_t size) {
    return fails_("read") ? -1
                          : m_real.read(fd, buffer, m_most > 0 ? std::min(size, m_most) : size);
}

ssize_t FaultyDisk::write(int fd, const void* data, std::size_t size) {
    if (m_loses && m_real.write(fd, data, size - 1) >= 0)
        return static_cast<ssize_t>(size);
    return fails_("write") ? -1
                           : m_real.write(fd, data, m_most > 0 ? std::min(size, m_most) : size);
}

int FaultyDisk::truncate(int fd, off_t size) {
    return fails_("truncate") ? -1 : m_real.truncate(fd, size);
}

int FaultyDisk::setMode(int fd, mode_t mode) {
    return fails_("setMode") ? -1 : m_real.setMode(fd, mode);
}

int FaultyDisk::setOwner(int fd, uid_t user, gid_t group) {
    return fails_("setOwner") ? -1 : m_real.setOwner(fd, user, group);
}

int FaultyDisk::sync(int fd) {
    return fails_("sync") ? -1 : m_real.sync(fd);
}

int FaultyDisk::close(int fd) {
    const bool fails = fails_("close");
    const int closed = m_real.close(fd);
    if (fails)
        errno = m_error;
    return fails ? -1 : closed;
}

int FaultyDisk::rename(const char* from, const char* to) {
    return fails_("rename") ? -1 : m_real.rename(from, to);
}

int FaultyDisk::renameToNew(const char* from, const char* to) {
    return fails_("renameToNew") ? -1 : m_real.renameToNew(from, to);
}

int FaultyDisk::link(const char* from, const char* to) {
    return fails_("link") ? -1 : m_real.link(from, to);
}

int FaultyDisk::unlinkAt(int folder, const char* name, int flags) {
    const std::string path = name;
    m_removals.push_back(path.substr(path.rfind('/') + 1));
    return fails_("unlinkAt") ? -1 : m_real.unlinkAt(folder, name, flags);
}

}  // namespace test
