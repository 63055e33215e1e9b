// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "environment/files/diskOps.h"
#include "workbench/WorkbenchExport.h"

namespace workbench {

/// A disk that moves aside what is removed from one folder, in use while the object lives.
///
/// So whatever clears a run directory, and in whatever order, clears it into another folder of
/// the same file system, by renames in the place of removals; unless the rules say otherwise, what
/// has the same path there already gives way, and what can't be moved is removed all the same.
/// Links are moved as links. All else goes to the disk that was in use before.
class WORKBENCH_API MovingDisk final : public files::Disk {
public:
    struct Rules {
        /// What can't be moved isn't removed either: the removal fails.
        bool mustMove = false;
        /// What has the same path there already stays, and what was to be moved is removed.
        bool olderStays = false;
    };

    /// `from` is an existing folder, `to` is made when something is moved.
    MovingDisk(const std::string& from, const std::string& to, Rules rules = {false, false});
    ~MovingDisk() override;

    MovingDisk(const MovingDisk&) = delete;
    MovingDisk& operator=(const MovingDisk&) = delete;

    std::size_t movedCount() const { return m_moved; }
    /// The sizes of the files that were moved.
    std::uint64_t movedBytes() const { return m_bytes; }
    /// Why something was removed and not moved, the first cause; empty when all was moved.
    const std::string& failure() const { return m_failure; }

    /// Keeps a second name of the file `name` of the folder aside, so that what replaces it, or
    /// is moved, doesn't lose it. Nothing happens when there is no such file.
    void keep(const std::string& name);

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
    bool isBelow_(int folder, const char* name, std::string& relative) const;
    bool makeFoldersFor_(const std::string& relative) const;

    files::Disk& m_real;
    std::string m_from;
    /// The same without a link in it, as the system tells the paths of open folders.
    std::string m_resolved;
    std::string m_to;
    Rules m_rules;
    std::size_t m_moved = 0;
    std::uint64_t m_bytes = 0;
    std::string m_failure;
};

}  // namespace workbench
