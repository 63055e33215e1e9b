// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HATOptGroup;
class HATOptGroupSpec;
class HAXPExpInfoBase;
class HAXPExpRunBase;
class HAXPFileSpec;
class HDDASrcFilter;
class HDGUIStatus;
class HUTProcessHandle;

/// One step of a flow, as the catalogue describes it: names, options, reports, and
/// how its status is read from a run directory.
///
/// A concrete step says through the hooks what its options and reports are. A flow
/// owns its steps; runs and strategies refer to them. A step is built at start-up
/// and then only read, from any thread, without a lock.
///
/// The status of a step is a function of the marker files in a run directory:
///
///     begin    end      error    status
///     absent   any      any      not started
///     present  present  any      done
///     present  absent   present  failed
///     present  absent   absent   running
///
/// Nothing is kept between two looks. Markers carry the status tracking string, so
/// that no two steps of a flow should share one.
class RUNS_API HAXPFlowStep {
public:
    /// How a user interface runs the step. This library only keeps it.
    struct RunInfo {
        std::string program;
        std::string arguments;
        std::string workDir;
        std::string description;
    };

    /// A kind of file that the step makes. This library only keeps it.
    struct FileTypeInfo {
        std::string fileType;
        std::string description;
        bool enabled = true;
    };

    /// Destroys the report specs, both option specs and the source filter; whoever
    /// set the generated-file filter keeps it.
    virtual ~HAXPFlowStep();

    HAXPFlowStep(const HAXPFlowStep&) = delete;
    HAXPFlowStep& operator=(const HAXPFlowStep&) = delete;

    const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    const std::string& getAbbrev() const { return m_abbrev; }
    void setAbbrev(const std::string& abbrev) { m_abbrev = abbrev; }

    /// The id that strategies, scripts and files know the step by; unique in a flow.
    const std::string& getFlowStepId() const { return m_flowStepId; }
    void setFlowStepId(const std::string& flowStepId) { m_flowStepId = flowStepId; }

    /// The text that invokes the step, such as the name of a command.
    const std::string& getInvokeStr() const { return m_invokeStr; }
    void setInvokeStr(const std::string& invokeStr) { m_invokeStr = invokeStr; }

    /// The word in the names of the step's markers: the invoke string unless another
    /// was set. An empty string sets none.
    const std::string& getStatusTrackingStr() const;
    void setStatusTrackingStr(const std::string& str) { m_statusTrackingStr = str; }

    /// The abbreviation once the step is complete: the plain one unless another was
    /// set. An empty string sets none.
    const std::string& getCompleteAbbrev() const;
    void setCompleteAbbrev(const std::string& abbrev) { m_completeAbbrev = abbrev; }

    /// The file in the run directory with the messages of the step; may be empty.
    const std::string& getMsgFileName() const { return m_msgFileName; }
    void setMsgFileName(const std::string& name) { m_msgFileName = name; }

    const std::string& getCmdProc() const { return m_cmdProc; }
    void setCmdProc(const std::string& proc) { m_cmdProc = proc; }
    const std::string& getResetProc() const { return m_resetProc; }
    void setResetProc(const std::string& proc) { m_resetProc = proc; }

    /// Whether a flow has the step only when a user adds it.
    bool isOptional() const { return m_optional; }
    void setOptional(bool optional) { m_optional = optional; }

    /// Whether its options go on its command line.
    bool getCmdLineOptions() const { return m_cmdLineOptions; }
    void setCmdLineOptions(bool cmdLineOptions) { m_cmdLineOptions = cmdLineOptions; }

    bool isSetCallbackFunc() const { return m_setCallbackFunc; }
    void setCallbackFunc(bool setCallbackFunc) { m_setCallbackFunc = setCallbackFunc; }

    bool sendCompletedEvent() const { return m_sendCompletedEvent; }
    void sendCompletedEvent(bool send) { m_sendCompletedEvent = send; }

