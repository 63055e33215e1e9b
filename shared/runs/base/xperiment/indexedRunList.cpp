// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/indexedRunList.h"

#include <algorithm>
#include <utility>

namespace xperiment {

bool IndexedRunList::insert(HAXPExpRun* run) {
    if (m_index != nullptr) {
        if (!m_index->emplace(run, m_runs.size()).second)
            return false;
        try {
            m_runs.push_back(run);
        } catch (...) {
            m_index->erase(run);
            throw;
        }
        return true;
    }
    if (contains(run))
        return false;
    m_runs.push_back(run);
    if (m_runs.size() >= kIndexedFrom)
        buildIndex_();
    return true;
}

bool IndexedRunList::contains(HAXPExpRun* run) const {
    if (m_index != nullptr)
        return m_index->find(run) != m_index->end();
    return std::find(m_runs.begin(), m_runs.end(), run) != m_runs.end();
}

void IndexedRunList::buildIndex_() {
    auto index = std::make_unique<Index>(kIndexedFrom);
    index->max_load_factor(1.0F);
    for (std::size_t i = 0; i < m_runs.size(); ++i)
        index->emplace(m_runs[i], i);
    m_index = std::move(index);
}

}  // namespace xperiment
