// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HAXPExpRunBase;
class HAXPExpRunStep;

/// Writes the scripts by which a run is launched into its run directory.
///
/// "runme.sh" runs the steps under UNIX, "rundef.js" and "runme.bat" under
/// Windows, "htr.txt" tells a person how to repeat them; the step wrappers are
/// copied beside them. All are written on every host: a run made here may be
/// started there. Text goes in as it is, without escaping, but for the places
/// that the operations name.
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

    /// Copies the step wrappers from the installation over those of the run.
    void copyHelperScripts();

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

private:
    struct Streams;

    void writeSteps_();
    Streams& streams_();

    HAXPExpRunBase* m_run;
    /// Set between openOstrs() and closeOstrs().
    std::unique_ptr<Streams> m_streams;
};
