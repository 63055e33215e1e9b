// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "environment/observers/HUTDirtyObserver.h"
#include "environment/options/HATAttrObj.h"
#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/RunsExport.h"
#include "runs/base/xpreport/HAXRTypes.h"
#include "runs/base/xpreport/VersionInfo.h"

class HATAttrSpec;
class HATOptGroup;
class HAXPExpRunBase;
class HAXRReportSpec;
class HAXRStaleOption;
template <class T> class HSTFwdIter;

/// One report of one run: what it follows, the step it belongs to, its option
/// values, its files, and whether they are there, stale or failed.
///
/// A report is made by a Tcl command, in the run or in a report script. A static
/// one is a file that the run leaves anyway, such as a log; it is only tracked.
/// Its main output is a file of the run directory, each output option names
/// another one, and ".<name>.fail" there says that the command failed.
///
/// It owns its options, copies of those of the specification, and its stale
/// options; specification and run are borrowed and outlive it. It takes no lock:
/// it is reached under the run's mutex. A run without a directory has no files.
class RUNS_API HAXRReportConfig : public HUTDirtyObserver, public HATAttrObj {
public:
    /// What a report reads as. A new one isn't generated until update() looks.
    enum ReportState {
        REPORT_NOT_GENERATED = 0,
        REPORT_GENERATED = 1,
        REPORT_STALE = 2,
        REPORT_FAILED = 3,
    };

    /// A report of the flow step with the id `stepName`. `readOnly` makes it a
    /// static one. Without a `displayName` it takes that of `spec`, and `name`
    /// when that is empty too.
    /// @throws HEXAlgException `spec` or `run` is null.
    HAXRReportConfig(const std::string& name, const std::string& stepName, HAXRReportSpec* spec,
                     HAXPExpRunBase* run, bool readOnly, const std::string& displayName);
    /// Makes script objects of the report invalid. What the scripting link throws
    /// is sent as a warning. No file is touched.
    ~HAXRReportConfig() override;

    HAXRReportConfig(const HAXRReportConfig&) = delete;
    HAXRReportConfig& operator=(const HAXRReportConfig&) = delete;

    /// Unique within the run.
    const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    /// The command that makes the report, and the kind that it says.
    const std::string& getSpecName() const { return m_specName; }
    HAXRTypes::ReportType getSpecType() const { return m_type; }
    const std::string& getSpecDisplayName() const { return m_specDisplayName; }
    const std::string& getDisplayName() const { return m_displayName; }
    void setDisplayName(const std::string& name, bool notify);
    HAXRReportSpec* getReportSpec() const { return m_reportSpec; }
    /// Relative to the run directory; empty until set.
    const std::string& getReportFile() const { return m_reportFile; }
    /// Where the file was when its name was set.
    const std::string& getReportFullPath() const { return m_reportFullPath; }
    const std::string& getAssociatedStepName() const { return m_stepName; }
    const std::string& getShortDesc() const { return m_shortDesc; }
    void setShortDesc(const std::string& text) { m_shortDesc = text; }
    HAXPExpRunBase* getAssociatedRun() const { return m_run; }
    const VersionInfo& getVersion() const { return m_version; }
    /// Null where the specification has none.
    HATOptGroup* getOptions() const { return m_options.get(); }
    HATOptGroup* getOutputOptions() const { return m_outputOptions.get(); }
    bool isEnabled() const { return m_enabled; }
    bool isReadOnly() const { return m_readOnly; }
    bool isStaticReport() const { return isReadOnly(); }

    /// The options in order; null without a group. The caller deletes the iterator.
    HSTFwdIter<HATAttrSpec*>* createReportOptionsIter() const;
    HSTFwdIter<HATAttrSpec*>* createReportOutputOptionsIter() const;

    void preGenerate(bool required) { m_preGenerateFlag = required; }
    bool isPreGenerationRequired() const { return m_preGenerateFlag; }
    void markForGeneration(bool marked) { m_markedForGeneration = marked; }
    /// Whether it was marked, is enabled and isn't generated yet.
    bool isMarkedForGeneration() const;