    /// Whether a user may switch the step off, and whether it is on to begin with.
    /// Both, and hasTclHooks(), are set before the options are configured.
    bool canDisable() const { return m_canDisable; }
    void canDisable(bool canDisable) { m_canDisable = canDisable; }
    bool defaultEnabled() const { return m_defaultEnabled; }
    void defaultEnabled(bool enabled) { m_defaultEnabled = enabled; }

    /// Whether a user may give scripts that run before and after the step.
    bool hasTclHooks() const { return m_hasTclHooks; }
    void hasTclHooks(bool hasHooks) { m_hasTclHooks = hasHooks; }

    bool writeToRunScript() const { return m_writeToRunScript; }
    void writeToRunScript(bool write) { m_writeToRunScript = write; }

    /// Whether the step stands in the flow without doing work of its own.
    bool isVirtual() const { return m_isVirtual; }
    void isVirtual(bool isVirtual) { m_isVirtual = isVirtual; }
    bool isVisible() const { return m_isVisible; }
    void isVisible(bool visible) { m_isVisible = visible; }

    /// Which sources the step reads; owned by the step, never null.
    HDDASrcFilter* getSrcFilter() const { return m_srcFilter.get(); }

    /// The files that the step makes and a reset removes; not owned, null unless set.
    HAXPFileSpec* getGenFilter() const { return m_genFilter; }
    void setGenFilter(HAXPFileSpec* genFilter) { m_genFilter = genFilter; }

    /// The declared tool options and attributes; null until configOptionsSpec() ran.
    HATOptGroupSpec* getOptionsSpec() const { return m_optionsSpec.get(); }
    HATOptGroupSpec* getAttrsSpec() const { return m_attrsSpec.get(); }

    /// Makes both option specs and fills them; HAXPFlow::addFlowStep() calls it once.
    /// @throws HEXDataException "Options already configured for flow step".
    void configOptionsSpec();

    /// Registers the attributes that the flags call for in the attributes spec, which
    /// must be there.
    void configAttrSpecs();

    /// Has the concrete step add its report specs; HAXPFlow::addFlowStep() calls it.
    /// @throws HEXDataException "reports already configured for flow step": there is a
    /// report spec already.
    void configReports();

    /// Takes the spec over and numbers it: 0, 1, 2 in order of addition.
    /// @throws HEXAlgException "duplicate spec can't be registered" for a name that is
    /// there already, "report spec needs at least 1 fileType" for a spec without an
    /// enumerated file type, and another text for null. The caller then keeps the spec.
    void addReportSpec(HAXPFileSpec* ownedSpec);

    int reportSpecCount() const { return static_cast<int>(m_reportSpecs.size()); }

    /// The report specs, in order of addition. The caller deletes the iterator.
    HSTFwdIter<HAXPFileSpec*>* createReportSpecIter() const;

    /// Appends a copy.
    void addRunInfo(const RunInfo& info);
    const HSTVector<RunInfo>& getRunInfoVec() const { return m_runInfos; }

    /// Keeps a copy under `key`, in place of what was there.
    void addFileTypeInfo(const std::string& key, const FileTypeInfo& info);
    const std::map<std::string, FileTypeInfo>& getFileTypeInfoMap() const {
        return m_fileTypeInfos;
    }

    /// What the step wants before and behind its options on the command line, for
    /// these values in this run. Both strings are emptied first.
    void writePrePostOptions(std::string& pre, std::string& post, HATOptGroup* options,
                             HAXPExpRunBase* run) const;

    /// `text` between double quotes; what stands in it isn't escaped.
    std::string quote(const std::string& text) const;

    /// `text` between double quotes if it has a blank, otherwise as it is. A tab isn't
    /// a blank.
    std::string quote_if(const std::string& text) const;

    /// Reads the step's status from the markers in `runDir` into `status`, and what a
    /// begin marker says of the process into `handle`, with the times of begin and end
    /// (s, 0 for none). A directory without a separator at its end. Asks the disk and
    /// waits for nothing; poll to see a change.
    void updateStatus(HDGUIStatus* status, HUTProcessHandle* handle,
                      const std::string& runDir) const;

