// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/threads/HCTMutex.h"
#include "environment/threads/threadAnnotations.h"
#include "runs/base/xperiment/RunsExport.h"

/// The status of a run or of a step: a code, and what a user interface shows.
///
/// Decisions read the code alone. One thread may set it while others read it; the
/// rest belongs to one thread at a time.
class RUNS_API HDGUIStatus {
public:
    /// The codes of runs and steps. 4 isn't used.
    enum Code {
        statusNotStarted = 0,
        statusQueued = 1,
        statusRunning = 2,
        statusDone = 3,
        statusError = 5,
    };

    /// Not started, without texts.
    HDGUIStatus();

    /// Not started, with the two display texts.
    HDGUIStatus(const std::string& text, const std::string& detailText);
    ~HDGUIStatus();

    HDGUIStatus(const HDGUIStatus&) = delete;
    HDGUIStatus& operator=(const HDGUIStatus&) = delete;

    /// The text in a list of runs.
    const std::string& getText() const { return m_text; }
    void setText(const std::string& text) { m_text = text; }

    /// The longer text, where there is room for one.
    const std::string& getDetailText() const { return m_detailText; }
    void setDetailText(const std::string& text) { m_detailText = text; }

    /// How much of the work is done, and how much there is, in steps; both 0 when
    /// nobody counts.
    int getDoneCount() const { return m_doneCount; }
    void setDoneCount(int count) { m_doneCount = count; }
    int getTotalCount() const { return m_totalCount; }
    void setTotalCount(int count) { m_totalCount = count; }

    /// One of Code, unless a concrete class has codes of its own.
    /// Both take the mutex. @throws HCTThreadException it can't be taken.
    int getCode() const XP_EXCLUDES(m_mutex);
    void setCode(int code) XP_EXCLUDES(m_mutex);

    /// Whether user interfaces show it.
    bool isVisible() const { return m_visible; }
    void setVisible(bool visible) { m_visible = visible; }

private:
    std::string m_text;
    std::string m_detailText;
    int m_doneCount = 0;
    int m_totalCount = 0;
    mutable HCTMutex m_mutex;
    int m_code XP_GUARDED_BY(m_mutex) = statusNotStarted;
    bool m_visible = true;
};
