// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

/// Where strategy files lie, and what is done so that none is lost. Strategies and
/// report strategies share it.
namespace xperiment {

/// The four directories of one kind of strategy, each found out once. Those of the
/// user are made when they are first asked for.
class StratFolders {
public:
    /// `name` is that of the directories, such as "strategies".
    explicit StratFolders(const std::string& name) : m_name(name) {}

    const std::string& global();
    /// Relative to each root of the application.
    const std::string& release();
    /// @throws HEXDataException the installation has no folder for the user, here and
    /// in userGlobal().
    const std::string& personal();
    const std::string& userGlobal();

private:
    std::string m_name;
    std::string m_global;
    std::string m_release;
    std::string m_personal;
    std::string m_userGlobal;
};

/// Whether the installation has a folder for what belongs to the user.
bool hasUserFolder();

/// Makes `dirs` the personal folders of versions from 2019 on that are older than the
/// running one, in the order that the directory gives.
void findPreviousDataDirs(std::vector<std::string>& dirs);

/// The `number`-th path to try for a new file, from 1: "N.F.psg", "N_2.F.psg", ...
std::string strategyPath(const std::string& folder, const std::string& name,
                         const std::string& flowId, int number);

/// Says in a message that the entries of `folder`, which is there, can't be listed; silent
/// when they can.
void tellUnreadableFolder(const std::string& folder);

/// Files that are copied before they are first written again, as saving loses
/// something of them.
class StratBackups {
public:
    /// Notes that `path` is to be kept as that of `version`; with `isBroken` also when
    /// it is removed, as it holds what nobody could read.
    void note(const std::string& path, const std::string& version, bool isBroken) {
        m_notes[path] = {version, isBroken};
    }

    /// Forgets a file that is about to be removed, a broken one once it was kept.
    /// @throws as keep().
    void leave(const std::string& path);

    /// Copies the file, if that was noted, to "<path>.bak-<version>" or, when that is
    /// there, to a numbered name, and says so in a message.
    /// @throws HXMLException it can't be copied; nothing has changed.
    void keep(const std::string& path);

private:
    struct Note {
        std::string version;
        bool isBroken = false;
    };
    std::unordered_map<std::string, Note> m_notes;
};

/// A file that goes aside, under a hidden name that a restore reads, until what
/// replaces it under another name is on disk. A file that can't be moved stays where
/// it is meanwhile.
class AsideFile {
public:
    explicit AsideFile(const std::string& path);

    /// Brings it back, unless another has taken its place.
    void putBack();
    /// Removes it for good.
    void remove();

    /// The path under which a restore should know the file `path`: one that a crash left
    /// aside is put back first, if its place is free.
    static std::string recovered(const std::string& path);

private:
    std::string m_path;
    /// Empty when the file wasn't moved.
    std::string m_aside;
};

}  // namespace xperiment
