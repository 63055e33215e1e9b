// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStatMgr.h"

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/HAXPStat.h"
#include "runs/base/xperiment/HAXPStatSpec.h"

HAXPStatMgr::HAXPStatMgr() = default;

HAXPStatMgr::~HAXPStatMgr() {
    m_stats.clear();
    m_specs.clear();
}

HAXPStatMgr* HAXPStatMgr::getGlobal() {
    static HAXPStatMgr theGlobal;
    return &theGlobal;
}

void HAXPStatMgr::addStat(HAXPStat* ownedStat) {
    if (ownedStat == nullptr || ownedStat->getStatSpec() == nullptr)
        throw HEXAlgException("null stat or stat spec");
    m_specs.reserve(m_specs.size() + 1);
    m_stats.reserve(m_stats.size() + 1);
    HAXPStatSpec* spec = ownedStat->getStatSpec();
    spec->setId(statSpecCount());
    m_specs.emplace_back(spec);
    m_stats.emplace_back(ownedStat);
}

HSTFwdIter<HAXPStatSpec*>* HAXPStatMgr::createStatSpecIter() const {
    return containers::heapIterOfOwned<HAXPStatSpec*>(m_specs);
}

HSTFwdIter<HAXPStat*>* HAXPStatMgr::createStatIter() const {
    return containers::heapIterOfOwned<HAXPStat*>(m_stats);
}