    /// Removes the step's begin, end and error markers from `runDir`, in this order.
    /// False at the first that can't be removed; those behind it stay. Markers that
    /// aren't there are fine. The program "tarnel" removes those of its process too.
    bool resetStep(const std::string& runDir, HAXPExpInfoBase* info) const;

protected:
    HAXPFlowStep(const std::string& name, const std::string& abbrev, const std::string& invokeStr,
                 const std::string& flowStepId, const std::string& msgFileName);

    /// Hook of configOptionsSpec(): once, before the attributes are registered. An
    /// override registers its tool options in `optionsSpec`, which owns them.
    virtual void configOptions_(HATOptGroupSpec* optionsSpec) = 0;

    /// Hook of configReports(): once. An override calls addReportSpec() for each of
    /// its reports, or does nothing.
    virtual void configReports_() = 0;

    /// Hook of updateStatus(): once a poll, no lock held, on any thread. Decides by
    /// the table above and reads the begin marker until the handle is complete, ten
    /// times at most. An override may add evidence of its own; it starts no process
    /// and doesn't wait. What HUTProcHandleXMLParser throws goes to the caller, status
    /// and stamps as they were.
    virtual void updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                            const std::string& runDir) const;

    /// Hook of writePrePostOptions(): once for each script. Does nothing here. Both
    /// strings come in empty. An override appends to them and changes nothing else.
    virtual void writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup* options,
                                   HAXPExpRunBase* run) const;

    /// Hook of HAXPFlow::addFlowStep(): once, when options and reports are configured.
    /// Does nothing here. An override fills getSrcFilter().
    virtual void initSrcFilter_();

    /// Whether the marker `kind` ("begin", "end" or "error") counts as present for
    /// this step; if so `path` becomes its path, otherwise it stays. The suffix ".stp"
    /// is looked for when ".rst" isn't there. The error marker of the whole process
    /// stands in for the step's own unless the step has ended.
    bool getStatusFile_(const std::string& runDir, const std::string& kind,
                        std::string& path) const;

    /// The same, with the marker's time (s since the epoch) instead of its path.
    bool statusExists_(const std::string& runDir, const std::string& kind, long& stamp) const;

    /// Removes the marker `kind`, as getStatusFile_() finds it; one call removes one
    /// suffix. The program "tarnel" then also removes the marker of its process, of
    /// any kind. False only if the step's marker can't be removed.
    bool nukeStatusFile_(const std::string& runDir, const std::string& kind) const;

private:
    friend class HAXPFlow;

    void addEnableAttr_();
    void addHookAttr_(const std::string& name, const std::string& dbId,
                      const std::string& description);
    void addReportsAttr_();
    void readHandle_(HUTProcessHandle* handle, const std::string& runDir) const;

    std::unique_ptr<HDDASrcFilter> m_srcFilter;
    HAXPFileSpec* m_genFilter = nullptr;
    std::string m_invokeStr;
    std::string m_statusTrackingStr;
    std::string m_msgFileName;
    HSTVector<std::unique_ptr<HAXPFileSpec>> m_reportSpecs;
    std::unique_ptr<HATOptGroupSpec> m_optionsSpec;
    std::unique_ptr<HATOptGroupSpec> m_attrsSpec;
    std::string m_name;
    std::string m_abbrev;
    std::string m_flowStepId;
    std::string m_completeAbbrev;
    std::string m_cmdProc;
    std::string m_resetProc;
    bool m_isVisible = false;
    bool m_isVirtual = false;
    bool m_cmdLineOptions = true;
    bool m_optional = false;
    bool m_writeToRunScript = true;
    bool m_sendCompletedEvent = true;
    bool m_canDisable = false;
    bool m_defaultEnabled = true;
    bool m_hasTclHooks = false;
    bool m_setCallbackFunc = false;
    HSTVector<RunInfo> m_runInfos;
    std::map<std::string, FileTypeInfo> m_fileTypeInfos;
};
