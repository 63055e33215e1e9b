// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTSList.h"
#include "runs/base/xperiment/RunsExport.h"

/// The settings of one launch: where, up to which step, how many jobs at once,
/// on which hosts or cluster, and which script of the user stands in for the
/// generated one of a run.
///
/// The caller of a launch fills it in, the launch layer reads it; the library
/// itself starts nothing by it. Names that end in SH belong to launches on this
/// host, those in MH to launches on several. A value class: copies share nothing,
/// and one object belongs to one thread at a time.
class RUNS_API HAXPLaunchOptions {
public:
    /// How runs are launched. The library keeps the number and tests none; a launch
    /// layer may have numbers of its own.
    enum LaunchMode : int {
        kScriptsOnly = 0,  ///< scripts are written and nothing is started
        kLocalHost = 1,
        kSeveralHosts = 2,
        kLsfCluster = 3,
        kSgeCluster = 4,
        kNamedCluster = 5,  ///< a cluster configuration, by getClusterName()
        kDefaultMode = 7,   ///< nobody chose; the launch layer does
    };

    /// A host and the number of jobs that it takes at once.
    using HostJobs = std::pair<std::string, int>;

    LaunchMode getLaunchMode() const { return m_launchMode; }
    void setLaunchMode(LaunchMode mode) { m_launchMode = mode; }

    /// The directory to launch in, "." at first.
    const std::string& getLaunchDir() const { return m_launchDir; }
    /// Empty means ".".
    void setLaunchDir(const std::string& dir);

    /// The step up to which to launch; empty leaves it to the run.
    const std::string& getToStepId() const { return m_toStepId; }
    void setToStepId(const std::string& stepId) { m_toStepId = stepId; }

    /// The submit command of a cluster, as the user typed it: a program and its
    /// switches.
    const std::string& getClusterCmdLine() const { return m_clusterCmdLine; }
    void setClusterCmdLine(const std::string& command) { m_clusterCmdLine = command; }
    const std::string& getClusterName() const { return m_clusterName; }
    void setClusterName(const std::string& name) { m_clusterName = name; }

    // This host.

    /// How many jobs run at once; at least 1.
    int getNumJobsSH() const { return m_numJobsSH; }
    /// @throws HEXAlgException `jobs` isn't above 0; the number stays as it was.
    void setNumJobsSH(int jobs);

    // Several hosts.

    /// Appends a host. Neither name nor number is checked, and a host may stand twice.
    void addHostMH(const std::string& host, int jobs);
    int hostJobCountMH() const;
    /// In the order in which they were added. The caller deletes the iterator, and does
    /// so before a host is added.
    HSTFwdIter<HostJobs>* createHostJobIterMH() const;

    /// Appends an address to notify, unchecked.
    void addEmailMH(const std::string& address);
    int emailCountMH() const;
    /// As createHostJobIterMH().
    HSTFwdIter<std::string>* createEmailIterMH() const;
    /// Whether to notify after every job and not only at the end.
    bool getEmailEveryJobMH() const { return m_emailEveryJobMH; }
    void setEmailEveryJobMH(bool every) { m_emailEveryJobMH = every; }

    /// Scripts that run before and after a job on its host; empty for none.
    const std::string& getPreHookScriptMH() const { return m_preHookScriptMH; }
    void setPreHookScriptMH(const std::string& path) { m_preHookScriptMH = path; }
    const std::string& getPostHookScriptMH() const { return m_postHookScriptMH; }
    void setPostHookScriptMH(const std::string& path) { m_postHookScriptMH = path; }
    /// The command that starts a job on a host; empty leaves it to the launch layer.
    const std::string& getJobCmdMH() const { return m_jobCmdMH; }
    void setJobCmdMH(const std::string& command) { m_jobCmdMH = command; }

    // Run scripts of the user.

    /// Adds the entries of the map file `path` to those that are there; an entry of the
    /// same key is replaced. A file that is missing or can't be read changes nothing,
    /// and nothing in one is refused: a line that is no entry is passed over. Says in a
    /// message which file is read or that it is missing.
    void setUserRunScript(const std::string& path);
    /// The script of `key`, the name of a run. Empty, for the generated script, when
    /// there is no entry; also when the entry says "default" in any case or names a
    /// file that isn't there, both with a warning. An entry that is used is told on
    /// standard output.
    std::string getUserRunScript(const std::string& key) const;

private:
    HSTSList<HostJobs> m_hostsMH;
    HSTSList<std::string> m_emailsMH;
    std::string m_launchDir = ".";
    std::string m_toStepId;
    std::string m_preHookScriptMH;
    std::string m_postHookScriptMH;
    std::string m_jobCmdMH;
    std::map<std::string, std::string> m_userRunScripts;
    LaunchMode m_launchMode = kDefaultMode;
    int m_numJobsSH = 1;
    bool m_emailEveryJobMH = false;
    std::string m_clusterCmdLine;
    std::string m_clusterName;
};
