// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>

#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HADAFileSet;
class HADAStaleOption;
class HATOptGroup;
class HAXPExpRunBase;
class HAXRReportConfig;
class HAXRReportStrategy;

/// What is done with the reports of a run around their classes: option groups,
/// names, commands, and the files that are published. Nothing here keeps state or
/// locks; a run is asked under the discipline of its own operations.
namespace reportConfigUtil {

/// A group with the options, defaults and values of `group`, which shares
/// nothing with it; null for null. The caller deletes it. Its id is "OPTIONS",
/// its pretty display name is `displayName`, and with `readOnly` every option is
/// read-only. Each option of another kind than bool and int becomes the text of
/// its value. Names, defaults and values are copied, not descriptions.
RUNS_API HATOptGroup* getOptGroupCopy(HATOptGroup* group, const std::string& displayName,
                                      bool readOnly);

/// Whether each option of `a` has the same value in `b`, options matched by
/// name. What only `b` has isn't looked at. Two nulls are equal, one isn't.
///
/// The walk ends at the first option that differs. If `b` has it, a new entry of
/// the group `name`, from b's value to a's, is added to `differences`; the
/// caller deletes it. Lists, enums and files always count as equal, as does a
/// kind that can't be compared, which standard output is told of.
RUNS_API bool compareOptGroups(HATOptGroup* a, HATOptGroup* b, const std::string& name,
                               HSTVector<HADAStaleOption*>& differences);

// Names.

/// The short name of a flow step, as names of reports and their files have it. For a
/// step that has none it is the id itself while templatized flows are enabled, and
/// empty otherwise.
RUNS_API std::string getStepAlias(const std::string& stepId);

/// A name for a new report of the step, which no report of the run has:
/// "<run>_<alias>_<reportName>_<n>" with the first free number from 0.
/// @throws HEXAlgException `run` is null.
RUNS_API std::string createReportName(HAXPExpRunBase* run, const std::string& stepId,
                                      const std::string& reportName);

/// The well-known file of the report in a default strategy, after the top module; behind
/// the first "_1", "_2" and so on until no report of the run has it. Empty when the
/// report has none. Whether the strategy is a default one isn't looked at.
/// @throws HEXAlgException `run` or `config` is null.
RUNS_API std::string getDefaultReportName(const HAXPExpRunBase* run,
                                          const HAXRReportConfig* config);

/// The file that the run leaves for a static report; empty when that depends on the top
/// module and none was chosen. @throws HEXAlgException `config` is null.
RUNS_API std::string getDefaultStaticReportName(const HAXRReportConfig* config);

/// The file that the report is to have, which no report of the run has: the well-known
/// one in a default strategy, else "<alias>_<command>_<n>.rpt" with the first free
/// number from 0. @throws HEXAlgException `run` or `config` is null.
RUNS_API std::string createReportFileName(HAXPExpRunBase* run, const HAXRReportConfig* config);

// The top of the design.

/// Makes `name` the top module of the run's sources: the one that was chosen, else the
/// base name of the top netlist, else that of the top checkpoint; empty without one.
RUNS_API void getTopModuleName(const HAXPExpRunBase* run, std::string& name);

/// Makes `path` the checkpoint that holds the top: the first one inside the block at
/// the root of an out-of-context set, or the only design source of the set. Otherwise
/// `path` gets empty. Whether there is one.
RUNS_API bool getTopDcpFile(const HADAFileSet* fileSet, std::string& path);

/// Makes `path` the netlist that holds the top: the chosen one, or the only netlist of a
/// set without Verilog sources. Otherwise `path` stays. Whether there is one.
RUNS_API bool getEDIFTopFile(const HADAFileSet* fileSet, std::string& path);

// Commands.

/// The Tcl that makes the report: one line without a line end, or what checkRules()
/// makes of it; empty when there is nothing to run: for a static report, for one that
/// the rules leave out, and, with a message, when an output option has no file. Option
/// values stand as the user wrote them; the file is one word for Tcl.
///
/// A static report gets its file's name by this, and a report that isn't generated yet
/// gets a new one; so it is called once, when the scripts of a launch are written.
/// @throws HEXAlgException `config` is null.
/// @throws HEXDataException as checkRules().
RUNS_API std::string createReportCommand(HAXRReportConfig* config);

/// Adjusts the command of a report of a default strategy: empties it where the
/// parameters leave the report out, adds the warning on timing violations at the last
/// step, or wraps it into three whole lines so that its findings become messages.
/// Changes nothing else.
/// @throws HEXAlgException `config` is null.
/// @throws HEXDataException it is a timing summary of a routing step, and the
/// parameter "project.enableWarnOnViolation" is absent.
RUNS_API void checkRules(HAXRReportConfig* config, std::string& command);

// Strategies.

/// A report strategy "tmp-report-strategy" that says what the run's reports are now,
/// static ones left out; null for null and for a run without a strategy. The caller
/// calls nukeSteps() and deletes it. A report that the catalogue lacks, which sends a
/// message, is taken as it is.
/// @throws HEXAlgException the flow lacks a step with a report.
RUNS_API HAXRReportStrategy* createReportStrategySnapshot(const HAXPExpRunBase* run);

// Published files.

/// The files of a report, relative to the run directory; empty ones aren't written.
struct ReportFiles {
    std::string rptFile;
    std::string rpxFile;
    std::string pbFile;
};

/// By flow step id, then by report command.
using RunReportMap = std::map<std::string, std::map<std::string, ReportFiles>>;

/// Enters into `result` the files of the reports that are enabled and generated or
/// stale, the first of each command in a step. A step without any gets no entry; what
/// `result` holds for other steps stays.
RUNS_API void getRunReportMap(const HAXPExpRunBase* run, RunReportMap& result);

/// Publish the report files of the run under the file types of its information object,
/// in place of those published before. A step without a report keeps its files; in one
/// with a report, the file types of those that it lacks get empty. Nothing happens while
/// report configurations are switched off. A concrete run calls them when the state of
/// its reports was brought up to date.
RUNS_API void updateImplConfigFileNames_(const HAXPExpRunBase* run);
RUNS_API void updateSynthConfigFileNames_(const HAXPExpRunBase* run);

}  // namespace reportConfigUtil
