// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "environment/EnvironmentExport.h"

/// Starts a program as a process of its own.
///
/// A command is a list of words; no shell looks at it. The new process reads
/// from /dev/null, has the default signal handling, and inherits no descriptor
/// but output and errors. One object starts one process at a time; objects on
/// different threads don't disturb each other.
///
/// A process that isn't waited for goes on when the object is deleted. Its
/// remains are collected later, by its own pid: children of the embedding
/// program are never touched.
class ENVIRONMENT_API HUTFork {
public:
    HUTFork();
    ~HUTFork();

    HUTFork(const HUTFork&) = delete;
    HUTFork& operator=(const HUTFork&) = delete;

    /// Sets the command and drops what was set or added before. With `split`
    /// the line is taken apart at white space, where single and double quotes
    /// group and a backslash takes the next character as it is (inside single
    /// quotes it is a plain character); a quote left open ends with the line.
    /// Without it the whole line is one word, the program.
    void setCmdLine(const std::string& line, bool split);

    /// Adds one word, as it is.
    void addArg(const std::string& text);

    /// The command for a person to read: its words with a blank between them,
    /// quoted where a shell would need it.
    void getCmdLineAsStr(std::string& line) const;

    /// The folder that the process starts in; the current one when empty.
    void setWorkingDir(const std::string& path);

    /// The file that output and errors go to; it is made when it isn't there,
    /// and emptied first unless `append`. Empty: none. Wins over `quiet`.
    void setOutputFile(const std::string& path, bool append);

    /// A variable of the process's environment, in addition to the inherited
    /// ones or in the place of one.
    void setEnvVar(const std::string& name, const std::string& value);

    /// Starts the process.
    ///
    /// `wait`: waits until it has ended; the result is its exit status, or
    ///     128 + n when signal n ended it, and -1 when it did not start.
    ///     Otherwise the result is its pid, above 0, and -1 when it did not
    ///     start, also when the program can't be executed.
    /// `detach`: in a session and a process group of its own, so that it can
    ///     be killed as a whole and outlives the terminal. Otherwise in the
    ///     caller's group.
    /// `usePath`: a program without a separator is looked up by findInPath().
    ///     Otherwise it is a path, relative to the working folder.
    /// `quiet`: output and errors are dropped. Otherwise they are the caller's.
    int launch(bool wait, bool detach, bool usePath, bool quiet);

    /// Why the last launch() gave -1, in the system's words with the program's
    /// name in front; empty when it didn't.
    const std::string& getError() const { return m_error; }

    /// Whether the process that launch() started without waiting has ended.
    /// Then `status` is what a waiting launch() would have given, -1 when the
    /// host doesn't tell, and from now on its pid may belong to another
    /// process. Never waits.
    bool hasEnded(int& status);

    /// findInPath() without the result.
    static bool isInPath(const std::string& name);

    /// Looks `name` up in the folders of the variable PATH, where an empty one
    /// means the current folder; a name with a separator is looked at as it
    /// stands. True with `fullPath` the program; else `fullPath` stays as it was.
    static bool findInPath(const std::string& name, std::string& fullPath);

    /// Whether `path` is a file that this process may execute.
    static bool progExists(const std::string& path);

private:
    bool resolve_(bool usePath, std::string& program);
    int fail_(const std::string& program, int errorNumber);
    int await_(long pid);

    std::vector<std::string> m_words;
    std::vector<std::pair<std::string, std::string>> m_variables;
    std::string m_workingDir;
    std::string m_outputFile;
    std::string m_error;
    bool m_append = false;
    long m_pid = 0;
    bool m_ended = false;
    int m_status = 0;
};
