// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPStat;
class HAXPStatSpec;

/// The statistics that every run has: their specs, and a prototype of each.
///
/// It is filled at start-up, before a second thread reads it, and takes no lock.
/// A run holds clones of the prototypes.
class RUNS_API HAXPStatMgr {
public:
    HAXPStatMgr();
    /// Deletes every statistic, then every spec.
    ~HAXPStatMgr();

    HAXPStatMgr(const HAXPStatMgr&) = delete;
    HAXPStatMgr& operator=(const HAXPStatMgr&) = delete;

    /// The one that runs use, made at the first call.
    static HAXPStatMgr* getGlobal();

    /// Takes `ownedStat` and its spec over and numbers the spec: 0, 1, 2 in order of
    /// addition. Each statistic brings a spec of its own; duplicates aren't looked for.
    /// @throws HEXAlgException `ownedStat` or its spec is null.
    void addStat(HAXPStat* ownedStat);

    int statSpecCount() const { return static_cast<int>(m_specs.size()); }

    /// Specs and prototypes, in order of addition. The caller deletes the iterator.
    HSTFwdIter<HAXPStatSpec*>* createStatSpecIter() const;
    HSTFwdIter<HAXPStat*>* createStatIter() const;

private:
    HSTVector<std::unique_ptr<HAXPStat>> m_stats;
    HSTVector<std::unique_ptr<HAXPStatSpec>> m_specs;
};
