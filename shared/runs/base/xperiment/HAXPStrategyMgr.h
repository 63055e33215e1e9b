// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPStratDB.h"
#include "runs/base/xperiment/RunsExport.h"
#include "runs/base/xpreport/HAXRReportStratDB.h"

class HAXPFlow;
class HAXPStrategy;
class HAXRReportStrategy;

/// The registry of strategies and report strategies: where their files lie, which of
/// them hold, and how they come, change and go. Both are treated alike; what is said of
/// a strategy holds for a report strategy and the operations named after it.
///
/// An enterprise strategy is one that isn't user-defined: it comes from a directory of
/// the installation and can't be saved, deleted or altered. A user strategy is created
/// here or restored from a user's directory, and every change in it goes to its file at
/// once. An internal one is the private copy that a run holds: it is in no list, but a
/// change in it is saved too. Names are unique within a flow.
///
/// Registered strategies belong to the manager, which destroys one that is deleted or
/// dropped, but none at its own end: they live as long as the process. Files are
/// replaced as a whole: after a crash there is the old one or the new one.
///
/// A file that can't be saved is an HXMLException: the change in memory stays and the
/// old file is as it was. Without a flow or strategy, look-up gives null, 0, false or
/// an empty iterator, and what makes or changes one throws. Takes no lock: all of it
/// belongs to one thread at a time.
class RUNS_API HAXPStrategyMgr : public HAXPStratDB, public HAXRReportStratDB {
public:
    HAXPStrategyMgr();
    /// Leaves the strategies alone.
    ~HAXPStrategyMgr() override;

    using HAXPStratDB::strategyModifiedCallback;
    using HAXRReportStratDB::strategyModifiedCallback;

    /// The one of the process, made at the first call and never destroyed.
    static HAXPStrategyMgr* getGlobal();

    /// The strategies of `flow` in order of registration, good until they change; null
    /// without one.
    const HSTVector<HAXPStrategy*>* getStratVec(const HAXPFlow* flow) const;
    int strategyCount(const HAXPFlow* flow) const;
    /// The same as they are now. The caller deletes the iterator.
    HSTFwdIter<HAXPStrategy*>* createStrategyIter(const HAXPFlow* flow) const;

    /// The first of the flow with exactly this name, null without one.
    HAXPStrategy* findStrategy(const HAXPFlow* flow, const std::string& name) const;
    bool isUniqueStrategyName(const HAXPFlow* flow, const std::string& name) const;
    /// Whether a registered strategy of the flow has the same name and doesn't differ.
    bool hasEquivalentStrategy(HAXPStrategy* strategy) const;

    /// Takes the strategy over as the last of its flow, and is told of its changes.
    /// @throws HEXDataException the name is taken; the caller keeps the strategy.
    void registerStrategy(HAXPStrategy* ownedStrategy);
    /// Makes the strategy internal and is told of its changes. The caller keeps it.
    void registerInternalStrategy(HAXPStrategy* strategy);

    /// A new user strategy with the flow's default steps, registered and saved.
    /// @throws HEXDataException the name is taken; nothing is made.
    /// @throws HXMLException it can't be saved; nothing is made.
    HAXPStrategy* createStrategy(const HAXPFlow* flow, const std::string& name);

    /// An internal copy under the same name, so far as the step filter lets its steps
    /// in. The caller owns it.
    HAXPStrategy* createInternalStrategy(const HAXPStrategy* source);

    /// A user strategy like `source`, be that an enterprise one, registered and saved.
    /// @throws as createStrategy().
    HAXPStrategy* copyStrategy(const HAXPStrategy* source, const std::string& name);

    /// Gives the strategy another name and another file. The old file is kept aside
    /// until the new one is on disk and comes back when that fails; a crash leaves it
    /// for the next restore. Of an enterprise strategy the file goes first; then it is
    /// renamed and refused.
    /// @throws HEXDataException its present name isn't registered, or the new one is
    /// taken, be it its own; nothing changes.
    void renameStrategy(HAXPStrategy* strategy, const std::string& name);

    /// Unregisters the strategy, removes its file and destroys it. Others that were read
    /// from the file get files of their own; one that nobody could read to its end is
    /// copied first.
    /// @throws HEXAlgException an enterprise or unregistered strategy; it stays.
    /// @throws HXMLException what else is in the file can't be saved; it stays.
    void deleteStrategy(HAXPStrategy* strategy);

