// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputFiles.h"

#include <algorithm>
#include <utility>

#include "workbench/sourceReferences.h"

namespace workbench {

namespace {

struct KindRow {
    InputKind kind;
    const char* name;
    /// The entry of an input record that lists such files; null when none does.
    const char* entry;
    HDDATypes::SFTId type;
};

constexpr KindRow kKinds[] = {
    {InputKind::kSource, "source", "sources", HDDATypes::SFT_VERILOG},
    {InputKind::kReference, "reference", nullptr, HDDATypes::SFT_MEMORY_INIT},
    {InputKind::kConstraints, "constraints", "constraints", HDDATypes::SFT_PIN_CONSTRAINTS},
    {InputKind::kNetlist, "netlist", "netlist", HDDATypes::SFT_JSON_NETLIST}};

/// Collects the files of a design, each once.
class Look {
public:
    explicit Look(const InputFiles& known) : m_known(known) {}

    void add(const std::string& path, InputKind kind) {
        if (path.empty() || m_files.count(path) != 0)
            return;
        const auto before = m_known.find(path);
        m_files[path] = {kind, FileWatch::ofProcess().look(path, before == m_known.end()
                                                                     ? FileFingerprint()
                                                                     : before->second.print)};
    }
    /// A file that isn't there is named by no source, as a name means a file only then.
    void addMissingReferences() {
        FileStamp ignored;
        for (const auto& [path, file] : m_known) {
            if (file.kind == InputKind::kReference && m_files.count(path) == 0 &&
                FileWatch::ofProcess().stampOf(path, ignored) != FileFingerprint::kPresent)
                add(path, file.kind);
        }
    }
    InputFiles take() { return std::move(m_files); }

private:
    const InputFiles& m_known;
    InputFiles m_files;
};

/// An older time than the launch's came with a file that was moved or copied here.
std::time_t changeTime(const FileStamp& stamp, long launchTime) {
    return stamp.modified.tv_sec > launchTime ? stamp.modified.tv_sec : stamp.changed.tv_sec;
}

using Paths = std::vector<std::string>;

const Paths& pathsOf(const InputRecord& record, const char* entry) {
    static const Paths none;
    const auto found = record.find(entry);
    return found == record.end() ? none : found->second;
}

/// Those of `paths` that aren't among `others`, in order.
Paths without(const Paths& paths, const Paths& others) {
    Paths rest;
    for (const std::string& path : paths) {
        if (std::find(others.begin(), others.end(), path) == others.end())
            rest.push_back(path);
    }
    return rest;
}

FileChange::What whatBecameOf(const FileFingerprint& before, const FileFingerprint& now) {
    if (now.state == FileFingerprint::kMissing)
        return FileChange::kMissing;
    if (now.state == FileFingerprint::kUnreadable)
        return FileChange::kUnreadable;
    return before.state == FileFingerprint::kMissing ? FileChange::kAdded : FileChange::kModified;
}

}  // namespace

const char* inputKindName(InputKind kind) {
    for (const KindRow& row : kKinds) {
        if (row.kind == kind)
            return row.name;
    }
    return "";
}

HDDATypes::SFTId srcFileTypeOf(InputKind kind) {
    for (const KindRow& row : kKinds) {
        if (row.kind == kind)
            return row.type;
    }
    return HDDATypes::SFT_UNKNOWN;
}

bool findInputKind(const std::string& name, InputKind& kind) {
    for (const KindRow& row : kKinds) {
        if (name == row.name) {
            kind = row.kind;
            return true;
        }
    }
    return false;
}

InputFiles lookAtInputs(const DesignInputs& inputs, bool isSynthesis, const InputFiles& known) {
    Look look(known);
    if (!isSynthesis) {
        look.add(inputs.netlist, InputKind::kNetlist);
        look.add(inputs.constraints, InputKind::kConstraints);
        return look.take();
    }
    for (const std::string& path : inputs.sources)
        look.add(path, InputKind::kSource);
    for (const std::string& path : referencedFiles(inputs.sources, inputs.includeDirs))
        look.add(path, InputKind::kReference);
    look.addMissingReferences();
    return look.take();
}

std::vector<FileChange> changesOf(const InputFiles& before, const InputFiles& now,
                                  long launchTime) {
    std::vector<FileChange> changes;
    for (const auto& [path, file] : now) {
        const auto old = before.find(path);
        const std::time_t since =
            file.print.isPresent() ? changeTime(file.print.stamp, launchTime) : 0;
        if (old != before.end() && !file.print.isSameContent(old->second.print))
            changes.push_back(
                {path, file.kind, whatBecameOf(old->second.print, file.print), since});
        else if (old == before.end() && file.kind == InputKind::kReference)
            changes.push_back({path, file.kind, FileChange::kAdded, since});
    }
    return changes;
}

std::vector<FileChange> listChangesOf(const InputRecord& before, const InputRecord& now,
                                      const InputFiles& files, long launchTime) {
    std::vector<FileChange> changes;
    if (before.empty())
        return changes;
    for (const KindRow& row : kKinds) {
        if (row.entry == nullptr)
            continue;
        const Paths& was = pathsOf(before, row.entry);
        const Paths& is = pathsOf(now, row.entry);
        if (was == is)
            continue;
        for (const std::string& path : without(is, was)) {
            const auto file = files.find(path);
            const bool isThere = file != files.end() && file->second.print.isPresent();
            changes.push_back({path, row.kind, FileChange::kAdded,
                               isThere ? changeTime(file->second.print.stamp, launchTime) : 0});
        }
        for (const std::string& path : without(was, is))
            changes.push_back({path, row.kind, FileChange::kRemoved, 0});
        const Paths left = without(was, without(was, is));
        const Paths kept = without(is, without(is, was));
        // The first one that is out of its place tells the whole of it.
        const auto moved = std::mismatch(kept.begin(), kept.end(), left.begin(), left.end());
        if (moved.first != kept.end())
            changes.push_back({*moved.first, row.kind, FileChange::kMoved, 0});
    }
    return changes;
}

std::vector<FileChange> newerThan(long launchTime, const InputFiles& now) {
    std::vector<FileChange> changes;
    for (const auto& [path, file] : now) {
        const std::time_t modified = file.print.stamp.modified.tv_sec;
        if (file.print.isPresent() && modified > launchTime)
            changes.push_back({path, file.kind, FileChange::kModified, modified});
    }
    return changes;
}

}  // namespace workbench
