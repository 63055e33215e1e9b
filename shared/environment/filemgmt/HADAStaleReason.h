// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HADAStaleOption.h"

/// One reason why a result no longer matches what it was made from, with all
/// that is known of it: the changed files, or the options with both values.
///
/// A value that keeps texts of its own: file sets and sources may go.
class ENVIRONMENT_API HADAStaleReason {
public:
    /// What changed.
    enum StaleSummary : int {
        SS_NONE = 0,
        SS_DESIGN_SRCS_CHANGED = 1,
        SS_CONSTRS_CHANGED = 2,
        SS_SIM_SRCS_CHANGED = 3,
        SS_OPTION_CHANGED = 9,
        SS_SW_PARAM_CHANGED = 10,
        SS_UTILS_CHANGED = 13
    };

    /// The kind of run that is stale.
    enum RunType : int { RT_SYNTH = 0, RT_IMPL = 1 };

    /// A changed file, as it stood when the change was told.
    struct ChangedFile {
        std::string name;     ///< the path
        std::string fileSet;  ///< the name of its set
        HADAFileSetChangeSummary::enumFSCSFileCollection change;
        std::time_t modTime;  ///< seconds since the epoch; 0 when unknown
    };

    /// A reason that begins at `since`, seconds since the epoch.
    HADAStaleReason(StaleSummary summary, std::time_t since);

    StaleSummary getSummary() const { return m_summary; }

    RunType getRunType() const { return m_runType; }
    void setRunType(RunType type) { m_runType = type; }

    /// When the reason was first found, in seconds since the epoch.
    std::time_t getSince() const { return m_since; }
    void setSince(std::time_t since) { m_since = since; }

    /// The changed files in the order in which they were told.
    const std::vector<ChangedFile>& getFiles() const { return m_files; }

    /// The changed options in the order in which they were told.
    const std::vector<HADAStaleOption>& getOptions() const { return m_options; }

    /// Adds a file; one that is listed with this change already is brought up
    /// to date.
    void addOrUpdateFile(const ChangedFile& file);

    /// The same for many files at once, none of which is there twice. Takes
    /// time in proportion to their number.
    void addOrUpdateFiles(std::vector<ChangedFile> files);

    /// Adds an option; one of the same group and name takes the new values.
    void addOrUpdateOption(const HADAStaleOption& option);

    /// One sentence, without what follows in the lines of getText().
    std::string getHeadline() const;

    /// What changed, from what to what, and since when: the headline, then a
    /// line for each file and option, each behind a line feed and two blanks.
    std::string getText() const;

    /// The sentence for `summary`; for a number without a name, one that gives
    /// the number.
    static std::string getSummaryText(StaleSummary summary);

private:
    StaleSummary m_summary;
    RunType m_runType = RT_SYNTH;
    std::time_t m_since;
    std::vector<ChangedFile> m_files;
    std::vector<HADAStaleOption> m_options;
};