    /// Writes the strategy to its file, or to a new one in the personal directory:
    /// "<name>.<flow id>.psg", with "_2", "_3" ... behind the name when that is there.
    /// A file that another version wrote, or of which something was dropped, is copied
    /// to "<file>.bak-<version>" before it is first written, and others that were read
    /// from it get files of their own.
    /// @throws HEXAlgException an enterprise strategy.
    void saveStrat(HAXPStrategy* strategy);

    /// Restores what there is, in this order: the installation, the roots of the
    /// application, the user's directory for this version, those of earlier versions,
    /// and the user's for all versions. Of two of one flow and name the first stays, so
    /// that an enterprise strategy wins against a user's. Without a folder for the user
    /// only the installation is read.
    /// `extension` is that of the files, without a dot.
    ///
    /// The product "tarnel" then reads the report catalogue, if asked, and restores the
    /// report strategies; another gets the two that runs expect, without reports.
    /// @throws HEXFileNotFoundException, HXMLException the report catalogue can't be
    /// read; all strategies are restored by then, and no report strategies.
    void restoreAllStrategies(const std::string& extension, bool parseReportSpecs);

    /// Restores the files of a directory; one that is missing has none, and one that
    /// can't be listed gives a message. A file that can't be read gives a message and keeps what
    /// was finished before; a second strategy of one flow and name is dropped, with a message
    /// unless the directory was restored before.
    void restoreStrategies(const std::string& dir, const std::string& extension, bool userDefined);
    /// The user's strategies of earlier versions, the last directory first.
    void restorePreviousReleaseStrategies(const std::string& extension);

    /// Makes `dirs` the user's folders of versions from 2019 on that are older than the
    /// running one, in the order that the host gives.
    void getPreviousDataDirs(std::vector<std::string>& dirs) const;

    /// Report strategies, with the operations of strategies.
    const HSTVector<HAXRReportStrategy*>* getReportStratVec(const HAXPFlow* flow) const;
    int reportStrategyCount(const HAXPFlow* flow) const;
    HSTFwdIter<HAXRReportStrategy*>* createReportStrategyIter(const HAXPFlow* flow) const;
    HAXRReportStrategy* findReportStrategy(const HAXPFlow* flow, const std::string& name) const;
    bool isUniqueReportStrategyName(const HAXPFlow* flow, const std::string& name) const;
    bool hasEquivalentReportStrategy(HAXRReportStrategy* strategy) const;
    void registerReportStrategy(HAXRReportStrategy* ownedStrategy);
    void registerInternalReportStrategy(HAXRReportStrategy* strategy);
    HAXRReportStrategy* createReportStrategy(const HAXPFlow* flow, const std::string& name);
    HAXRReportStrategy* createInternalReportStrategy(const HAXRReportStrategy* source);
    HAXRReportStrategy* copyReportStrategy(const HAXRReportStrategy* source,
                                           const std::string& name);
    void renameReportStrategy(HAXRReportStrategy* strategy, const std::string& name);
    void deleteReportStrategy(HAXRReportStrategy* strategy);
    void saveReportStrat(HAXRReportStrategy* strategy);
    void restoreAllReportStrategies(const std::string& extension);
    void restoreReportStrategies(const std::string& dir, const std::string& extension,
                                 bool userDefined);
    void restorePreviousReleaseReportStrategies(const std::string& extension);
    std::string getGlobalReportStratDir();
    std::string getReleaseReportStratDir();
    std::string getPersonalReportStratDir();
    std::string getUserGlobalReportStratDir();

    /// Which directories were restored, by exactly this text.
    void addToParsedPaths(const std::string& dir);
    bool isAlreadyParsed(const std::string& dir) const;

    /// The directories, found out once. The user's are made when first asked for; that
    /// of a release is relative to each root of the application.
    /// @throws HEXDataException the installation has no folder for the user.
    std::string getGlobalStratDir();
    std::string getReleaseStratDir();
    std::string getPersonalStratDir();
    std::string getUserGlobalStratDir();

protected:
    /// Saves the strategy, found by the name that it has now.
    void strategyModifiedCallback_(HAXPStrategy* strategy) override;
    void strategyModifiedCallback_(HAXRReportStrategy* strategy) override;

    /// Registers "Tarnel Synthesis Default Reports" and "Tarnel Implementation Default
    /// Reports" for the default flows of their types; a flow that isn't set and one that
    /// has its own already are passed over.
    void registerDummyReportStrategy_();

private:
    struct Data;

    static HAXPStrategyMgr* sp_theGlobal;

    std::unique_ptr<Data> m_data;
};
