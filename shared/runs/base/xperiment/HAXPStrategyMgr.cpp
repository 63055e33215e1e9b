// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStrategyMgr.h"

#include <exception>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <unordered_map>

#include <boost/logic/tribool.hpp>

#include "environment/messages/ComMsgMgr.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/stratKeeper.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLWriter1.h"
#include "runs/base/xpreport/documentRules.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"

namespace {

void sendReadError(const std::string& path, int line, const std::string& reason) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "project", ComMsgMgr::kError, "@1-126@%s%d%s",
                             path, line, reason);
}

struct StrategyKind {
    using Strategy = HAXPStrategy;
    using Database = HAXPStratDB;
    using Owned = std::unique_ptr<Strategy>;
    template <class T> using FlowMap = std::unordered_map<const HAXPFlow*, T>;

    static constexpr char kFolder[] = "strategies";
    static constexpr char kSaveRefused[] = "Can't save changes to an enterprise strategy";
    static constexpr char kSaveNull[] = "can't save null strategy";
    static constexpr char kNoFlow[] = "a strategy needs a flow";
    static constexpr char kRegisterNull[] = "can't register null strategy";
    static constexpr char kNotUnique[] = "non-unique strategy name";
    static constexpr char kRenameUnregistered[] = "can't rename unregistered strategy";
    static constexpr char kDeleteNull[] = "can't delete null strategy";
    static constexpr char kDeleteRefused[] = "can't delete an enterprise strategy!";
    static constexpr char kDeleteNoList[] = "no strategies registered for this flow";
    static constexpr char kDeleteUnregistered[] = "can't delete unregistered strategy";

    static xperiment::StratFile<Owned> read(const std::string& path);

    static void write(Strategy& strategy, const std::string& path) {
        HAXSStrategyXMLWriter(path).writeStrategy(&strategy);
    }
    static bool writeNew(Strategy& strategy, const std::string& path) {
        return HAXSStrategyXMLWriter(path).writeNewStrategy(&strategy);
    }

    static void sendDuplicate(const std::string& owner, const std::string& name,
                              const std::string& path, const std::string& first) {
        ComMsgMgr::sendMsg::eval(4, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-547@%s%s%s%s", owner, name, path, first);
    }

    static void copy(Strategy& strategy, const Strategy& source) {
        strategy.copyStrat(&source, false, boost::logic::indeterminate);
    }
    static void markModified(Strategy&) {}
};

xperiment::StratFile<StrategyKind::Owned> StrategyKind::read(const std::string& path) {
    xperiment::StratFile<Owned> file;
    file.isBroken = true;
    HAXSStrategyXMLParser parser;
    try {
        file.isBroken = !parser.parseStrategies(path);
    } catch (const std::exception&) {
        // All else is told by the parser itself.
        sendReadError(path, parser.getLine(), "the version of the tool is no number");
    }
    const std::unique_ptr<HSTFwdIter<HAXPStrategy*>> finished(parser.createStrategyIter());
    while (finished->hasNext())
        file.strategies.emplace_back(finished->next());
    file.isForeign = parser.needsBackup();
    file.version = parser.getWriterVersion();
    return file;
}

struct ReportStrategyKind {
    using Strategy = HAXRReportStrategy;
    using Database = HAXRReportStratDB;
    /// The reports of a strategy don't go with it by themselves.
    struct Destroy {
        void operator()(Strategy* strategy) const {
            strategy->nukeSteps();
            delete strategy;
        }
    };
    using Owned = std::unique_ptr<Strategy, Destroy>;
    template <class T> using FlowMap = std::map<const HAXPFlow*, T>;

