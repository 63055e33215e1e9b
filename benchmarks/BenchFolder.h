// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace bench {

/// A private folder that goes with the object, under XPERIMENT_BENCH_DIR if that is set, so
/// that a file system can be chosen.
class BenchFolder {
public:
    BenchFolder();
    ~BenchFolder();

    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    const std::string& path() const { return m_path; }

    /// Makes the folder `name` in it and returns its path.
    std::string folder(const std::string& name) const;

private:
    std::string m_path;
};

/// Writes a file in the plainest way: open, write, close.
void writePlainly(const std::string& path, const std::string& content, int mode);

/// The whole content of a file.
std::string readWhole(const std::string& path);

}  // namespace bench
