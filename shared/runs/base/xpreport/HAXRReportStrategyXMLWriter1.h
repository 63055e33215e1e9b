// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HATAttrSpec;
class HATOptGroup;
class HAXRReportSpec;
class HAXRReportStrategy;
class HXMLWriterBase;

/// Writes one report strategy into a file of its own.
///
/// Of each report those options stand in the file whose values differ from
/// their defaults. Display names stand there when the parameter
/// "runs.enableReportDisplayName" is true.
class RUNS_API HAXRReportStrategyXMLWriter1 {
public:
    /// Writes to `path`. Touches no file yet.
    explicit HAXRReportStrategyXMLWriter1(const std::string& path);
    ~HAXRReportStrategyXMLWriter1();

    /// Saves the strategy in the place of the old file, whole or not at all.
    /// @throws HXMLException the file can't be saved, or a text can't stand in
    /// XML; the old file is intact.
    /// @throws HEXAlgException `strategy` is null or has no flow: it couldn't be
    /// read again.
    void writeReportStrategy(HAXRReportStrategy* strategy);

    /// The same for a name that must be new: false, with nothing changed, when
    /// anything of that name is there.
    bool writeNewReportStrategy(HAXRReportStrategy* strategy);

protected:
    void writeReportStrategy_(HXMLWriterBase& writer, const HAXRReportStrategy& strategy) const;
    void writeSpec_(HXMLWriterBase& writer, const HAXRReportSpec& spec) const;
    void writeOption_(HXMLWriterBase& writer, const HATOptGroup& group,
                      const HATAttrSpec& option) const;

private:
    bool writeFile_(HAXRReportStrategy* strategy, bool asNew);

    std::string m_path;
};
