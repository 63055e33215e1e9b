// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolStamps.h"

#include <mutex>

#include "workbench/ice40/toolVersion.h"

namespace workbench {

namespace {

struct ToolRow {
    const char* stepId;
    const char* tool;
    bool tellsVersion;
};

constexpr ToolRow kTools[] = {{"synth_design", "yosys", true},
                              {"place_design", "nextpnr-ice40", true},
                              {"route_design", "nextpnr-ice40", true},
                              {"route_design", "icetime", false},
                              {"write_bitstream", "icepack", false}};

/// What programs said of their versions, by path.
class KnownVersions {
public:
    static KnownVersions& ofProcess() {
        static KnownVersions known;
        return known;
    }

    std::string of(const std::string& tool, const ToolStamp& stamp) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_answers.find(stamp.path);
        if (found != m_answers.end() && found->second.stamp == stamp.print.stamp)
            return found->second.version;
        std::string version = ice40::toolVersion(tool, stamp.path);
        m_answers[stamp.path] = {stamp.print.stamp, version};
        return version;
    }

private:
    struct Answer {
        FileStamp stamp;
        std::string version;
    };

    std::mutex m_mutex;
    std::map<std::string, Answer> m_answers;
};

/// A short name for a program that has no other.
std::string contentName(const ToolStamp& stamp) {
    constexpr std::size_t kDigits = 12;
    return stamp.path + " with SHA-1 " + stamp.print.sha1.substr(0, kDigits);
}

}  // namespace

std::vector<std::string> toolsOfStep(const std::string& stepId) {
    std::vector<std::string> tools;
    for (const ToolRow& row : kTools) {
        if (stepId == row.stepId)
            tools.emplace_back(row.tool);
    }
    return tools;
}

bool tellsVersion(const std::string& tool) {
    for (const ToolRow& row : kTools) {
        if (tool == row.tool)
            return row.tellsVersion;
    }
    return false;
}

bool findTool(const std::string& tool, const ToolStamp& known, ToolStamp& stamp) {
    std::string path;
    if (!FileWatch::ofProcess().findProgram(tool, path))
        return false;
    FileFingerprint print;
    if (tellsVersion(tool))
        print.state = FileWatch::ofProcess().stampOf(path, print.stamp);
    else
        print =
            FileWatch::ofProcess().look(path, path == known.path ? known.print : FileFingerprint());
    if (!print.isPresent())
        return false;
    stamp = {path, print};
    return true;
}

std::string toolVersion(const std::string& tool, const ToolStamp& stamp) {
    return tellsVersion(tool) ? KnownVersions::ofProcess().of(tool, stamp) : std::string();
}

std::vector<ToolChange> toolChanges(const std::string& stepId, const ToolStamps& atLaunch,
                                    const std::string& madeBy) {
    std::vector<ToolChange> changes;
    for (const std::string& tool : toolsOfStep(stepId)) {
        const auto found = atLaunch.find(tool);
        const ToolStamp before = found == atLaunch.end() ? ToolStamp() : found->second;
        ToolStamp now;
        if (!findTool(tool, before, now) ||
            (now.path == before.path && now.print.stamp == before.print.stamp))
            continue;
        const std::time_t since = now.print.stamp.changed.tv_sec;
        if (tellsVersion(tool)) {
            const std::string version = madeBy.empty() ? madeBy : toolVersion(tool, now);
            if (!version.empty() && version != madeBy)
                changes.push_back({tool, madeBy, version, since});
        } else if (before.print.isPresent() && !now.print.isSameContent(before.print)) {
            changes.push_back({tool, contentName(before), contentName(now), since});
        }
    }
    return changes;
}

}  // namespace workbench
