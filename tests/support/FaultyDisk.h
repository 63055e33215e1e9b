// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "environment/files/diskOps.h"

namespace test {

/// A disk that fails on demand, in use while the object lives.
///
/// Its calls are counted from 1. Whatever it doesn't fail goes to the real
/// disk. A close that fails has closed all the same, as on a real host.
class FaultyDisk final : public files::Disk {
public:
    FaultyDisk();
    ~FaultyDisk() override;

    FaultyDisk(const FaultyDisk&) = delete;
    FaultyDisk& operator=(const FaultyDisk&) = delete;

    /// Starts counting anew; from now on the call `number` fails with `error`.
    void failOnce(int number, int error);
    /// The same for that call and all after it: a disk that went away.
    void failFrom(int number, int error);
    /// Writes and reads at most `bytes` at a time; 0 for as many as asked.
    void shorten(std::size_t bytes) { m_most = bytes; }
    /// Every call named `name` fails with `error`, such as ("sync", EIO).
    void failAll(const std::string& name, int error);

    /// Starts counting anew; the call `number` kills the process before it does
    /// anything. For a process that a test forked.
    void killAt(int number);

    /// Starts counting anew; the call `number` does `action` first, once: what others do
    /// to the disk meanwhile.
    void doAt(int number, std::function<void()> action);

    /// From now on writes say yes and lose one byte.
    void loseBytes() { m_loses = true; }

    int calls() const { return static_cast<int>(m_calls.size()); }
    bool hasFailed() const { return m_hasFailed; }
    /// The names of the calls so far, in their order.
    const std::vector<std::string>& names() const { return m_calls; }
    /// What was to be removed so far, without the folders above it, in this order.
    const std::vector<std::string>& removals() const { return m_removals; }

    int openAt(int folder, const char* path, int flags, mode_t mode) override;
    ssize_t read(int fd, void* buffer, std::size_t size) override;
    ssize_t write(int fd, const void* data, std::size_t size) override;
    int truncate(int fd, off_t size) override;
    int setMode(int fd, mode_t mode) override;
    int setOwner(int fd, uid_t user, gid_t group) override;
    int sync(int fd) override;
    int close(int fd) override;
    int rename(const char* from, const char* to) override;
    int renameToNew(const char* from, const char* to) override;
    int link(const char* from, const char* to) override;
    int unlinkAt(int folder, const char* name, int flags) override;

private:
    bool fails_(const char* name);

    files::Disk& m_real;
    std::vector<std::string> m_calls;
    std::vector<std::string> m_removals;
    std::string m_failingName;
    int m_first = 0;
    int m_last = 0;
    int m_error = 0;
    int m_kill = 0;
    int m_actionAt = 0;
    std::function<void()> m_action;
    std::size_t m_most = 0;
    bool m_hasFailed = false;
    bool m_loses = false;
};

}  // namespace test
