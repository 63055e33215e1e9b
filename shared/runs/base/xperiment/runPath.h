// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include <boost/container/small_vector.hpp>

namespace xperiment {

/// The files of one run directory, asked for one after the other. Takes no memory while
/// paths stay below half a thousand characters.
class RunPath {
public:
    /// Of an empty directory every name names nothing. It must outlive the path.
    explicit RunPath(const std::string& runDir);
    ~RunPath();

    RunPath(const RunPath&) = delete;
    RunPath& operator=(const RunPath&) = delete;

    /// Holds the directory open from now on: a name is then looked up in it alone, not from
    /// the root, which pays from the fourth name on. Without effect when that fails.
    void open();

    const std::string& runDir() const { return m_runDir; }

    /// Whether the file whose name these parts make is there, as HUTFile::getFileStamp().
    bool look(std::initializer_list<std::string_view> name, long& seconds, long& size);
    /// The whole path of that file.
    std::string to(std::initializer_list<std::string_view> name) const;
    /// HUTFile::rm() of that file.
    bool remove(std::initializer_list<std::string_view> name);

private:
    const char* set_(std::initializer_list<std::string_view> name);
    void append_(std::string_view text) { m_path.insert(m_path.end(), text.begin(), text.end()); }

    const std::string& m_runDir;
    /// The directory that names are looked up in, and what stands before them.
    int m_folder;
    std::size_t m_prefix = 0;
    boost::container::small_vector<char, 512> m_path;
};

}  // namespace xperiment
