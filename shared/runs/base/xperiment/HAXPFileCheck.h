// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"
#include "environment/threads/HCTMutex.h"
#include "environment/threads/threadAnnotations.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPExpInfoBase;
class HAXPFileSpec;

/// Finds the file of a spec in a run directory and remembers its path.
///
/// Neither the spec nor the information object is owned; both outlive it. Its lock
/// is never held while the disk is asked, so that a slow one holds up no reader.
class RUNS_API HAXPFileCheck {
public:
    /// `info` names the files of each kind.
    HAXPFileCheck(const HAXPFileSpec* spec, HAXPExpInfoBase* info);
    ~HAXPFileCheck();

    HAXPFileCheck(const HAXPFileCheck&) = delete;
    HAXPFileCheck& operator=(const HAXPFileCheck&) = delete;

    const HAXPFileSpec* getFileSpec() const { return m_spec; }

    /// Those of the spec.
    int getId() const;
    const std::string& getName() const;
    const std::string& getDescription() const;

    /// Whether the last update found the file.
    bool isAvailable() const XP_EXCLUDES(m_mutex);

    /// Makes `path` the file's full path, empty if it isn't available.
    void getFullPath(std::string& path) const XP_EXCLUDES(m_mutex);

    /// Looks in `runDir` for the kinds of the spec, in their order; the first that
    /// exists counts. Without any the file becomes unavailable.
    void updateFile(const std::string& runDir) XP_EXCLUDES(m_mutex);

    /// Makes the file unavailable, its path empty. Touches no file.
    void resetFile() XP_EXCLUDES(m_mutex);

private:
    bool findFile_(const std::string& runDir, std::string& path) const;
    bool findNamed_(const std::string& runDir, const std::string& name, std::string& path) const;

    HSTVector<std::string> m_messages;
    HAXPExpInfoBase* m_info;
    const HAXPFileSpec* m_spec;
    mutable HCTMutex m_mutex;
    std::string m_fullPath XP_GUARDED_BY(m_mutex);
    bool m_available XP_GUARDED_BY(m_mutex) = false;
};
