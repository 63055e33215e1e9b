// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/xml/HXMLParserBase.h"
#include "runs/base/xperiment/RunsExport.h"

class HATAttrSpec;
class HAXPFlowStepOptions;
class HAXPStrategy;

/// Reads a strategy file into new strategies over the flows of the catalogue.
///
/// A strategy starts as its flow's default steps at default values; the file then
/// says what differs. A step that isn't among the flow's default steps is passed
/// over.
///
/// Whoever takes the finished strategies destroys them: the parser doesn't, only
/// one that was begun and not finished. A parser serves one file.
class RUNS_API HAXSStrategyXMLParser : public HXMLParserBase {
public:
    HAXSStrategyXMLParser();
    ~HAXSStrategyXMLParser() override;

    /// Reads the file `path`. True when it was read to its end; false, with a
    /// message, when it can't be, and false without one when it names a flow that
    /// the catalogue doesn't have: getFailReasons() tells. What was finished before
    /// stays.
    /// @throws std::invalid_argument, std::out_of_range the tool version in the file
    /// is no number.
    bool parseStrategies(const std::string& path);

    int strategyCount() const { return static_cast<int>(m_finished.size()); }
    /// The finished strategies, in order of completion.
    HSTFwdIter<HAXPStrategy*>* createStrategyIter() const;
    /// The strategy, when exactly one was read; else null.
    HAXPStrategy* getOneStrategy() const;

    /// Makes `reasons` a copy of the sentences for the user that say why strategies
    /// can't be used.
    void getFailReasons(HSTVector<std::string>& reasons) const;

    /// Whether saving what was read may lose something of the file: another version
    /// of the tool or of the format wrote it, something in it was dropped, or it holds
    /// several strategies.
    bool needsBackup() const;
    /// The version of the tool that wrote the file, such as "2026.1"; "unknown" when
    /// the file doesn't say.
    std::string getWriterVersion() const;

protected:
    void startDoc_() override;
    void startElem_(const std::string& name, const CSL::XML::CAttributeList& attributes) override;
    void endElem_(const std::string& name) override;
    void chars_(const std::string& text) override;
    void whitespace_(const std::string& text) override;

    // One for each element that says something. A strategy is open, or nothing happens.

    /// Name and flow of the strategy, with the flow's default steps.
    /// @throws bool false, which parse() takes: the catalogue doesn't have the flow.
    void reStratHandle(const CSL::XML::CAttributeList& attributes);
    /// Attributes of a step; its options follow as elements of its own.
    void reStep(const CSL::XML::CAttributeList& attributes);
    /// Warns of a file that a newer tool wrote.
    /// @throws std::invalid_argument, std::out_of_range the version is no number.
    void reToolVersion(const CSL::XML::CAttributeList& attributes);

private:
    void reAttr_(HAXPFlowStepOptions& step, const std::string& name, const std::string& text);
    void reEnumAttr_(HAXPFlowStepOptions& step, const HATAttrSpec& spec, const std::string& text);
    void endDescription_();
    void endStrategy_();

    std::vector<HAXPStrategy*> m_finished;
    std::unique_ptr<HAXPStrategy> m_current;
    bool m_inDescription = false;
    /// The text of the "Desc" that is open: it may come in many pieces.
    std::string m_description;
    HSTVector<std::string> m_failReasons;
    std::string m_writerVersion;
    bool m_isOtherTool = false;
};
