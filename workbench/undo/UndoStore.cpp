// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/undo/UndoStore.h"

#include <algorithm>
#include <array>
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
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/xml/xmlDocument.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
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
constexpr std::size_t kLargestLimits = 4096;

/// Of the manifest's root; the run within is as in the project file.
namespace name {
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
}  // namespace name
constexpr char kFormat[] = "1";

struct KindName {
    UndoRun::Kind kind;
    const char* name;
};
constexpr KindName kKinds[] = {{UndoRun::kCleared, "cleared"},
                               {UndoRun::kRemoved, "removed"},
                               {UndoRun::kRestored, "restored"}};

template <class... Args> [[noreturn]] void fail(const char* format, const Args&... args) {
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, format, args...));
}

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

/// The ids of what looks like an entry, the last one first.
std::vector<std::string> idsIn(const std::string& folder) {
    std::vector<std::pair<IdParts, std::string>> found;
    for (const std::string& name : namesIn(folder)) {
        if (const std::optional<IdParts> parts = partsOf(name))
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
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 16> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d", &local);
    return date.data();
}

/// A new folder for an entry, later than all others; empty, with errno, when there can't be one.
std::string makeEntry(const Project& project, const std::string& verb) {
    constexpr int kMostTries = 100;
    const std::string folder = undoFolder(project);
    if (!makeOwnFolder(project.getDir()) || !HUTFile(folder).mkDir())
        return {};
    std::string date = today();
    long number = 0;
    const std::vector<std::string> ids = idsIn(folder);
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
};

Group& group() {
    static Group s_group;
    return s_group;
}

/// The folder of the run in the entry that clears for `verb` now.
std::string makeRunFolder(const Project& project, const std::string& verb, const std::string& run) {
    Group& open = group();
    std::string entry = open.depth > 0 && open.verb == verb ? open.path : std::string();
    if (entry.empty() || isThere(entry + "/" + run))
        entry = makeEntry(project, verb);
    if (entry.empty() || ::mkdir((entry + "/" + run).c_str(), 0777) != 0)
        return {};
    if (open.depth > 0) {
        open.verb = verb;
        open.path = entry;
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
        {name::kVersion, kFormat},
        {name::kTime, std::to_string(std::time(nullptr))},
        {name::kRun, what.name}};
    for (const KindName& kind : kKinds) {
        if (kind.kind == what.kind)
            attributes.emplace_back(name::kKind, kind.name);
    }
    if (!what.fromStep.empty())
        attributes.emplace_back(name::kFrom, what.fromStep);
    if (what.keptFiles)
        attributes.emplace_back(name::kKeptFiles, "true");
    if (!what.restores.empty())
        attributes.emplace_back(name::kRestores, what.restores);
    ProjectFile(project).writeRunAlone(path, name::kUndo, attributes, run);
}

bool readManifest(const std::string& path, UndoRun& what, long& time) {
    try {
        const xml::Document document = xml::Document::fromFile(path);
        const xml::Element& root = document.root();
        if (root.name() != name::kUndo || root.attribute(name::kVersion) != kFormat)
            return false;
        what.name = root.attribute(name::kRun);
        what.fromStep = root.attribute(name::kFrom);
        what.keptFiles = root.attribute(name::kKeptFiles) == "true";
        what.restores = root.attribute(name::kRestores);
        if (const xml::Element* run = root.child(name::kTheRun))
            what.synthesis = run->attribute(name::kSynthesis);
        time = std::strtol(root.attribute(name::kTime).c_str(), nullptr, 10);
        for (const KindName& kind : kKinds) {
            if (root.attribute(name::kKind) == kind.name) {
                what.kind = kind.kind;
                return true;
            }
        }
    } catch (const HEXAll&) {
        return false;
    }
    return false;
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
        if (isTaken && S_ISDIR(there.st_mode))
            HUTFile(target).rmRecursive();
        else if (isTaken)
            HUTFile(target).rm();
        if (std::rename(source.c_str(), target.c_str()) != 0)
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

bool isNamed(const UndoEntry& entry, const std::string& run) {
    return std::any_of(entry.runs.begin(), entry.runs.end(),
                       [&run](const UndoRun& each) { return each.name == run; });
}

}  // namespace

/// The run whose directory is being cleared.
struct UndoScope::Data {
    Project* project = nullptr;
    std::string run;
    std::string folder;
    bool wasLaunched = false;
    std::unique_ptr<MovingDisk> disk;

    /// The scope that is open.
    static Data*& open() {
        static Data* s_open = nullptr;
        return s_open;
    }
};

UndoScope::UndoScope(Project& project, const HAXPExpRun& run, const std::string& verb,
                     UndoRun what) {
    const std::string dir = run.getDir();
    const bool wasLaunched = run.getInfo().getLaunchTime() != 0;
    if (Data::open() != nullptr || dir.empty() || !HUTFile(dir).isDir())
        return;
    auto data = std::make_unique<Data>();
    data->project = &project;
    data->run = run.getName();
    data->wasLaunched = wasLaunched || !what.restores.empty();
    data->folder = makeRunFolder(project, verb, run.getName());
    if (data->folder.empty()) {
        tellNotKept(run.getName(), std::strerror(errno));
        return;
    }
    what.name = run.getName();
    what.kind = UndoRun::kCleared;
    try {
        writeManifest(project, run, data->folder + "/" + kManifest, what);
    } catch (const HXMLException& error) {
        dropRunFolder(data->folder);
        tellNotKept(run.getName(), error.what());
        return;
    }
    data->disk = std::make_unique<MovingDisk>(dir, data->folder + "/" + kFiles);
    m_data = std::move(data);
    Data::open() = m_data.get();
}

UndoScope::~UndoScope() {
    if (!m_data)
        return;
    Data::open() = nullptr;
    try {
        const std::string failure = m_data->disk->failure();
        const bool isEmpty = m_data->disk->movedCount() == 0 && !m_data->wasLaunched;
        noteBytes(m_data->folder, m_data->disk->movedBytes());
        m_data->disk.reset();
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

UndoGroup::~UndoGroup() {
    if (--group().depth > 0)
        return;
    group() = Group();
    try {
        UndoStore(m_project).prune();
    } catch (...) {
        // The next clearing prunes.
    }
}

UndoStore::UndoStore(Project& project) : m_project(project) {}

std::vector<UndoEntry> UndoStore::entries() const {
    std::vector<UndoEntry> all;
    for (const std::string& id : idsIn(folder_())) {
        UndoEntry entry;
        entry.id = id;
        entry.verb = std::get<2>(*partsOf(id));
        for (const std::string& run : namesIn(pathIn(folder_(), id))) {
            UndoRun what;
            long time = 0;
            const std::string folder = pathIn(pathIn(folder_(), id), run);
            // What holds another run's name was renamed by hand.
            if (!readManifest(pathIn(folder, kManifest), what, time) || what.name != run)
                continue;
            what.isWhole = isThere(pathIn(folder, kBytes));
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
    if (!makeOwnFolder(m_project.getDir()) || !HUTFile(folder_()).mkDir())
        fail("@60-216@%s%s", folder_(), std::strerror(errno));
    const nlohmann::json written{{"entries", limits.entries}, {"megabytes", limits.megabytes}};
    HUTFileUtils::replaceFile(folder_() + "/" + kLimits, written.dump() + "\n");
    prune();
}

void UndoStore::prune() {
    const UndoLimits limits = getLimits();
    const std::vector<std::string> ids = idsIn(folder_());
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
    // One that was killed at it had cleared what there was: the rest comes back now.
    const std::string& interrupted = entry.runs.front().restores;
    const auto target = std::find_if(all.begin(), all.end(), [&interrupted](const auto& each) {
        return each.id == interrupted;
    });
    if (id.empty() && !interrupted.empty() && target != all.end()) {
        entry = *target;
        for (const UndoRun& run : entry.runs)
            bringBack_(entry, run);
    } else {
        requireUndoable_(entry, all);
        const UndoGroup together(m_project);
        for (const UndoRun& run : entry.runs)
            undoRun_(entry, run);
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
        for (const UndoEntry& later : all) {
            if (later.id == entry.id)
                break;
            if (isNamed(later, what.name))
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

/// A run that was removed needs its place in the project and on the disk.
void UndoStore::requireRestorable_(const UndoEntry& entry, const UndoRun& what) const {
    const std::string folder = folder_() + "/" + entry.id + "/" + what.name;
    const std::string dir =
        ProjectFile(m_project).directoryOf(xml::Document::fromFile(folder + "/" + kManifest));
    // Of one that was killed at it the project may know the run still.
    const bool hasDir = isThere(folder + "/" + kDirectory);
    const HAXPExpRun* run = m_project.findRun(what.name);
    const bool isTaken = hasDir ? isThere(dir) || (run != nullptr && run->getDir() != dir)
                                : run != nullptr && !isThere(dir);
    if (isTaken)
        fail("@60-251@%s%s", entry.id, what.name);
    if (!what.synthesis.empty() && m_project.findRun(what.synthesis) == nullptr &&
        !isNamed(entry, what.synthesis))
        fail("@60-256@%s%s%s", entry.id, what.name, what.synthesis);
}

void UndoStore::undoRun_(const UndoEntry& entry, const UndoRun& what) {
    if (what.kind == UndoRun::kRestored) {
        removeRuns(m_project, {&m_project.getRun(what.name)});
        return;
    }
    if (what.kind == UndoRun::kRemoved) {
        bringBack_(entry, what);
        const std::string folder = makeRunFolder(m_project, "undo", what.name);
        if (!folder.empty())
            writeManifest(m_project, m_project.getRun(what.name), folder + "/" + kManifest,
                          record(what.name, UndoRun::kRestored));
        return;
    }
    if (!what.isWhole) {
        bringBack_(entry, what);
        return;
    }
    HAXPExpRun& run = m_project.getRun(what.name);
    UndoRun again = what;
    again.restores = entry.id;
    const UndoScope scope(m_project, run, "undo", again);
    HSTVector<std::string> errors;
    if (!resetRun(m_project, run, what.fromStep, !what.keptFiles, errors))
        fail("@60-253@%s%s", what.name, errors.empty() ? std::string() : errors[0]);
    bringBack_(entry, what);
}

/// The files of the run, and then what the project knew of it.
void UndoStore::bringBack_(const UndoEntry& entry, const UndoRun& what) {
    const std::string folder = folder_() + "/" + entry.id + "/" + what.name;
    const std::string manifest = folder + "/" + kManifest;
    const xml::Document document = xml::Document::fromFile(manifest);
    if (what.kind == UndoRun::kRemoved) {
        const std::string dir = ProjectFile(m_project).directoryOf(document);
        const std::string kept = folder + "/" + kDirectory;
        HUTFile(m_project.getRunsDir()).mkDirRecursive();
        if (isThere(kept) && std::rename(kept.c_str(), dir.c_str()) != 0)
            fail("@60-217@%s%s%s", kept, dir, std::strerror(errno));
    } else if (HUTFile(folder + "/" + kFiles).isDir()) {
        moveBack(folder + "/" + kFiles, m_project.getRun(what.name).getDir());
    }
    ProjectFile(m_project).readRunAlone(document);
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

void removeRun(Project& project, HAXPExpRun& run) {
    const std::string dir = run.getDir();
    const std::string name = run.getName();
    const bool hasDir = !dir.empty() && isThere(dir);
    if (hasDir)
        keepLaunches(project, run);
    const std::string folder = makeRunFolder(project, "rm", name);
    if (folder.empty())
        fail("@60-255@%s%s", name, std::strerror(errno));
    writeManifest(project, run, folder + "/" + kManifest, record(name, UndoRun::kRemoved));
    const std::string kept = folder + "/" + kDirectory;
    if (hasDir && std::rename(dir.c_str(), kept.c_str()) != 0) {
        const std::string why = std::strerror(errno);
        dropRunFolder(folder);
        fail("@60-255@%s%s", name, why);
    }
    noteBytes(folder, hasDir ? bytesIn(kept) : 0);
    project.removeRun(run);
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
    try {
        for (HAXPExpRun* run : ordered)
            removeRun(project, *run);
    } catch (...) {
        project.save();
        throw;
    }
    project.save();
}

}  // namespace workbench
