// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HAXPExpRunBase;
class HAXPExpRunStep;

/// Writes the scripts by which a run is launched, and those that make the reports of
/// its finished steps, into its run directory.
///
/// "runme.sh" runs the steps under UNIX, "rundef.js" and "runme.bat" under
/// Windows, "htr.txt" tells a person how to repeat them; the step wrappers are
/// copied beside them. A step's reports have three scripts of their own. All are
/// written on every host: a run made here may be started there. Text goes in as it
/// is, without escaping, but for the places that the operations name.
///
/// A file that can't be opened or written is passed over silently, as the
/// launch finds out by itself; what a data manager or an option listing throws
/// passes on and leaves the files unfinished. A run without a directory throws
/// HEXAlgException before any file is touched. Takes no lock of its own.
class RUNS_API HAXPScriptWriter {
public:
    /// The run isn't owned.
    explicit HAXPScriptWriter(HAXPExpRunBase* run);
    ~HAXPScriptWriter();

    HAXPScriptWriter(const HAXPScriptWriter&) = delete;
    HAXPScriptWriter& operator=(const HAXPScriptWriter&) = delete;

    /// Writes all files of the run, for the steps from the first one that isn't done
    /// to the run's last one, and takes back a stop that was asked for earlier.
    void writeScript();

    /// Writes "<step>_reports.sh", ".js" and ".bat" for each step whose reports should be
    /// made now, and copies the wrappers that they use. Each script is one call of
    /// "tarnel", which sources the run's Tcl file of reports with the step's id.
    ///
    /// An implementation's first step and "write_bitstream" have no such scripts. The
    /// first other step without a checkpoint is an error message, and ends the writing:
    /// what was written before stays. Scripts of steps that need none any more stay too.
    void writeReportScript();

    /// Copies the step wrappers from the installation over those of the run.
    void copyHelperScripts();
    /// The same for the wrappers of the report scripts.
    void copyReportsHelperScripts();

    /// Opens the three scripts and writes "runme.bat" anew. The operations below
    /// stand between this and closeOstrs(), or throw HEXAlgException.
    void openOstrs();
    void writeHeader();
    void writePreCmds();
    /// The lines of one step: live, or with `notStarted` false as comments.
    void writeStep(const HAXPExpRunStep* step, bool notStarted);
    void writePostCmds();
    void writeFooter();
    void closeOstrs();

    /// Makes `dcp` the name of the checkpoint that `step` leaves; a step that leaves
    /// none keeps `dcp` as it is.
    void getOutputDcp(const HAXPExpRunStep* step, std::string& dcp) const;

protected:
    /// What writeReportScript() does once the wrappers are there.
    void writeReportScript_();

private:
    struct Streams;

    void writeSteps_();
    Streams& streams_();

    HAXPExpRunBase* m_run;
    /// Set between openOstrs() and closeOstrs().
    std::unique_ptr<Streams> m_streams;
};
