// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/undo/UndoStore.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <tuple>

#include <sys/stat.h>

#include <boost/filesystem.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXAll.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/files/diskOps.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/xml/xmlDocument.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/calendarTime.h"
#include "workbench/fail.h"
#include "workbench/history/History.h"
#include "workbench/history/launchLines.h"
#include "workbench/launchDecision.h"
#include "workbench/ownFolder.h"
#include "workbench/projectFile.h"
#include "workbench/runReset.h"
#include "workbench/undo/movingDisk.h"

namespace workbench {

namespace {

constexpr char kManifest[] = "manifest.xml";
constexpr char kFiles[] = "files";
constexpr char kDirectory[] = "directory";
constexpr char kBytes[] = "bytes";
constexpr char kLimits[] = "limits.json";
constexpr char kUndoVerb[] = "undo";
constexpr std::size_t kLargestLimits = 4096;

/// Of the manifest's root; the run within is as in the project file.
namespace manifestName {
constexpr char kUndo[] = "Undo";
constexpr char kVersion[] = "Version";
constexpr char kTime[] = "Time";
constexpr char kKind[] = "Kind";
constexpr char kRun[] = "RunName";
constexpr char kFrom[] = "From";
constexpr char kKeptFiles[] = "KeptFiles";
constexpr char kRestores[] = "Restores";
constexpr char kTheRun[] = "Run";
constexpr char kSynthesis[] = "Synthesis";
}  // namespace manifestName
constexpr char kManifestFormat[] = "1";

struct UndoKindName {
    UndoRun::Kind kind;
    const char* name;
};
constexpr UndoKindName kUndoKindNames[] = {{UndoRun::kCleared, "cleared"},
                                           {UndoRun::kRemoved, "removed"},
                                           {UndoRun::kRestored, "restored"}};

std::string undoFolder(const Project& project) {
    return ownFolder(project.getDir()) + "/undo";
}

std::string pathIn(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

bool isThere(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

/// A folder itself, and no link to one: what an entry holds may be moved and removed.
bool isFolder(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

/// What an id tells: "2026-11-21", 3 and "reset".
using IdParts = std::tuple<std::string, long, std::string>;

std::optional<IdParts> partsOf(const std::string& id) {
    constexpr std::size_t kDate = 10;
    if (id.size() < kDate + 4 || id.find_first_not_of("0123456789-") < kDate || id[kDate] != '-')
        return std::nullopt;
    const std::size_t end = id.find('-', kDate + 1);
    const std::string number = id.substr(kDate + 1, end - kDate - 1);
    if (end == std::string::npos || number.empty() || number.size() > 9 ||
        number.find_first_not_of("0123456789") != std::string::npos || end + 1 == id.size())
        return std::nullopt;
    return IdParts(id.substr(0, kDate), std::strtol(number.c_str(), nullptr, 10),
                   id.substr(end + 1));
}

/// The names in a folder.
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(HUTFile(folder).createFileIter());
    while (entries->hasNext()) {
        std::string name;
        entries->next().getName(name);
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string inFolder(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

/// The ids of what looks like an entry of `project`, the last one first.
std::vector<std::string> idsOf(const Project& project) {
    const std::string folder = undoFolder(project);
    std::vector<std::pair<IdParts, std::string>> found;
    if (!isFolder(ownFolder(project.getDir())) || !isFolder(folder))
        return {};
    for (const std::string& name : namesIn(folder)) {
        const std::optional<IdParts> parts = partsOf(name);
        if (parts && isFolder(inFolder(folder, name)))
            found.emplace_back(*parts, name);
    }
    std::sort(found.rbegin(), found.rend());
    std::vector<std::string> ids;
    ids.reserve(found.size());
    for (const auto& each : found)
        ids.push_back(each.second);
    return ids;
}

std::string today() {
    return localTime(std::time(nullptr), "%Y-%m-%d");
}

/// Makes the folder of all entries; false, with errno, when it can't be, or is a link.
bool makeUndoFolder(const Project& project) {
    const std::string folder = undoFolder(project);
    errno = 0;
    if (makeOwnFolder(project.getDir()) && HUTFile(folder).mkDir() && isFolder(folder))
        return true;
    if (errno == 0)
        errno = ENOTDIR;
    return false;
}

/// A new folder for an entry, later than all others; empty, with errno, when there can't be one.
std::string makeEntry(const Project& project, const std::string& verb) {
    constexpr int kMostTries = 100;
    const std::string folder = undoFolder(project);
    if (!makeUndoFolder(project))
        return {};
    std::string date = today();
    long number = 0;
    const std::vector<std::string> ids = idsOf(project);
    if (!ids.empty()) {
        const IdParts last = *partsOf(ids.front());
        // Also when the clock was set back.
        if (std::get<0>(last) >= date) {
            date = std::get<0>(last);
            number = std::get<1>(last);
        }
    }
    for (int i = 0; i < kMostTries; ++i) {
        std::string path = fmt::format("{}/{}-{}-{}", folder, date, ++number, verb);
        if (::mkdir(path.c_str(), 0777) == 0)
            return path;
        if (errno != EEXIST)
            return {};
    }
    return {};
}

std::uint64_t bytesIn(const std::string& path) {
    namespace fs = boost::filesystem;
    std::uint64_t bytes = 0;
    boost::system::error_code failed;
    for (fs::recursive_directory_iterator entry(path, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        struct stat info {};
        if (::lstat(entry->path().c_str(), &info) == 0)
            bytes += static_cast<std::uint64_t>(info.st_size);
    }
    return bytes;
}

/// So that nobody walks through an entry to learn its size.
void noteBytes(const std::string& runFolder, std::uint64_t bytes) {
    HUTFileUtils::rewriteFile(runFolder + "/" + kBytes, std::to_string(bytes), false);
}

std::uint64_t bytesOf(const std::string& entry) {
    constexpr std::size_t kLargest = 32;
    std::uint64_t bytes = 0;
    for (const std::string& run : namesIn(entry)) {
        std::string text;
        const std::string folder = pathIn(entry, run);
        if (HUTFileUtils::readFile(pathIn(folder, kBytes), kLargest, text))
            bytes += std::strtoull(text.c_str(), nullptr, 10);
        else
            bytes += bytesIn(folder);
    }
    return bytes;
}

/// The group that is open, and the entry of each verb in it.
struct Group {
    int depth = 0;
    std::string verb;
    std::string path;
    /// Whether the entry is that of a group before, and may not be the last one any more.
    bool goesOn = false;
};

Group& group() {
    static Group s_group;
    return s_group;
}

bool isLast(const Project& project, const std::string& entry) {
    const std::vector<std::string> ids = idsOf(project);
    return !ids.empty() && entry == pathIn(undoFolder(project), ids.front());
}

/// The folder of the run in the entry that clears for `verb` now.
std::string makeRunFolder(const Project& project, const std::string& verb, const std::string& run) {
    Group& open = group();
    std::string entry = open.depth > 0 && open.verb == verb ? open.path : std::string();
    // One that kept nothing yet is gone.
    if (!isFolder(entry) || isThere(entry + "/" + run) || (open.goesOn && !isLast(project, entry)))
        entry = makeEntry(project, verb);
    if (entry.empty() || ::mkdir((entry + "/" + run).c_str(), 0777) != 0)
        return {};
    if (open.depth > 0) {
        open.verb = verb;
        open.path = entry;
        open.goesOn = false;
    }
    return entry + "/" + run;
}

/// An entry without a run is none.
void dropRunFolder(const std::string& path) {
    HUTFile(path).rmRecursive();
    ::rmdir(path.substr(0, path.rfind('/')).c_str());
}

void writeManifest(Project& project, const HAXPExpRun& run, const std::string& path,
                   const UndoRun& what) {
    std::vector<std::pair<std::string, std::string>> attributes{
        {manifestName::kVersion, kManifestFormat},
        {manifestName::kTime, std::to_string(std::time(nullptr))},
        {manifestName::kRun, what.name}};
    for (const UndoKindName& kind : kUndoKindNames) {
        if (kind.kind == what.kind)
            attributes.emplace_back(manifestName::kKind, kind.name);
    }
    if (!what.fromStep.empty())
        attributes.emplace_back(manifestName::kFrom, what.fromStep);
    if (what.keptFiles)
        attributes.emplace_back(manifestName::kKeptFiles, "true");
    if (!what.restores.empty())
        attributes.emplace_back(manifestName::kRestores, what.restores);
    ProjectFile(project).writeRunAlone(path, manifestName::kUndo, attributes, run);
}

bool readManifest(const std::string& path, UndoRun& what, long& time) {
    try {
        const xml::Document document = xml::Document::fromFile(path);
        const xml::Element& root = document.root();
        if (root.name() != manifestName::kUndo ||
            root.attribute(manifestName::kVersion) != kManifestFormat)
            return false;
        what.name = root.attribute(manifestName::kRun);
        what.fromStep = root.attribute(manifestName::kFrom);
        what.keptFiles = root.attribute(manifestName::kKeptFiles) == "true";
        what.restores = root.attribute(manifestName::kRestores);
        if (const xml::Element* run = root.child(manifestName::kTheRun))
            what.synthesis = run->attribute(manifestName::kSynthesis);
        time = std::strtol(root.attribute(manifestName::kTime).c_str(), nullptr, 10);
        for (const UndoKindName& kind : kUndoKindNames) {
            if (root.attribute(manifestName::kKind) == kind.name) {
                what.kind = kind.kind;
                return true;
            }
        }
    } catch (const HEXAll&) {
        return false;
    }
    return false;
}

/// What the entry `entry`, a path, has of `run`. False where it isn't ours: another run's, as of
/// a folder that was renamed by hand, or a link in the place of a folder.
bool readUndoRun(const std::string& entry, const std::string& run, UndoRun& what, long& time) {
    const std::string folder = entry + "/" + run;
    if (!isFolder(folder) || !readManifest(folder + "/" + kManifest, what, time) ||
        what.name != run)
        return false;
    for (const char* part : {kFiles, kDirectory}) {
        if (isThere(folder + "/" + part) && !isFolder(folder + "/" + part))
            return false;
    }
    what.isWhole = isThere(folder + "/" + kBytes);
    return true;
}

bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Whether what `kept` holds of a state isn't all gone from `dir`, or was made there anew. Of
/// `replaced`, files that a launch writes over, both may have one.
bool overlaps(const std::string& kept, const std::string& dir,
              const std::vector<std::string>& replaced) {
    for (const std::string& name : namesIn(kept)) {
        struct stat info {};
        struct stat there {};
        const std::string ours = inFolder(kept, name);
        const std::string theirs = inFolder(dir, name);
        if (::lstat(ours.c_str(), &info) != 0 || ::lstat(theirs.c_str(), &there) != 0 ||
            isSameFile(info, there) ||
            std::find(replaced.begin(), replaced.end(), name) != replaced.end())
            continue;
        const bool areFolders = S_ISDIR(info.st_mode) && S_ISDIR(there.st_mode);
        if (!areFolders || overlaps(ours, theirs, {}))
            return true;
    }
    return false;
}

/// The folder of `run` in its latest entry when that was left unfinished by somebody who was
/// killed while clearing for the same end as `what`, or with `what` whole, behind that; empty when
/// there is none. The rest of what was to be cleared belongs to it.
std::string unfinishedFolder(const Project& project, const HAXPExpRun& run, const UndoRun& what) {
    for (const std::string& id : idsOf(project)) {
        const std::string entry = undoFolder(project) + "/" + id;
        const std::string folder = entry + "/" + run.getName();
        UndoRun before;
        long ignored = 0;
        if (!isThere(folder))
            continue;
        const bool isSame = readUndoRun(entry, run.getName(), before, ignored) &&
                            before.kind == UndoRun::kCleared && before.restores == what.restores &&
                            before.fromStep == what.fromStep &&
                            before.keptFiles == what.keptFiles && before.isWhole == what.isWhole;
        // Of one that is whole what is in the directory is another state.
        const bool isApart =
            what.isWhole || !overlaps(folder + "/" + kFiles, run.getDir(), launchFiles(run));
        return isSame && isApart ? folder : std::string();
    }
    return {};
}

void tellNotKept(const std::string& run, const std::string& why) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                             "@60-215@%s%s", run, why);
}

/// Moves what is in `from` into `to`, folder by folder. What stands in the way goes, which the
/// scope around it keeps, if there is one.
void moveBack(const std::string& from, const std::string& to) {
    HUTFile(to).mkDirRecursive();
    for (const std::string& name : namesIn(from)) {
        const std::string source = pathIn(from, name);
        const std::string target = pathIn(to, name);
        struct stat info {};
        if (::lstat(source.c_str(), &info) != 0)
            continue;
        struct stat there {};
        const bool isTaken = ::lstat(target.c_str(), &there) == 0;
        if (S_ISDIR(info.st_mode) && isTaken && S_ISDIR(there.st_mode)) {
            moveBack(source, target);
            ::rmdir(source.c_str());
            continue;
        }
        const bool isFree =
            !isTaken || isSameFile(info, there) ||
            (S_ISDIR(there.st_mode) ? HUTFile(target).rmRecursive() : HUTFile(target).rm());
        if (!isFree)
            fail("@60-217@%s%s%s", source, target, std::strerror(errno));
        if (files::disk().rename(source.c_str(), target.c_str()) != 0)
            fail("@60-217@%s%s%s", source, target, std::strerror(errno));
        // Two names of one file: the rename of the one to the other does nothing.
        HUTFile(source).rm();
    }
}

/// Every launch of the run stays in the history when it goes.
void keepLaunches(Project& project, HAXPExpRun& run) {
    rememberBefore(project, run);
    LaunchLines lines;
    std::string reason;
    if (!readLaunches(run.pathOf(kLaunchesName), lines, reason) || lines.records.empty() ||
        !makeOwnFolder(project.getDir()))
        return;
    for (LaunchRecord& record : lines.records) {
        record.run = run.getName();
        addLaunch(removedLaunchesPath(project), record);
    }
}

UndoRun record(const std::string& run, UndoRun::Kind kind) {
    UndoRun what;
    what.name = run;
    what.kind = kind;
    return what;
}

/// Whether `later` came of taking back `entry`, halfway, or what had followed it: then the run
/// is again as `entry` left it.
bool tookBackWhatFollowed(const UndoEntry& later, const UndoEntry& entry) {
    const std::string& restored = later.runs.front().restores;
    const std::optional<IdParts> parts = partsOf(restored);
    return restored == entry.id ||
           (parts && std::get<2>(*parts) != kUndoVerb && *parts > *partsOf(entry.id));
}

bool namesRun(const UndoEntry& entry, const std::string& run) {
    return std::any_of(entry.runs.begin(), entry.runs.end(),
                       [&run](const UndoRun& each) { return each.name == run; });
}

}  // namespace

/// The run whose directory is being cleared.
struct UndoScope::Data {
    Project* project = nullptr;
    std::string run;
    std::string folder;
    bool isWorthIt = false;
    /// Whether somebody else began the entry.
    bool goesOn = false;
    std::unique_ptr<MovingDisk> disk;

    std::uint64_t bytes() const {
        return goesOn ? bytesIn(folder + "/" + kFiles) : disk->movedBytes();
    }

    /// The scope that is open.
    static Data*& open() {
        static Data* s_open = nullptr;
        return s_open;
    }
};

UndoScope::UndoScope(Project& project, const HAXPExpRun& run, const std::string& verb,
                     const UndoRun& what) {
    const std::string dir = run.getDir();
    if (Data::open() != nullptr || dir.empty() || !HUTFile(dir).isDir())
        return;
    auto data = std::make_unique<Data>();
    data->project = &project;
    data->run = run.getName();
    data->folder = unfinishedFolder(project, run, what);
    data->goesOn = !data->folder.empty();
    const MovingDisk::Rules rules{!what.restores.empty(), data->goesOn};
    data->isWorthIt = data->goesOn || rules.mustMove || run.getInfo().getLaunchTime() != 0;
    if (!data->goesOn && !begin_(*data, run, verb, what))
        return;
    data->disk = std::make_unique<MovingDisk>(dir, data->folder + "/" + kFiles, rules);
    m_data = std::move(data);
    Data::open() = m_data.get();
}

bool UndoScope::begin_(Data& data, const HAXPExpRun& run, const std::string& verb, UndoRun what) {
    data.folder = makeRunFolder(*data.project, verb, run.getName());
    if (data.folder.empty()) {
        tellNotKept(run.getName(), std::strerror(errno));
        return false;
    }
    what.name = run.getName();
    what.kind = UndoRun::kCleared;
    try {
        writeManifest(*data.project, run, data.folder + "/" + kManifest, what);
    } catch (const HXMLException& error) {
        dropRunFolder(data.folder);
        tellNotKept(run.getName(), error.what());
        return false;
    }
    return true;
}

UndoScope::~UndoScope() {
    if (!m_data)
        return;
    Data::open() = nullptr;
    try {
        const std::string failure = m_data->disk->failure();
        const bool isEmpty = m_data->disk->movedCount() == 0 && !m_data->isWorthIt;
        const std::uint64_t bytes = m_data->bytes();
        m_data->disk.reset();
        noteBytes(m_data->folder, bytes);
        if (!failure.empty())
            tellNotKept(m_data->run, failure);
        if (isEmpty)
            dropRunFolder(m_data->folder);
        else if (group().depth == 0)
            UndoStore(*m_data->project).prune();
    } catch (...) {
        // What is kept stays, and the next clearing prunes.
    }
}

void UndoScope::noteCleared() {
    if (m_data)
        noteBytes(m_data->folder, m_data->bytes());
}

bool UndoScope::isKeeping() const {
    return Data::open() != nullptr;
}

void UndoScope::keep(const std::string& name) {
    if (m_data)
        m_data->disk->keep(name);
}

UndoGroup::UndoGroup(Project& project) : m_project(project) {
    ++group().depth;
}

UndoGroup::UndoGroup(Project& project, UndoSeries& series) : m_project(project), m_series(&series) {
    if (++group().depth == 1)
        group() = {1, series.verb, series.path, true};
}

UndoGroup::~UndoGroup() {
    if (--group().depth > 0)
        return;
    const Group ended = group();
    group() = Group();
    // What was there was pruned before.
    const bool isNew = m_series == nullptr || ended.path != m_series->path;
    if (m_series != nullptr)
        *m_series = {ended.verb, ended.path};
    if (!isNew)
        return;
    try {
        UndoStore(m_project).prune();
    } catch (...) {
        // The next clearing prunes.
    }
}

UndoStore::UndoStore(Project& project) : m_project(project) {}

std::vector<UndoEntry> UndoStore::entries() const {
    std::vector<UndoEntry> all;
    for (const std::string& id : idsOf(m_project)) {
        UndoEntry entry;
        entry.id = id;
        entry.verb = std::get<2>(*partsOf(id));
        for (const std::string& run : namesIn(folder_() + "/" + id)) {
            UndoRun what;
            long time = 0;
            if (!readUndoRun(folder_() + "/" + id, run, what, time))
                continue;
            entry.runs.push_back(what);
            entry.time = std::max(entry.time, time);
        }
        if (entry.runs.empty())
            continue;
        // A synthesis comes back before what starts from it.
        std::stable_partition(entry.runs.begin(), entry.runs.end(),
                              [](const UndoRun& run) { return run.synthesis.empty(); });
        entry.bytes = bytesOf(folder_() + "/" + id);
        all.push_back(std::move(entry));
    }
    return all;
}

UndoLimits UndoStore::getLimits() const {
    UndoLimits limits;
    std::string text;
    if (!HUTFileUtils::readFile(folder_() + "/" + kLimits, kLargestLimits, text))
        return limits;
    const nlohmann::json read = nlohmann::json::parse(text, nullptr, false);
    if (!read.is_object())
        return limits;
    const auto number = [&read](const char* member, auto unset) {
        const auto found = read.find(member);
        return found == read.end() || !found->is_number_unsigned()
                   ? unset
                   : found->template get<decltype(unset)>();
    };
    limits.entries = number("entries", limits.entries);
    limits.megabytes = number("megabytes", limits.megabytes);
    return limits;
}

void UndoStore::setLimits(const UndoLimits& limits) {
    if (!makeUndoFolder(m_project))
        fail("@60-216@%s%s", folder_(), std::strerror(errno));
    const nlohmann::json written{{"entries", limits.entries}, {"megabytes", limits.megabytes}};
    HUTFileUtils::replaceFile(folder_() + "/" + kLimits, written.dump() + "\n");
    prune();
}

void UndoStore::prune() {
    const UndoLimits limits = getLimits();
    const std::vector<std::string> ids = idsOf(m_project);
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const std::string path = folder_() + "/" + ids[i];
        if (i < limits.entries || i == 0)
            bytes += bytesOf(path);
        if (i > 0 && (i >= limits.entries || bytes > limits.megabytes << 20U))
            HUTFile(path).rmRecursive();
    }
}

UndoEntry UndoStore::undo(const std::string& id) {
    const std::vector<UndoEntry> all = entries();
    UndoEntry entry = choose_(id);
    // One that was killed at it goes on: what it cleared so far is in its own entry.
    const UndoEntry& half = all.front();
    const std::string& interrupted = half.runs.front().restores;
    const auto target = std::find_if(all.begin(), all.end(), [&interrupted](const auto& each) {
        return each.id == interrupted;
    });
    const bool goesOn =
        !interrupted.empty() && target != all.end() && (id.empty() || id == target->id);
    if (goesOn)
        entry = *target;
    requireUndoable_(entry, all);
    const UndoGroup together(m_project);
    if (goesOn)
        group() = {group().depth, half.verb, folder_() + "/" + half.id};
    for (const UndoRun& run : entry.runs) {
        const auto begun = std::find_if(half.runs.begin(), half.runs.end(),
                                        [&run](const auto& each) { return each.name == run.name; });
        undoRun_(entry, run, goesOn && begun != half.runs.end() ? &*begun : nullptr);
    }
    m_project.save();
    HUTFile(folder_() + "/" + entry.id).rmRecursive();
    return entry;
}

UndoEntry UndoStore::choose_(const std::string& id) const {
    const std::vector<UndoEntry> all = entries();
    if (all.empty())
        fail("@60-218@");
    if (id.empty())
        return all.front();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&id](const UndoEntry& each) { return each.id == id; });
    if (found == all.end())
        fail("@60-219@%s", id);
    return *found;
}

void UndoStore::requireUndoable_(const UndoEntry& entry, const std::vector<UndoEntry>& all) const {
    for (const UndoRun& what : entry.runs) {
        requireUsable_(entry, what);
        for (const UndoEntry& later : all) {
            if (later.id == entry.id)
                break;
            if (namesRun(later, what.name) && !tookBackWhatFollowed(later, entry))
                fail("@60-250@%s%s%s", entry.id, what.name, later.id);
        }
        if (what.kind == UndoRun::kRemoved) {
            requireRestorable_(entry, what);
            continue;
        }
        HAXPExpRun* run = m_project.findRun(what.name);
        if (run == nullptr)
            fail("@60-252@%s%s", entry.id, what.name);
        run->updateStatus();
        if (run->isAtWork())
            run->lookForLife();
        requireNotAtWork(*run);
        requireOwnDirectory(*run, "changed");
    }
}

/// What the manifest says of the run must fit the project before anything is cleared for it.
void UndoStore::requireUsable_(const UndoEntry& entry, const UndoRun& what) const {
    if (what.kind != UndoRun::kCleared)
        return;
    try {
        ProjectFile(m_project).requireRunAlone(xml::Document::fromFile(
            folder_() + "/" + entry.id + "/" + what.name + "/" + kManifest));
    } catch (const HEXAll& error) {
        fail("@60-258@%s%s%s", entry.id, what.name, error.what());
    }
}

/// A run that was removed needs its place in the project and on the disk.
void UndoStore::requireRestorable_(const UndoEntry& entry, const UndoRun& what) const {
    const std::string folder = folder_() + "/" + entry.id + "/" + what.name;
    const std::string dir =
        ProjectFile(m_project).directoryOf(xml::Document::fromFile(folder + "/" + kManifest));
    const bool hasDir = isThere(folder + "/" + kDirectory);
    const HAXPExpRun* run = m_project.findRun(what.name);
    // Who was killed while removing it, or bringing it back, left it in the project, or its
    // directory in its place.
    const bool isHalf = run == nullptr || (run->getDir() == dir && (!dir.empty() || !what.isWhole));
    const bool isTaken = !isHalf || (hasDir && isThere(dir));
    if (isTaken)
        fail("@60-251@%s%s", entry.id, what.name);
    if (!what.synthesis.empty() && m_project.findRun(what.synthesis) == nullptr &&
        !namesRun(entry, what.synthesis))
        fail("@60-256@%s%s%s", entry.id, what.name, what.synthesis);
}

void UndoStore::undoRun_(const UndoEntry& entry, const UndoRun& what, const UndoRun* begun) {
    if (what.kind == UndoRun::kRestored) {
        removeRuns(m_project, {&m_project.getRun(what.name)});
        return;
    }
    if (what.kind == UndoRun::kRemoved) {
        bringBack_(entry, what);
        if (begun == nullptr)
            noteRestored_(entry, what);
        return;
    }
    HAXPExpRun& run = m_project.getRun(what.name);
    const std::string files = folder_() + "/" + entry.id + "/" + what.name + "/" + kFiles;
    // Half of the run is in the entry, and the other half in the directory still, or again.
    const bool isHalf = (begun != nullptr ? begun->isWhole : !what.isWhole) &&
                        !overlaps(files, run.getDir(), launchFiles(run));
    UndoRun again = what;
    again.restores = entry.id;
    again.isWhole = isHalf && begun != nullptr;
    // Also while the files come back: it keeps what stands in their way.
    std::optional<UndoScope> scope;
    if (!isHalf || begun != nullptr)
        scope.emplace(m_project, run, kUndoVerb, again);
    if (scope && !scope->isKeeping() && HUTFile(run.getDir()).isDir())
        fail("@60-257@%s%s", entry.id, what.name);
    if (!isHalf)
        clear_(what, run, *scope);
    bringBack_(entry, what);
}

void UndoStore::noteRestored_(const UndoEntry& entry, const UndoRun& what) {
    const std::string folder = makeRunFolder(m_project, kUndoVerb, what.name);
    if (folder.empty())
        return;
    UndoRun restored = record(what.name, UndoRun::kRestored);
    restored.restores = entry.id;
    writeManifest(m_project, m_project.getRun(what.name), folder + "/" + kManifest, restored);
    noteBytes(folder, 0);
}

/// Clears the run to make way for what comes back.
void UndoStore::clear_(const UndoRun& what, HAXPExpRun& run, UndoScope& scope) {
    HSTVector<std::string> errors;
    if (!resetRun(m_project, run, what.fromStep, !what.keptFiles, errors))
        fail("@60-253@%s%s", what.name, errors.empty() ? std::string() : errors[0]);
    scope.noteCleared();
}

/// The files of the run, and then what the project knew of it.
void UndoStore::bringBack_(const UndoEntry& entry, const UndoRun& what) {
    const std::string folder = folder_() + "/" + entry.id + "/" + what.name;
    const std::string manifest = folder + "/" + kManifest;
    const xml::Document document = xml::Document::fromFile(manifest);
    if (what.kind != UndoRun::kRemoved) {
        if (HUTFile(folder + "/" + kFiles).isDir())
            moveBack(folder + "/" + kFiles, m_project.getRun(what.name).getDir());
        ProjectFile(m_project).readRunAlone(document);
        return;
    }
    // First the project: it refuses a directory that is none of its own.
    ProjectFile(m_project).readRunAlone(document);
    HAXPExpRun& run = m_project.getRun(what.name);
    const std::string kept = folder + "/" + kDirectory;
    HUTFile(m_project.getRunsDir()).mkDirRecursive();
    if (isThere(kept) && files::disk().rename(kept.c_str(), run.getDir().c_str()) != 0) {
        const std::string why = std::strerror(errno);
        const std::string dir = run.getDir();
        m_project.removeRun(run);
        fail("@60-217@%s%s%s", kept, dir, why);
    }
    run.updateRun();
}

std::string UndoStore::folder_() const {
    return undoFolder(m_project);
}

namespace {

void requireRemovable(Project& project, HAXPExpRun& run, const std::vector<HAXPExpRun*>& with) {
    run.updateStatus();
    if (run.isAtWork())
        run.lookForLife();
    requireNotAtWork(run);
    if (!run.getDir().empty())
        requireOwnDirectory(run, "removed");
    for (HAXPExpRun* other : project.getRuns()) {
        if (project.getSynthesisOf(*other) == &run &&
            std::find(with.begin(), with.end(), other) == with.end())
            fail("@60-254@%s%s", run.getName(), other->getName());
    }
}

/// A run on its way out of the project.
struct Removal {
    std::string run;
    std::string dir;
    std::string folder;  ///< within the entry
};

Removal beginRemoval(Project& project, HAXPExpRun& run) {
    Removal removal{run.getName(), run.getDir(), {}};
    if (!removal.dir.empty() && isThere(removal.dir))
        keepLaunches(project, run);
    removal.folder = makeRunFolder(project, "rm", removal.run);
    if (removal.folder.empty())
        fail("@60-255@%s%s", removal.run, std::strerror(errno));
    try {
        writeManifest(project, run, removal.folder + "/" + kManifest,
                      record(removal.run, UndoRun::kRemoved));
    } catch (const HXMLException& error) {
        dropRunFolder(removal.folder);
        fail("@60-255@%s%s", removal.run, error.what());
    }
    return removal;
}

/// Moves the directory aside; false, with errno, when it can't be moved.
bool moveDirectory(const Removal& removal) {
    const std::string kept = removal.folder + "/" + kDirectory;
    const bool hasDir = !removal.dir.empty() && isThere(removal.dir);
    if (hasDir && files::disk().rename(removal.dir.c_str(), kept.c_str()) != 0)
        return false;
    noteBytes(removal.folder, hasDir ? bytesIn(kept) : 0);
    return true;
}

/// Takes those from `first` on into the project again, the last one, which others start from,
/// first. Their directories are where they were.
void takeBackRemovals(Project& project, const std::vector<Removal>& removals, std::size_t first) {
    for (std::size_t i = removals.size(); i-- > first;) {
        if (project.findRun(removals[i].run) == nullptr)
            ProjectFile(project).readRunAlone(
                xml::Document::fromFile(removals[i].folder + "/" + kManifest));
    }
}

void dropRemovals(const std::vector<Removal>& removals, std::size_t first) {
    for (std::size_t i = first; i < removals.size(); ++i)
        dropRunFolder(removals[i].folder);
}

/// With the save of the project file all of them are out of it, and before none.
std::vector<Removal> takeOut(Project& project, const std::vector<HAXPExpRun*>& runs) {
    std::vector<Removal> removals;
    try {
        for (HAXPExpRun* run : runs)
            removals.push_back(beginRemoval(project, *run));
        for (HAXPExpRun* run : runs)
            project.removeRun(*run);
        project.save();
    } catch (...) {
        takeBackRemovals(project, removals, 0);
        // A save that failed may have been through all the same.
        try {
            project.save();
            dropRemovals(removals, 0);
        } catch (const HEXAll&) {
            // What can't be told again stays, for an undo.
        }
        throw;
    }
    return removals;
}

}  // namespace

void removeRuns(Project& project, const std::vector<HAXPExpRun*>& runs) {
    for (HAXPExpRun* run : runs)
        requireRemovable(project, *run, runs);
    const UndoGroup together(project);
    // Those that start from others first: nothing is ever without its synthesis.
    std::vector<HAXPExpRun*> ordered = runs;
    std::stable_partition(ordered.begin(), ordered.end(), [&project](const HAXPExpRun* run) {
        return project.getSynthesisOf(*run) != nullptr;
    });
    const std::vector<Removal> removals = takeOut(project, ordered);
    for (std::size_t i = 0; i < removals.size(); ++i) {
        if (moveDirectory(removals[i]))
            continue;
        const std::string why = std::strerror(errno);
        takeBackRemovals(project, removals, i);
        project.save();
        dropRemovals(removals, i);
        fail("@60-255@%s%s", removals[i].run, why);
    }
}

}  // namespace workbench