    static constexpr char kFolder[] = "reportstrategies";
    static constexpr char kSaveRefused[] = "Can't save changes to an enterprise report strategy";
    static constexpr char kSaveNull[] = "can't save null report strategy";
    static constexpr char kNoFlow[] = "a report strategy needs a flow";
    static constexpr char kRegisterNull[] = "can't register null report strategy";
    static constexpr char kNotUnique[] = "non-unique report strategy name";
    static constexpr char kRenameUnregistered[] = "can't rename unregistered report strategy";
    static constexpr char kDeleteNull[] = "can't delete null report strategy";
    static constexpr char kDeleteRefused[] = "can't delete an enterprise report strategy!";
    static constexpr char kDeleteNoList[] = "no report strategies registered for this flow";
    static constexpr char kDeleteUnregistered[] = "can't delete unregistered report strategy";

    static xperiment::StratFile<Owned> read(const std::string& path);

    static void write(Strategy& strategy, const std::string& path) {
        HAXRReportStrategyXMLWriter1(path).writeReportStrategy(&strategy);
    }
    static bool writeNew(Strategy& strategy, const std::string& path) {
        return HAXRReportStrategyXMLWriter1(path).writeNewReportStrategy(&strategy);
    }

    static void sendDuplicate(const std::string& owner, const std::string& name,
                              const std::string& path, const std::string& first) {
        ComMsgMgr::sendMsg::eval(4, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-546@%s%s%s%s", owner, name, path, first);
    }

    static void copy(Strategy& strategy, const Strategy& source) { strategy.copyStrat(&source); }
    static void markModified(Strategy& strategy) { strategy.setModified(); }
};

xperiment::StratFile<ReportStrategyKind::Owned> ReportStrategyKind::read(const std::string& path) {
    xperiment::StratFile<Owned> file;
    file.isBroken = true;
    HAXRReportStrategyXMLParser1 parser;
    try {
        parser.parseStrategies(path);
        file.isBroken = false;
    } catch (const xpreport::ReadFailure& error) {
        sendReadError(path, error.getLine(), error.getReason());
    } catch (const std::logic_error&) {
        sendReadError(path, parser.getLine(), "the version of the tool is no number");
    } catch (const std::exception& error) {
        sendReadError(path, parser.getLine(), error.what());
    }
    const std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>> finished(parser.createStrategyIter());
    while (finished->hasNext())
        file.strategies.emplace_back(finished->next());
    file.isForeign = parser.needsBackup();
    file.version = parser.getWriterVersion();
    return file;
}

}  // namespace

struct HAXPStrategyMgr::Data {
    explicit Data(HAXPStrategyMgr& manager)
        : strategies(manager, parsedPaths), reports(manager, parsedPaths) {}

