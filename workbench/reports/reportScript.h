// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace reports {

/// The bytes of the largest script that is read.
inline constexpr std::size_t kLargestScript = std::size_t{16} << 20;

/// Runs the report script of a run in the current folder.
///
/// The script is Tcl in a safe interpreter: it can't start programs, open files
/// or sockets, or leave the folder. To Tcl's own safe commands come `open_step`,
/// `make_report`, `set_param`, `get_param`, `puts` to standard output and error,
/// `source` of files of the folder, and every report command. One object runs one script.
class ReportScript {
public:
    ReportScript();
    ~ReportScript();

    ReportScript(const ReportScript&) = delete;
    ReportScript& operator=(const ReportScript&) = delete;

    /// Sets `argv0`, `argv` and `argc` as a Tcl shell does.
    void setArguments(const std::string& program, const std::vector<std::string>& arguments);

    /// Runs the Tcl `text`, to be called `name` in messages. Whether it ran to
    /// its end; else `error` gets one message with the line.
    bool run(const std::string& text, const std::string& name, std::string& error);

    /// The result of the last script that ran to its end.
    std::string result() const;

    /// How many reports of make_report failed.
    int failedReports() const;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// The fail marker of a report in the current folder: ".NAME.fail".
std::string failMarker(const std::string& report);

}  // namespace reports
