// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/xml/HXMLWriterBase.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPFlow;
class HAXPFlowStepOptions;
class HAXPStrategy;

/// Writes one strategy as a file of its own, which HAXSStrategyXMLParser reads.
///
/// The file is the whole old or the whole new one, whatever happens. A writer
/// serves one file. What can't be written is an HXMLException and leaves the file
/// as it was: a name, description or value that XML can't hold, or a disk that
/// refuses. A strategy without a flow is an HEXAlgException.
class RUNS_API HAXSStrategyXMLWriter : public HXMLWriterBase {
public:
    /// Touches no file yet.
    explicit HAXSStrategyXMLWriter(const std::string& path);
    ~HAXSStrategyXMLWriter() override;

    /// Writes the whole file, over the one that is there.
    void writeStrategy(HAXPStrategy* strategy);
    /// The same from its parts. The entries become the steps, in their order;
    /// `ownedSteps` is deleted.
    void writeStrategy(const std::string& name, const std::string& description,
                       const HAXPFlow* flow, HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps);

    /// Writes the whole file under a name that must be new: false, with nothing
    /// changed, when anything of that name is there.
    bool writeNewStrategy(HAXPStrategy* strategy);

    /// The parts of the file. The version is that of the running tool.
    void writeToolVersion();
    /// An empty description leaves no trace.
    void writeStratInfo(const std::string& name, const std::string& description,
                        const HAXPFlow* flow);
    void writeOptions(HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps);

private:
    void writeDocument_(const std::string& name, const std::string& description,
                        const HAXPFlow* flow, HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps);
};
