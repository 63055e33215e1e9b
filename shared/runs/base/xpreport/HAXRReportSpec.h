// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xperiment/RunsExport.h"
#include "runs/base/xpreport/HAXRTypes.h"
#include "runs/base/xpreport/VersionInfo.h"

class HATAttrSpec;
class HATOptGroup;
class HATOptGroupObserver;
template <class T> class HSTFwdIter;

/// What one kind of report is: the command that makes it, its version, and the
/// options that a user may set.
///
/// A specification is a template. The catalogue holds one for each version of a
/// report; a report strategy holds copies, whose options it may change, and a
/// run's report is built from one.
///
/// It owns both of its option groups. One object belongs to one thread.
class RUNS_API HAXRReportSpec {
public:
    /// A specification without a version, of the kind that `name` says. Takes
    /// `ownedOptions` over, which may be null. `displayName` is a raw name, which
    /// modifyDisplayName() turns into the one that is shown.
    HAXRReportSpec(const std::string& name, const std::string& shortDescription,
                   HATOptGroup* ownedOptions, const std::string& displayName);
    /// The same of the given kind and version.
    HAXRReportSpec(const std::string& name, HAXRTypes::ReportType type,
                   const std::string& shortDescription, HATOptGroup* ownedOptions,
                   const VersionInfo& version, const std::string& displayName);
    /// A copy with option groups of its own and without an observer. Its output
    /// options are read-only.
    HAXRReportSpec(const HAXRReportSpec& other);
    ~HAXRReportSpec();

    HAXRReportSpec& operator=(const HAXRReportSpec&) = delete;

    /// The command that makes the report, such as "report_timing_summary".
    const std::string& getName() const { return m_name; }
    const std::string& getShortDescription() const { return m_shortDescription; }
    const std::string& getDisplayName() const { return m_displayName; }
    HAXRTypes::ReportType getSpecType() const { return m_type; }
    const VersionInfo& getVersion() const { return m_version; }

    /// What a user may set. Null only where it was made so.
    HATOptGroup* getOptions() const { return m_options.get(); }
    /// What the report writes, to be looked at; null when it has none.
    HATOptGroup* getOutputOptions() const { return m_outputOptions.get(); }

    /// Take `ownedOptions` over, which may be null. The group that was here is
    /// the caller's from now on, who deletes it. Nobody is told, and an observer
    /// attached before doesn't hear of the new group.
    void setOptions(HATOptGroup* ownedOptions);
    void setOutputOptions(HATOptGroup* ownedOptions);

    /// The options in order. The caller deletes the iterator, before the group
    /// is replaced. The second is null without output options, the first
    /// without options.
    HSTFwdIter<HATAttrSpec*>* createReportOptionsIter() const;
    HSTFwdIter<HATAttrSpec*>* createReportOutputOptionsIter() const;

    /// Tells `observer` of changes from now on. The options tell those attached
    /// before as well. Not owned; it outlives the calls of setDirty().
    void attach(HATOptGroupObserver* observer);

    /// Tells the observer that the options changed; nothing without one.
    void setDirty();

    /// Sets the name that is shown, as it is. With `notify` the observer hears of
    /// it, unless the name is the same.
    void setDisplayName(const std::string& name, bool notify);

    /// Turns the display name, taken as a raw one, into what is shown:
    /// "report_timing_summary" into "Timing Summary", "report_drc" into "DRC".
    void modifyDisplayName();

    /// Whether the options have the values of those of `other`; no name, version
    /// or output option counts. One-sided: an option that only `other` has isn't
    /// noticed.
    bool isEqual(const HAXRReportSpec* other) const;

private:
    std::unique_ptr<HATOptGroup> m_options;
    std::unique_ptr<HATOptGroup> m_outputOptions;
    HATOptGroupObserver* m_observer = nullptr;
    HAXRTypes::ReportType m_type;
    VersionInfo m_version;
    std::string m_name;
    std::string m_shortDescription;
    std::string m_displayName;
};