    std::set<std::string> parsedPaths;
    xperiment::StratKeeper<StrategyKind> strategies;
    xperiment::StratKeeper<ReportStrategyKind> reports;
};

HAXPStrategyMgr* HAXPStrategyMgr::sp_theGlobal = nullptr;

HAXPStrategyMgr::HAXPStrategyMgr() : m_data(std::make_unique<Data>(*this)) {}

HAXPStrategyMgr::~HAXPStrategyMgr() = default;

HAXPStrategyMgr* HAXPStrategyMgr::getGlobal() {
    if (sp_theGlobal == nullptr)
        sp_theGlobal = new HAXPStrategyMgr;
    return sp_theGlobal;
}

const HSTVector<HAXPStrategy*>* HAXPStrategyMgr::getStratVec(const HAXPFlow* flow) const {
    return m_data->strategies.list(flow);
}

int HAXPStrategyMgr::strategyCount(const HAXPFlow* flow) const {
    const HSTVector<HAXPStrategy*>* const strategies = getStratVec(flow);
    return strategies == nullptr ? 0 : static_cast<int>(strategies->size());
}

HSTFwdIter<HAXPStrategy*>* HAXPStrategyMgr::createStrategyIter(const HAXPFlow* flow) const {
    return m_data->strategies.createIter(flow);
}

HAXPStrategy* HAXPStrategyMgr::findStrategy(const HAXPFlow* flow, const std::string& name) const {
    return m_data->strategies.find(flow, name);
}

bool HAXPStrategyMgr::isUniqueStrategyName(const HAXPFlow* flow, const std::string& name) const {
    return findStrategy(flow, name) == nullptr;
}

bool HAXPStrategyMgr::hasEquivalentStrategy(HAXPStrategy* strategy) const {
    return m_data->strategies.hasEquivalent(strategy);
}

void HAXPStrategyMgr::registerStrategy(HAXPStrategy* ownedStrategy) {
    m_data->strategies.add(ownedStrategy);
}

void HAXPStrategyMgr::registerInternalStrategy(HAXPStrategy* strategy) {
    m_data->strategies.addInternal(strategy);
}

HAXPStrategy* HAXPStrategyMgr::createStrategy(const HAXPFlow* flow, const std::string& name) {
    return m_data->strategies.create(flow, name);
}

HAXPStrategy* HAXPStrategyMgr::createInternalStrategy(const HAXPStrategy* source) {
    return m_data->strategies.createInternal(source);
}

HAXPStrategy* HAXPStrategyMgr::copyStrategy(const HAXPStrategy* source, const std::string& name) {
    return m_data->strategies.copy(source, name);
}

void HAXPStrategyMgr::renameStrategy(HAXPStrategy* strategy, const std::string& name) {
    m_data->strategies.rename(strategy, name);
}

void HAXPStrategyMgr::deleteStrategy(HAXPStrategy* strategy) {
    m_data->strategies.remove(strategy);
}

void HAXPStrategyMgr::saveStrat(HAXPStrategy* strategy) {
    m_data->strategies.save(strategy);
}

void HAXPStrategyMgr::restoreAllStrategies(const std::string& extension, bool parseReportSpecs) {
    m_data->strategies.restoreAll(extension);
    if (!HSTStringUtils::iequals(HUTEnv::getProductName(), "tarnel")) {
        registerDummyReportStrategy_();
        return;
    }
    if (parseReportSpecs)
        HAXRReportSpecMgr::getGlobal()->parseReportSpecs();
    restoreAllReportStrategies(extension);
}

void HAXPStrategyMgr::restoreStrategies(const std::string& dir, const std::string& extension,
                                        bool userDefined) {
    m_data->strategies.restore(dir, extension, userDefined);
}

void HAXPStrategyMgr::restorePreviousReleaseStrategies(const std::string& extension) {
    m_data->strategies.restorePreviousReleases(extension);
}

void HAXPStrategyMgr::getPreviousDataDirs(std::vector<std::string>& dirs) const {
    xperiment::findPreviousDataDirs(dirs);
}

const HSTVector<HAXRReportStrategy*>*
HAXPStrategyMgr::getReportStratVec(const HAXPFlow* flow) const {
    return m_data->reports.list(flow);
}

int HAXPStrategyMgr::reportStrategyCount(const HAXPFlow* flow) const {
    const HSTVector<HAXRReportStrategy*>* const strategies = getReportStratVec(flow);
    return strategies == nullptr ? 0 : static_cast<int>(strategies->size());
}

HSTFwdIter<HAXRReportStrategy*>*
HAXPStrategyMgr::createReportStrategyIter(const HAXPFlow* flow) const {
    return m_data->reports.createIter(flow);
}

HAXRReportStrategy* HAXPStrategyMgr::findReportStrategy(const HAXPFlow* flow,
                                                        const std::string& name) const {
    return m_data->reports.find(flow, name);
}

bool HAXPStrategyMgr::isUniqueReportStrategyName(const HAXPFlow* flow,
                                                 const std::string& name) const {
    return findReportStrategy(flow, name) == nullptr;
}

bool HAXPStrategyMgr::hasEquivalentReportStrategy(HAXRReportStrategy* strategy) const {
    return m_data->reports.hasEquivalent(strategy);
}

void HAXPStrategyMgr::registerReportStrategy(HAXRReportStrategy* ownedStrategy) {
    m_data->reports.add(ownedStrategy);
}

void HAXPStrategyMgr::registerInternalReportStrategy(HAXRReportStrategy* strategy) {
    m_data->reports.addInternal(strategy);
}

HAXRReportStrategy* HAXPStrategyMgr::createReportStrategy(const HAXPFlow* flow,
                                                          const std::string& name) {
    return m_data->reports.create(flow, name);
}

HAXRReportStrategy*
HAXPStrategyMgr::createInternalReportStrategy(const HAXRReportStrategy* source) {
    return m_data->reports.createInternal(source);
}

HAXRReportStrategy* HAXPStrategyMgr::copyReportStrategy(const HAXRReportStrategy* source,
                                                        const std::string& name) {
    return m_data->reports.copy(source, name);
}

void HAXPStrategyMgr::renameReportStrategy(HAXRReportStrategy* strategy, const std::string& name) {
    m_data->reports.rename(strategy, name);
}

void HAXPStrategyMgr::deleteReportStrategy(HAXRReportStrategy* strategy) {
    m_data->reports.remove(strategy);
}

void HAXPStrategyMgr::saveReportStrat(HAXRReportStrategy* strategy) {
    m_data->reports.save(strategy);
}

void HAXPStrategyMgr::restoreAllReportStrategies(const std::string& extension) {
    m_data->reports.restoreAll(extension);
}

void HAXPStrategyMgr::restoreReportStrategies(const std::string& dir, const std::string& extension,
                                              bool userDefined) {
    m_data->reports.restore(dir, extension, userDefined);
}

void HAXPStrategyMgr::restorePreviousReleaseReportStrategies(const std::string& extension) {
    m_data->reports.restorePreviousReleases(extension);
}

std::string HAXPStrategyMgr::getGlobalReportStratDir() {
    return m_data->reports.folders().global();
}

std::string HAXPStrategyMgr::getReleaseReportStratDir() {
    return m_data->reports.folders().release();
}

std::string HAXPStrategyMgr::getPersonalReportStratDir() {
    return m_data->reports.folders().personal();
}

std::string HAXPStrategyMgr::getUserGlobalReportStratDir() {
    return m_data->reports.folders().userGlobal();
}

void HAXPStrategyMgr::addToParsedPaths(const std::string& dir) {
    m_data->parsedPaths.insert(dir);
}

bool HAXPStrategyMgr::isAlreadyParsed(const std::string& dir) const {
    return m_data->parsedPaths.count(dir) != 0;
}

std::string HAXPStrategyMgr::getGlobalStratDir() {
    return m_data->strategies.folders().global();
}

std::string HAXPStrategyMgr::getReleaseStratDir() {
    return m_data->strategies.folders().release();
}

std::string HAXPStrategyMgr::getPersonalStratDir() {
    return m_data->strategies.folders().personal();
}

std::string HAXPStrategyMgr::getUserGlobalStratDir() {
    return m_data->strategies.folders().userGlobal();
}

void HAXPStrategyMgr::strategyModifiedCallback_(HAXPStrategy* strategy) {
    m_data->strategies.modified(strategy);
}

void HAXPStrategyMgr::strategyModifiedCallback_(HAXRReportStrategy* strategy) {
    m_data->reports.modified(strategy);
}

void HAXPStrategyMgr::registerDummyReportStrategy_() {
    const auto addDummy = [this](HAXPTypes::FlowType type, const char* name) {
        const HAXPFlow* const flow = HAXPMgr::getGlobal()->getDefaultFlow(type);
        if (flow == nullptr || !isUniqueReportStrategyName(flow, name))
            return;
        ReportStrategyKind::Owned strategy(new HAXRReportStrategy(flow));
        strategy->setUserDefined(false);
        strategy->setName(name);
        registerReportStrategy(strategy.get());
        static_cast<void>(strategy.release());
    };
    addDummy(HAXPTypes::FLOW_SYNTH, "Tarnel Synthesis Default Reports");
    addDummy(HAXPTypes::FLOW_ENTIRE_DESIGN, "Tarnel Implementation Default Reports");
}
