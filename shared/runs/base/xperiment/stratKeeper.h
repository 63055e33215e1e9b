// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/stratFiles.h"
#include "runs/base/xperiment/stratRegistry.h"

namespace xperiment {

/// What was read of a file.
template <class Owned> struct StratFile {
    /// Those that were finished, before a fault if there is one.
    std::vector<Owned> strategies;
    /// Reading ended at a fault.
    bool isBroken = false;
    /// Saving a strategy would lose something of the file.
    bool isForeign = false;
    /// That of the tool that wrote it.
    std::string version;
};

/// What the strategy manager does with one kind of strategy: its registry, its
/// directories and its files. HAXPStrategyMgr.h says what each operation does.
///
/// `Kind` says what the kinds differ in:
///
///     Strategy, Database              the classes
///     Owned                           a unique_ptr that destroys a strategy rightly
///     FlowMap<T>                      a map from flows to T
///     kFolder, kSaveRefused, ...      names and texts
///     read(path)                      what a StratFile tells of a file, whatever is
///                                     wrong with it
///     write, writeNew                 save a strategy; a new file's name must be free
///     sendDuplicate                   the message about a second one of a name
///     copy                            fills a new strategy from another
///     markModified                    what a user's strategy needs that is new here
template <class Kind> class StratKeeper {
public:
    using Strategy = typename Kind::Strategy;
    using Strategies = HSTVector<Strategy*>;

    using Owned = typename Kind::Owned;

    /// `parsedPaths` are the directories restored so far.
    StratKeeper(typename Kind::Database& database, std::set<std::string>& parsedPaths)
        : m_database(database), m_parsedPaths(parsedPaths) {}

    StratFolders& folders() { return m_folders; }

    const Strategies* list(const HAXPFlow* flow) const { return m_registry.find(flow); }

    HSTFwdIter<Strategy*>* createIter(const HAXPFlow* flow) const {
        const Strategies* const strategies = list(flow);
        return containers::heapIterOfCopy<Strategy*>(strategies == nullptr ? Strategies()
                                                                           : *strategies);
    }

    Strategy* find(const HAXPFlow* flow, const std::string& name) const {
        return m_registry.find(flow, name);
    }

    bool hasEquivalent(Strategy* strategy) const {
        return strategy != nullptr && strategy->getFlow() != nullptr &&
               m_registry.any(strategy->getFlow(), strategy->getName(), [&](Strategy& namesake) {
                   return !namesake.differsFrom(strategy, false);
               });
    }

    void add(Strategy* strategy) {
        if (strategy == nullptr)
            throw HEXAlgException(Kind::kRegisterNull);
        if (find(strategy->getFlow(), strategy->getName()) != nullptr)
            throw HEXDataException(Kind::kNotUnique);
        enter_(strategy);
    }

    void addInternal(Strategy* strategy) {
        if (strategy == nullptr)
            throw HEXAlgException(Kind::kRegisterNull);
        strategy->setInternal(true);
        strategy->attach(&m_database);
    }

    Strategy* create(const HAXPFlow* flow, const std::string& name) {
        if (flow == nullptr)
            throw HEXAlgException(Kind::kNoFlow);
        Owned strategy(new Strategy(flow));
        strategy->setName(name);
        return admit_(std::move(strategy));
    }

    Strategy* createInternal(const Strategy* source) {
        requireSource_(source);
        Owned strategy(new Strategy(source->getFlow()));
        Kind::copy(*strategy, *source);
        addInternal(strategy.get());
        return strategy.release();
    }

    Strategy* copy(const Strategy* source, const std::string& name) {
        requireSource_(source);
        Owned strategy(new Strategy(nullptr));
        Kind::copy(*strategy, *source);
        strategy->setName(name);
        return admit_(std::move(strategy));
    }

    void rename(Strategy* strategy, const std::string& name) {
        if (strategy == nullptr || find(strategy->getFlow(), strategy->getName()) == nullptr)
            throw HEXDataException(Kind::kRenameUnregistered);
        if (find(strategy->getFlow(), name) != nullptr)
            throw HEXDataException(Kind::kNotUnique);
        if (strategy->isUserDefined())
            renameUsers_(*strategy, name);
        else
            renameEnterprises_(*strategy, name);
    }

    void remove(Strategy* strategy) {
        if (strategy == nullptr)
            throw HEXAlgException(Kind::kDeleteNull);
        if (!strategy->isUserDefined())
            throw HEXAlgException(Kind::kDeleteRefused);
        if (list(strategy->getFlow()) == nullptr)
            throw HEXAlgException(Kind::kDeleteNoList);
        if (!m_registry.has(strategy->getFlow(), strategy))
            throw HEXAlgException(Kind::kDeleteUnregistered);
        takeFile_(*strategy);
        m_backups.leave(strategy->getFilename());
        m_registry.remove(strategy->getFlow(), strategy);
        HUTFile(strategy->getFilename()).rm();
        Owned(strategy).reset();
    }

    void save(Strategy* strategy) {
        if (strategy == nullptr)
            throw HEXAlgException(Kind::kSaveNull);
        if (!strategy->isUserDefined())
            throw HEXAlgException(Kind::kSaveRefused);
        if (strategy->getFilename().empty()) {
            saveNew_(*strategy);
            return;
        }
        m_backups.keep(strategy->getFilename());
        takeFile_(*strategy);
        Kind::write(*strategy, strategy->getFilename());
    }

    void modified(Strategy* strategy) {
        m_registry.rekey(strategy);
        save(strategy);
    }

    void restore(const std::string& dir, const std::string& extension, bool userDefined) {
        if (dir.empty() || !HUTFile::exists(dir))
            return;
        tellUnreadableFolder(dir);
        const std::unique_ptr<HSTFwdIter<HUTFile>> files(HUTFile(dir).createFileIter());
        while (files->hasNext()) {
            const HUTFile file = files->next();
            std::string text;
            file.getExt(text);
            if (text != extension)
                continue;
            file.getFullPath(text);
            restoreFile_(dir, userDefined ? AsideFile::recovered(text) : text, userDefined);
        }
        m_parsedPaths.insert(dir);
    }

    void restorePreviousReleases(const std::string& extension) {
        std::vector<std::string> dirs;
        findPreviousDataDirs(dirs);
        for (auto dir = dirs.rbegin(); dir != dirs.rend(); ++dir) {
            const std::string path = *dir + HUTFile::getDirSeparator() + Kind::kFolder;
            if (HUTFile::exists(path))
                restore(path, extension, true);
        }
    }

    void restoreAll(const std::string& extension) {
        restore(m_folders.global(), extension, false);
        for (const std::string& root : HUTEnv::getKPXAppRootList())
            restore(root + HUTFile::getDirSeparator() + m_folders.release(), extension, false);
        if (!hasUserFolder())
            return;
        restore(m_folders.personal(), extension, true);
        restorePreviousReleases(extension);
        restore(m_folders.userGlobal(), extension, true);
    }

private:
    void enter_(Strategy* strategy) {
        m_registry.add(strategy);
        strategy->attach(&m_database);
    }

    static void requireSource_(const Strategy* source) {
        if (source == nullptr)
            throw HEXAlgException("can't copy null strategy");
    }

    /// Registers and saves a new strategy; it is gone again when it can't be saved.
    Strategy* admit_(Owned owned) {
        Kind::markModified(*owned);
        add(owned.get());
        try {
            save(owned.get());
        } catch (...) {
            m_registry.remove(owned->getFlow(), owned.get());
            throw;
        }
        owned->attach(&m_database);
        return owned.release();
    }

    /// The old file goes aside until the new one is on disk, and comes back when none
    /// was saved.
    void renameUsers_(Strategy& strategy, const std::string& name) {
        const std::string filename = strategy.getFilename();
        m_backups.keep(filename);
        takeFile_(strategy);
        AsideFile old(filename);
        strategy.setFilename("");
        try {
            strategy.setName(name);
        } catch (...) {
            takeBack_(strategy, filename, old);
            throw;
        }
        if (strategy.getFilename().empty())
            takeBack_(strategy, filename, old);
        else
            old.remove();
    }

    static void takeBack_(Strategy& strategy, const std::string& filename, AsideFile& old) {
        old.putBack();
        strategy.setFilename(filename);
    }

    /// Its change can't be saved, which is told when the file is gone already.
    void renameEnterprises_(Strategy& strategy, const std::string& name) {
        HUTFile(strategy.getFilename()).rm();
        strategy.setFilename("");
        strategy.setName(name);
    }

    /// Makes the strategy the only one of its file, before that is written or removed:
    /// others that were read from it get files of their own.
    void takeFile_(const Strategy& strategy) {
        const auto found = m_sharers.find(strategy.getFilename());
        if (found == m_sharers.end())
            return;
        Strategies& sharers = found->second;
        while (!sharers.empty()) {
            if (sharers.back() != &strategy)
                moveOut_(*sharers.back());
            sharers.pop_back();
        }
        m_sharers.erase(found);
    }

    void moveOut_(Strategy& strategy) {
        const std::string filename = strategy.getFilename();
        strategy.setFilename("");
        try {
            saveNew_(strategy);
        } catch (...) {
            strategy.setFilename(filename);
            throw;
        }
    }

    /// Saves it under the first free name in the personal directory.
    void saveNew_(Strategy& strategy) {
        if (strategy.getFlow() == nullptr)
            throw HEXAlgException(Kind::kNoFlow);
        const std::string& flowId = strategy.getFlow()->getFlowId();
        for (int number = 1;; ++number) {
            const std::string path =
                strategyPath(m_folders.personal(), strategy.getName(), flowId, number);
            if (HUTFile::exists(path) || !Kind::writeNew(strategy, path))
                continue;
            strategy.setFilename(path);
            return;
        }
    }

    void restoreFile_(const std::string& dir, const std::string& path, bool userDefined) {
        StratFile<Owned> file = Kind::read(path);
        Strategies registered;
        for (Owned& strategy : file.strategies) {
            strategy->setFilename(path);
            if (userDefined)
                Kind::markModified(*strategy);
            else
                strategy->setUserDefined(false);
            const Strategy* const first = find(strategy->getFlow(), strategy->getName());
            if (first == nullptr) {
                enter_(strategy.get());
                registered.push_back(strategy.release());
                continue;
            }
            if (m_parsedPaths.count(dir) == 0)
                Kind::sendDuplicate(userDefined ? "User" : "Tool", strategy->getName(), path,
                                    first->getFilename());
        }
        if (!userDefined || registered.empty())
            return;
        if (file.isForeign || file.isBroken)
            m_backups.note(path, file.version, file.isBroken);
        if (registered.size() > 1)
            m_sharers[path] = registered;
    }

    typename Kind::Database& m_database;
    std::set<std::string>& m_parsedPaths;
    StratFolders m_folders{Kind::kFolder};
    StratRegistry<Strategy, Kind::template FlowMap> m_registry;
    StratBackups m_backups;
    /// The strategies of each file that more than one was read from.
    std::unordered_map<std::string, Strategies> m_sharers;
};

}  // namespace xperiment
