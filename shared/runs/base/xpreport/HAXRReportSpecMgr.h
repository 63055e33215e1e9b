// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <string>

#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"
#include "runs/base/xpreport/VersionInfo.h"

class HAXRReportSpec;
template <class Key, class Value> class HSTKeyValIter;

/// The catalogue of reports: every version of each report, and of each report
/// the latest version.
///
/// It is filled at start-up, before a second thread reads it, and takes no lock.
/// Specifications are added and then the latest are picked; until that is done a
/// report is found by its version only. It owns its specifications, which are
/// good as long as it is.
class RUNS_API HAXRReportSpecMgr {
public:
    HAXRReportSpecMgr();
    ~HAXRReportSpecMgr();

    HAXRReportSpecMgr(const HAXRReportSpecMgr&) = delete;
    HAXRReportSpecMgr& operator=(const HAXRReportSpecMgr&) = delete;

    /// The one of the process, made empty at the first call and never destroyed.
    static HAXRReportSpecMgr* getGlobal();

    /// Adds what the installation's file "reportstrategies/report.xml" lists and
    /// picks the latest versions. A file that isn't what it should be adds
    /// nothing, with a message.
    /// @throws HEXFileNotFoundException there is no file.
    /// @throws HXMLException it can't be read as XML. In both cases nothing is
    /// picked.
    void parseReportSpecs();

    /// Takes `ownedSpec` over, as the last version of the report of its name.
    /// The latest versions stay as they are. Null is ignored.
    void addReportSpec(HAXRReportSpec* ownedSpec);

    /// Picks the greatest version of every report that has no latest one yet;
    /// the first of equal ones.
    void populateLatestSpecs();

    /// The latest version of the report; null, with a message, without one.
    HAXRReportSpec* find(const std::string& name) const;
    /// The first one of exactly this version; null, without a message, when
    /// there is none. The version (0, 0) asks for the latest, as above.
    HAXRReportSpec* find(const std::string& name, const VersionInfo& version) const;

    /// A copy of what find() gives, which the caller deletes; null where find()
    /// gives null.
    HAXRReportSpec* getReportSpec(const std::string& name) const;
    HAXRReportSpec* getReportSpec(const std::string& name, const VersionInfo& version) const;

    /// A specification without a name and without options, for a report that a
    /// run makes by itself; `description` is its short one. The caller deletes
    /// it. The empty pretty display name of its option group tells it from
    /// others.
    HAXRReportSpec* getStaticReportSpec(const std::string& description) const;

    /// The latest versions by name, in the order of the names' bytes. The caller
    /// deletes the iterator.
    HSTKeyValIter<std::string, HAXRReportSpec*>* createReportSpecIterator() const;

private:
    static HAXRReportSpecMgr* sp_theGlobal;

    /// By name, the versions in the order in which they came.
    std::map<std::string, HSTVector<std::unique_ptr<HAXRReportSpec>>> m_allSpecs;
    std::map<std::string, HAXRReportSpec*> m_latestSpecs;
};
