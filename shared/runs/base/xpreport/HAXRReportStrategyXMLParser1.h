// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXRReportStrategy;
namespace xml {
class Element;
}

/// Reads report strategy files against the catalogues of flows and reports.
///
/// What a file says that they don't know is left out with a message: a report or
/// version that the report catalogue lacks, an option that the report lacks. A
/// strategy without a flow, or of an unknown one, is left out with a line on
/// standard error.
class RUNS_API HAXRReportStrategyXMLParser1 {
public:
    HAXRReportStrategyXMLParser1();
    /// Deletes what was read since the last createStrategyIter().
    ~HAXRReportStrategyXMLParser1();

    HAXRReportStrategyXMLParser1(const HAXRReportStrategyXMLParser1&) = delete;
    HAXRReportStrategyXMLParser1& operator=(const HAXRReportStrategyXMLParser1&) = delete;

    /// Reads the file and adds its strategies to those read before. A file that
    /// a later version of the tool wrote is read too, with a message.
    ///
    /// Strategies that were complete before a failure stay; the one that was
    /// being filled is deleted.
    /// @throws HXMLException the file can't be read, isn't well-formed or isn't
    /// a report strategy file; standard output is told as well.
    /// @throws std::logic_error the tool's version is no number.
    /// @throws HEXAlgException a step that the strategy's flow doesn't have.
    void parseStrategies(const std::string& path);

    /// What has been read so far, in order of reading. The strategies are the
    /// caller's from now on, who calls nukeSteps() of each before deleting it,
    /// and so is the iterator, which walks a copy of the list.
    HSTFwdIter<HAXRReportStrategy*>* createStrategyIter();

    /// The line of the element that was read last, from 1: after an exception the one
    /// that it came from. 0 when the file could not be read at all.
    int getLine() const { return m_line; }

    /// Whether saving one of the strategies may lose something of the file: another
    /// version of the tool wrote it, something was left out, or it holds several.
    bool needsBackup() const;
    /// The version of the tool that wrote the file, such as "2026.1"; "unknown" when
    /// the file doesn't say.
    std::string getWriterVersion() const;

protected:
    void parseToolVersion_(const std::string& path, const xml::Element& tool);
    void parseReportStrategy_(const xml::Element& strategy);
    /// Adds the reports of a step to the strategy that is being filled.
    void parseStep_(const xml::Element& step, const std::string& strategyName);

private:
    HSTVector<HAXRReportStrategy*> m_strategies;
    /// How many of them the caller owns.
    std::size_t m_handedOver = 0;
    /// The strategy that is being filled; good in parseStep_().
    HAXRReportStrategy* m_current = nullptr;
    int m_line = 0;
    std::string m_writerVersion;
    bool m_isOtherVersion = false;
    bool m_hasDropped = false;
};
