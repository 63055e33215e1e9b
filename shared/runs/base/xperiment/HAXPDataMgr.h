// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HATAttrSpec;
class HATOptGroup;
class HAXPExpRunBase;
class HAXPLaunchOptions;
class HDGUIStatus;

/// A flow's hook into script generation, option listing and export.
///
/// A concrete flow derives from it and hands it to HAXPFlow::setDataMgr(), which
/// owns it. It keeps nothing between two calls and takes no lock.
class RUNS_API HAXPDataMgr {
public:
    virtual ~HAXPDataMgr();

    HAXPDataMgr(const HAXPDataMgr&) = delete;
    HAXPDataMgr& operator=(const HAXPDataMgr&) = delete;

    /// The text that stands before the steps in "rundef.js", "runme.sh" and
    /// "htr.txt", in the dialect of each. Each string is whole lines without a
    /// line end behind the last; an empty one puts nothing into its file.
    void scriptPreCmds(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                       std::string& htrCmds);

    /// The text that stands behind the steps in "rundef.js" and "runme.sh".
    void scriptPostCmds(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds);

    /// Whether the option `spec` of `group` stays out of the scripts of `run`. If
    /// so, an information message says which option, of which step and run, and
    /// why.
    bool shouldFilter(const HATAttrSpec* spec, const HATOptGroup* group, const HAXPExpRunBase* run);

    /// Moves the results of `run` out of its directory. Success and failure are
    /// told in `status`.
    void exportData(HAXPExpRunBase* run, HAXPLaunchOptions* options, HDGUIStatus& status);

    /// Readies `run` for an export and adds the files to move to `files`. Whether
    /// the export may go on; if not, `status` says why.
    bool prepRunForExport(HAXPExpRunBase* run, HSTVector<std::string>& files, HDGUIStatus& status);

    /// Gives `run` its directory: genRunDir() of HAXPUtilsBase under `baseDir`, which
    /// may be relative, made with the folders above it. The run is brought up to date
    /// with what the directory holds. Called while the run has no directory.
    /// @throws HEXError the directory can't be made; the run keeps the one it had.
    static void assignRunDir(HAXPExpRunBase* run, const std::string& baseDir);

protected:
    HAXPDataMgr();

    /// Hook of scriptPreCmds(): once for each script generation. Empties the three
    /// strings here. An override sets them and changes nothing of the run.
    virtual void scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                                std::string& htrCmds);

    /// Hook of scriptPostCmds(): once for each script generation. Empties the two
    /// strings here. An override sets them and changes nothing of the run.
    virtual void scriptPostCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds);

    /// Hook of shouldFilter(): for each listing of each option. Answers false here.
    /// An override that answers true puts one phrase for the user into `reason`,
    /// which comes in empty.
    virtual bool filter_(const HATAttrSpec* spec, const HATOptGroup* group,
                         const HAXPExpRunBase* run, std::string& reason);

    /// Hook of exportData(). An override reports through `status` and throws nothing.
    virtual void exportData_(HAXPExpRunBase* run, HAXPLaunchOptions* options,
                             HDGUIStatus& status) = 0;

    /// Hook of prepRunForExport(). Answers true here and adds no file.
    virtual bool prepRunForExport_(HAXPExpRunBase* run, HSTVector<std::string>& files,
                                   HDGUIStatus& status);
};