    /// Switches the report on or off. Switching on one that canEnableReport()
    /// refuses does nothing at all.
    void setEnabled(bool enable, bool notify);
    /// Whether the run takes reports for the step.
    bool canEnableReport() const;

    /// A ReportState, read without touching the disk: a generated report is stale
    /// when the run needs a complete reset, or its own step or one before it is
    /// stale.
    std::int32_t getState() const;
    bool isStale() const { return getState() == REPORT_STALE; }
    /// Looks for the fail marker, which comes first, and the main file; the state
    /// stays when there is neither. Whether getState() changed.
    bool update(bool notify);
    /// Removes the main file, and with it the output files and all their names; the
    /// fail marker; the stale options. Output files and names stay when the main
    /// file is gone already.
    void reset(bool notify);
    /// Whether a report script should make the report now, apart from the run.
    bool isGenerationRequired() const;

    /// Names what the report writes, `fileName` in the run directory and, without
    /// `fileOnly`, a file for each output option: ".rpt" becomes the option's name
    /// in lower case. The names are defaults of the output options.
    void setReportFile(const std::string& fileName, bool fileOnly);
    /// The file name that the output option with exactly this name has; empty
    /// without one.
    std::string getFile(const std::string& optionName) const;
    /// The same as a path; empty also for a report not generated or failed.
    std::string getFileForExtension(const std::string& optionName) const;

    /// Notes that an option differs from what a generated or stale report was made
    /// with; one that is back at its old value is forgotten, and with the last one
    /// the report is no longer stale.
    void addOrUpdateStaleReason(const std::string& optionName, const std::string& launchTimeVal,
                                const std::string& newVal);
    void clearStaleOptions(bool notify);
    /// The caller deletes the iterator, before the list changes.
    HSTFwdIter<HAXRStaleOption*>* createStaleOptionsIter() const;

    /// Whether both follow the same version of a specification and have equal
    /// option values; an option that only `other` has isn't noticed. False for null
    /// and for a static report.
    // NOLINTNEXTLINE(readability-identifier-naming): the name that callers know.
    bool IsEquivalent(const HAXRReportConfig* other) const;

    /// Puts `to` for each `from` in the name, script objects included, when a run is
    /// renamed; nothing when `from` or the new name is empty. No file is renamed.
    void replaceRunSubStringInName(const std::string& from, const std::string& to);

protected:
    /// Marks the run dirty.
    void setDirtyCallback_() override;

private:
    using StaleOptions = std::vector<std::unique_ptr<HAXRStaleOption>>;

    void setDirtyIf_(bool notify);
    std::string runDir_() const;
    /// The path of `file` in the run directory; empty without a directory.
    std::string pathOf_(const std::string& file) const;
    std::string failMarker_() const;
    void nameOutputFiles_();
    void removeOutputFiles_();
    StaleOptions::iterator findStaleOption_(const std::string& optionName);

    HAXRReportSpec* m_reportSpec;
    std::unique_ptr<HATOptGroup> m_options;
    std::unique_ptr<HATOptGroup> m_outputOptions;
    HAXPExpRunBase* m_run;
    VersionInfo m_version;
    std::int32_t m_state = REPORT_NOT_GENERATED;
    HAXRTypes::ReportType m_type;
    bool m_enabled = true;
    bool m_readOnly;
    bool m_preGenerateFlag = false;
    bool m_markedForGeneration = false;
    std::string m_name;
    std::string m_specName;
    std::string m_stepName;
    std::string m_shortDesc;
    std::string m_reportFile;
    std::string m_reportFullPath;
    std::string m_displayName;
    std::string m_specDisplayName;
    StaleOptions m_staleOptions;
};

/// The Tcl handles on reports, one table for the whole process.
extern template class RUNS_API mqi::tcltasks::native_cache<HAXRReportConfig*>;
