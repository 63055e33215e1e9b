// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTSList.h"
#include "environment/containers/HSTVector.h"
#include "environment/options/HATAttrTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class HADAStaleOption;
class HATAttrSpec;
class HATOptGroup;
class HAXPExpRunBase;
class HAXPStrategy;

/// Operations shared by the run, its scripts and its stale tracking.
class RUNS_API HAXPUtilsBase {
public:
    HAXPUtilsBase() = delete;

    /// One option as it goes on a command line.
    struct OptionInfo {
        HATAttrTypes::AttrType type;
        /// The option's invoke text; empty when its value stands alone.
        std::string name;
        /// The value as text; empty for a switch.
        std::string value;
    };

    /// The directory under `baseDir` that `run` should take: that of its name when
    /// it is missing or empty, else the run's own when that one holds nothing, else
    /// that of its name after the status markers of the run's steps were removed
    /// from it. Nothing is made. @throws HEXAlgException `run` is null.
    static void genRunDir(HAXPExpRunBase* run, const std::string& baseDir, std::string& out);

    /// Adds to `out` the options of `group` that go on a command line, in the order of
    /// their declaration: those whose value differs from the default (the alternative
    /// one where there is one), those that are always written, and the elements of
    /// string lists that are. The data manager of the run's flow may hold one back.
    /// With `boolAsText` a bool has the value "true" or "false", else none.
    /// @throws HEXAlgException an option of a kind that no command line knows.
    static void getOptions(const HAXPExpRunBase* run, const HATOptGroup* group, bool boolAsText,
                           HSTVector<OptionInfo>& out);
    /// The same with a plain switch for a bool.
    static void getOptions(const HAXPExpRunBase* run, const HATOptGroup* group,
                           HSTVector<OptionInfo>& out);

    /// Appends `src` to `dst` behind one blank; without it when `dst` is empty, and
    /// nothing at all when `src` is.
    static void addStr(std::string& dst, const std::string& src);

    /// Appends each element and a blank to `out`.
    static void convertToString(const HSTSList<std::string>& list, std::string& out);

    /// The submit command that a user of an LSF cluster starts from.
    static void getDefaultLSFCmd(std::string& out);
    /// The command that kills a job of an LSF cluster; the job's name follows it.
    static void getDefaultClusterKillCmd(std::string& out);

    /// Whether runs can be submitted by the LSF command `cmd`: its program, whatever its
    /// name, can be found, and no switch asks for an interactive job. With a `dir` also
    /// whether the cluster sees it: a job of `cmd` makes a file there, which is removed
    /// again; this holds the caller for up to two minutes. If not, one sentence for the
    /// user is added to `errors`, which is left alone otherwise.
    static bool validateLSF(const std::string& cmd, HSTVector<std::string>& errors,
                            const std::string& dir);

    /// Whether runs can be submitted by the SGE command `cmd`: its program is "qsub",
    /// without a path, and can be found. `dir` isn't looked at. If not, `errors` gets
    /// one sentence as from validateLSF().
    static bool validateSGE(const std::string& cmd, HSTVector<std::string>& errors,
                            const std::string& dir);

    /// Submits a job through `cmd` that touches `file`, and doesn't wait for it. A
    /// command that can't be started is told in a warning; whether the job did its work
    /// shows in the file alone.
    static void touchFileWithLSF(const std::string& cmd, const std::string& file);

    /// What the parameter "runs.enableTemplatizedFlow" says; false while it is absent.
    static bool isTemplatizedFlowEnabled();

    /// Gives the entries of `target` before the one whose id is `stopId` the values
    /// that `source` has for the same steps. A null strategy changes nothing.
    static void copyOptions(HAXPStrategy* source, HAXPStrategy* target, const std::string& stopId);

    /// Adds to `out` an entry for each option whose value in `b` differs from that in
    /// `a`, with the value of `b` first; enums by their description. The list "REPORTS"
    /// is passed over. An option of a kind that no command line knows is told on
    /// standard output. The caller owns the entries. No text is made of values that
    /// agree.
    static void compareOptGroups(HATOptGroup* a, HATOptGroup* b, const std::string& groupId,
                                 HSTVector<HADAStaleOption*>& out);

    /// compareOptGroups() over the options and then the attributes of the step
    /// `groupId`; nothing when a strategy lacks it.
    static void compareStrategies(HAXPStrategy* a, HAXPStrategy* b, const std::string& groupId,
                                  HSTVector<HADAStaleOption*>& out);

    /// Adds to `out` one entry if the step `groupId` is enabled in one and not in the
    /// other: "is_enabled" of `a` is held against the last bool attribute of `b`.
    static void compareEnabledState(HAXPStrategy* a, HAXPStrategy* b, const std::string& groupId,
                                    HSTVector<HADAStaleOption*>& out);

protected:
    /// Adds one option to `out` unless the data manager of the run's flow filters it,
    /// or it is one of the attributes that steer the step and has no invoke text.
    static void addOption_(HSTVector<OptionInfo>& out, const HAXPExpRunBase* run,
                           const HATOptGroup* group, const HATAttrSpec* spec,
                           const std::string& value);
};
