// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/clusterOptions.h"

#include <CLI/App.hpp>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/cluster/jobFiles.h"
#include "workbench/launchLease.h"
#include "workbench/places/ClusterPlace.h"

namespace shell {

namespace {

/// Refuses a command of nothing but blanks, which would mean this host.
std::string checkWords(const std::string& command) {
    return command.find_first_not_of(' ') == std::string::npos
               ? "a submit command is missing, such as \"qsub -q all.q\""
               : "";
}

}  // namespace

void ClusterOptions::declare(CLI::App& command) {
    auto* sge = command
                    .add_option("--sge", m_sge,
                                "Launch on a grid engine by this submit command, such as "
                                "\"qsub -q all.q\"")
                    ->check(CLI::Validator(checkWords, "COMMAND"))
                    ->excludes("--host");
    auto* lsf = command
                    .add_option("--lsf", m_lsf,
                                "Launch on LSF by this submit command, such as \"bsub -q medium\"")
                    ->check(CLI::Validator(checkWords, "COMMAND"))
                    ->excludes("--host")
                    ->excludes(sge);
    command
        .add_flag("--test-folder", m_testFolder,
                  "First see whether LSF's hosts can write to the project's folder; two minutes at "
                  "most")
        ->needs(lsf);
}

void ClusterOptions::addTo(HAXPLaunchOptions& options, bool asArrays) const {
    if (!hasCluster())
        return;
    workbench::LaunchWay way;
    way.kind = m_sge.empty() ? workbench::LaunchWay::Kind::kLsf : workbench::LaunchWay::Kind::kSge;
    way.command = m_sge.empty() ? m_lsf : m_sge;
    if (asArrays)
        workbench::ClusterPlace::checkArrays(way);
    else
        workbench::ClusterPlace::check(way);
    options.setLaunchMode(m_sge.empty() ? HAXPLaunchOptions::kLsfCluster
                                        : HAXPLaunchOptions::kSgeCluster);
    options.setClusterCmdLine(way.command);
}

void ClusterOptions::testFolder(const std::string& dir) const {
    HSTVector<std::string> errors;
    if (m_testFolder && !HAXPUtilsBase::validateLSF(m_lsf, errors, dir))
        throw HEXUserException(errors.empty() ? dir : errors[0]);
}

std::string ClusterOptions::startedText(const HAXPExpRun& run) {
    const std::string dir = run.getDir();
    const std::string id = cluster::readJobId(dir);
    return id.empty() ? "submitted" : "submitted as job " + id;
}

}  // namespace shell
