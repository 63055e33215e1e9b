// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <string>

#include <boost/filesystem.hpp>

#include "runs/base/xperiment/HAXPFileSpec.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace test {

/// What a launch leaves besides its steps, in the order in which an emptied directory loses it.
inline std::vector<std::string> launchLeftovers() {
    return {"ZUMWrap.js",
            "ZUMWrap.sh",
            "htr.txt",
            "rundef.js",
            "runme.bat",
            "runme.log",
            "runme.sh",
            "runhls.tcl",
            "tarnel_hls.log",
            "tarnel.jou",
            "ridgeLine.jou",
            "tarnel.pb",
            "ridgeLine.pb",
            "ridgeLine.blk2edif.log",
            ".blk2edfcache",
            ".stop.rst",
            ".Orv",
            "project.wdf",
            "usage_statistics_sayline.xml",
            "realTime.debug",
            "dont_buffer.kdc",
            "dont_touch.kdc",
            "debug.kdc",
            "c_files",
            "fsm_encoding.os",
            "gen_run.xml",
            "mq_reconfig.kdc",
            "mq_visual",
            "job.id",
            "job.id.log"};
}

using Texts = HSTVector<std::string>;

/// A launched run of "a", "b" and "c" in the folder "run", active, of which nothing has
/// begun. Step "b" leaves the output "util.rpt", and a tool has left "notes.txt", which
/// goes when the directory is emptied.
class RunResetFixture : public RunFixture {
protected:
    explicit RunResetFixture(const std::string& flowName = "Test Flow")
        : RunFixture(threeSteps(), flowName) {
        m_dir.folder("run");
        m_run->setRunDir(runDir(), false);
        m_run->setRunMode(HAXPExpRunBase::kLaunched);
        m_run->checkToActivateRun();
        m_output.addFileType(HAXPTypes::FILE_PLACE_UTIL);
        m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
        m_flow->getFlowStepForFSId("b")->setGenFilter(&m_output);
        mark("util.rpt");
        mark("notes.txt");
        m_run->statusUpdates = 0;
    }

    std::string runDir() const { return m_dir.path("run"); }
    void mark(const std::string& name, const std::string& content = "") const {
        m_dir.mark("run/" + name, content);
    }
    void markRunning(const std::string& id, const std::string& record = "") const {
        mark("." + id + ".begin.rst", record);
    }
    void markDone(const std::string& id) const {
        mark("." + id + ".begin.rst");
        mark("." + id + ".end.rst");
    }
    bool has(const std::string& name) const { return m_dir.has("run/" + name); }
    /// Whether the step's files were removed, and whether the directory was emptied.
    bool hasOutput() const { return has("util.rpt"); }
    bool isEmptied() const { return !has("notes.txt"); }
    /// The names of what lies in the directory, in order.
    Ids entries() const {
        Ids names;
        for (const auto& entry : boost::filesystem::directory_iterator(runDir()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    void removeRunDir() const { boost::filesystem::remove_all(runDir()); }

    /// From the first step on.
    bool reset(bool emptyDir = true, bool killFirst = false) {
        return m_run->resetRun(m_errors, emptyDir, killFirst, false);
    }
    bool resetFrom(const std::string& abbrev, bool emptyDir = true, bool killFirst = false) {
        return m_run->resetRun(abbrev, m_errors, emptyDir, killFirst, false);
    }

    HAXPFileSpec m_output{"output"};
    Texts m_errors;
};

}  // namespace test
