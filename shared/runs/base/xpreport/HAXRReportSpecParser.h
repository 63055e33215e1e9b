// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HAXRReportSpecMgr;

/// Reads a report catalogue file into a manager.
class RUNS_API HAXRReportSpecParser {
public:
    /// Reads into `mgr`, which isn't owned and outlives the parser.
    /// @throws HEXFileNotFoundException with `path`, when there is no such file.
    HAXRReportSpecParser(HAXRReportSpecMgr* mgr, const std::string& path);

    /// Adds a specification for each report that the file lists. A version of a
    /// report that the manager has already is passed over with a message, and so
    /// is an integer option whose default is no number.
    ///
    /// A document that isn't a catalogue, with an element out of place, without
    /// a required attribute or with a version out of range, adds nothing and
    /// gives a message that names file and line.
    /// @throws HXMLException the file can't be read or isn't well-formed, or
    /// something failed half-way; standard output is told as well. What was
    /// added before stays.
    void parseReportSpecs() const;

private:
    HAXRReportSpecMgr* m_mgr;
    std::string m_path;
};
