// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "environment/EnvironmentExport.h"

/// What tells one content of a file from another. A value; a new one stands for
/// a file that isn't there.
class ENVIRONMENT_API HDDAContentStamp {
public:
    HDDAContentStamp() = default;
    HDDAContentStamp(std::time_t modTime, std::uint64_t size, std::uint64_t hash);

    /// Reads the whole file at `path`. A missing, unreadable or irregular file
    /// gives the stamp of a file that isn't there.
    static HDDAContentStamp read(const std::string& path);

    bool exists() const { return m_exists; }

    /// The modification time, in whole seconds since the epoch; 0 without file.
    std::time_t getModTime() const { return m_modTime; }
    void setModTime(std::time_t modTime) { m_modTime = modTime; }

    /// Bytes.
    std::uint64_t getSize() const { return m_size; }

    /// A 64-bit hash of the content, the same on every host.
    std::uint64_t getHash() const { return m_hash; }

    /// Whether both stand for the same content. The time doesn't count: a
    /// touched file is no other file.
    bool isSameContent(const HDDAContentStamp& other) const;

private:
    std::time_t m_modTime = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_hash = 0;
    bool m_exists = false;
};
