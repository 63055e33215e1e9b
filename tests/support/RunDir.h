// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace test {

/// A private folder that goes with the fixture, used as a run directory.
class RunDir {
public:
    RunDir();
    ~RunDir();

    RunDir(const RunDir&) = delete;
    RunDir& operator=(const RunDir&) = delete;

    /// Absolute, without a separator at its end.
    const std::string& path() const { return m_path; }

    /// The path of `name` in it.
    std::string path(const std::string& name) const { return m_path + "/" + name; }

    /// Makes the file `name` with `content`, empty as most markers are.
    void mark(const std::string& name, const std::string& content = "") const;

    /// Makes the folder `name`, with those above it.
    void folder(const std::string& name) const;

    /// Removes the file `name`.
    void unmark(const std::string& name) const;

    bool has(const std::string& name) const;

    /// The whole content of the file `name`; a missing file fails the test.
    std::string read(const std::string& name) const;

    /// Sets the modification time of `name`, in seconds since the epoch.
    void touch(const std::string& name, long seconds) const;

private:
    std::string m_path;
};

}  // namespace test
