// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

namespace ice40 {

/// Reads a regular file of at most `limit` bytes. On refusal `reason` gets the
/// system's own words and `text` stays as it was. Never waits on a pipe.
bool readText(const std::string& path, std::string& text, std::string& reason,
              std::size_t limit = std::size_t{512} << 20);

/// A fingerprint of a text, 16 hexadecimal digits. It tells a changed input
/// from an unchanged one; it doesn't protect against intent.
std::string fingerprint(const std::string& text);

/// A file that comes to its name only when it is whole.
///
/// A tool writes to partPath(), a hidden name in the same folder; commit()
/// gives it the final name. Whatever ends the step before that, the file that
/// stood under the final name is still the old one. The part of a step that
/// was killed is overwritten by the next try.
class OutputFile {
public:
    /// Names the output and makes its empty part.
    /// @throws StepFailure the folder can't be written.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const { return m_path; }
    const std::string& partPath() const { return m_part; }

    /// Whether the part holds anything.
    bool hasContent() const;

    /// Replaces the part's content.
    /// @throws StepFailure with the system's words, e.g. when the disk is full.
    void write(const std::string& text) const;

    /// Tools don't look at the result of their writes: on a full disk they leave
    /// a file that is cut short, and end well. Call it when one has ended.
    /// @throws StepFailure the part's disk has no room left.
    void requireSpace() const;

    /// Syncs the part and renames it. Does it once; later calls do nothing.
    /// @throws StepFailure the file is empty, may be cut short by a full disk, or
    ///         can't be renamed.
    /// @throws StepStopped a stop was asked for.
    void commit();

private:
    std::string m_path;
    std::string m_part;
    bool m_committed = false;
};

}  // namespace ice40
