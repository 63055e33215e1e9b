// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroupSpec.h"

#include <iterator>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATAttrSpec.h"

namespace {

/// Up to here comparing the texts one by one beats hashing.
constexpr std::size_t kHandful = 8;

void dropSlot(std::unordered_map<std::string, std::size_t>& index, std::size_t slot) {
    for (auto at = index.begin(); at != index.end();)
        at = at->second == slot ? index.erase(at) : std::next(at);
}

}  // namespace

HATOptGroupSpec::HATOptGroupSpec() = default;

HATOptGroupSpec::~HATOptGroupSpec() = default;

void HATOptGroupSpec::registerAttrSpec(HATAttrSpec* ownedSpec, const std::string& dbId,
                                       const std::string& invokeText) {
    if (ownedSpec == nullptr)
        throw HEXAlgException("NULL attribute spec registered in option group \"" + m_id + "\"");
    if (ownedSpec->m_owner != nullptr)
        throw HEXAlgException("attribute spec \"" + ownedSpec->getName() +
                              "\" is registered already");
    const std::size_t slot = m_specs.size();
    m_specs.emplace_back();
    try {
        m_texts.push_back({dbId, invokeText});
        index_(slot, ownedSpec->getName());
    } catch (...) {
        dropSlot(m_slotOfDbId, slot);
        dropSlot(m_slotOfName, slot);
        m_specs.resize(slot);
        m_texts.resize(slot);
        throw;
    }
    m_specs.back().reset(ownedSpec);
    ownedSpec->m_owner = this;
    ownedSpec->m_slot = slot;
}

HATAttrSpec* HATOptGroupSpec::getAttrSpecForDbId(const std::string& dbId) const {
    const std::size_t slot = findSlotForDbId_(dbId);
    return slot == kNoSlot ? nullptr : m_specs[slot].get();
}

HATAttrSpec* HATOptGroupSpec::getAttrSpecByName(const std::string& name) const {
    if (m_specs.size() > kHandful) {
        const Index::const_iterator found = m_slotOfName.find(name);
        return found == m_slotOfName.end() ? nullptr : m_specs[found->second].get();
    }
    for (const std::unique_ptr<HATAttrSpec>& spec : m_specs) {
        if (spec->getName() == name)
            return spec.get();
    }
    return nullptr;
}

HSTFwdIter<HATAttrSpec*>* HATOptGroupSpec::createAttrSpecIter() const {
    return containers::heapIterOfOwned<HATAttrSpec*>(m_specs);
}

const std::string& HATOptGroupSpec::getInvokeStr(const HATAttrSpec* spec) const {
    return m_texts[requireSlot_(spec)].invokeText;
}

const std::string& HATOptGroupSpec::getDbId(const HATAttrSpec* spec) const {
    return m_texts[requireSlot_(spec)].dbId;
}

std::size_t HATOptGroupSpec::findSlot_(const HATAttrSpec* spec) const {
    if (spec == nullptr || spec->m_owner == nullptr)
        return kNoSlot;
    return spec->m_owner == this ? spec->m_slot : findCounterpart_(*spec->m_owner, spec->m_slot);
}

std::size_t HATOptGroupSpec::findSlotForDbId_(const std::string& dbId) const {
    if (m_texts.size() > kHandful) {
        const Index::const_iterator found = m_slotOfDbId.find(dbId);
        return found == m_slotOfDbId.end() ? kNoSlot : found->second;
    }
    for (std::size_t slot = 0; slot < m_texts.size(); ++slot) {
        if (m_texts[slot].dbId == dbId)
            return slot;
    }
    return kNoSlot;
}

std::size_t HATOptGroupSpec::findCounterpart_(const HATOptGroupSpec& other,
                                              std::size_t slot) const {
    const std::string& dbId = other.m_texts[slot].dbId;
    if (slot < m_texts.size() && m_texts[slot].dbId == dbId)
        return slot;
    return findSlotForDbId_(dbId);
}

std::size_t HATOptGroupSpec::requireSlot_(const HATAttrSpec* spec) const {
    const std::size_t slot = findSlot_(spec);
    if (slot == kNoSlot)
        throw HEXAlgException("option group \"" + m_id + "\" has no option " +
                              (spec == nullptr ? "NULL" : "\"" + spec->getName() + "\""));
    return slot;
}

void HATOptGroupSpec::index_(std::size_t slot, const std::string& name) {
    if (slot < kHandful)
        return;
    for (std::size_t at = slot == kHandful ? 0 : slot; at <= slot; ++at) {
        m_slotOfDbId.emplace(m_texts[at].dbId, at);
        m_slotOfName.emplace(at == slot ? name : m_specs[at]->getName(), at);
    }
}

void HATOptGroupSpec::reindexNames_() {
    if (m_specs.size() <= kHandful)
        return;
    Index slotOfName;
    for (std::size_t slot = 0; slot < m_specs.size(); ++slot)
        slotOfName.emplace(m_specs[slot]->getName(), slot);
    m_slotOfName.swap(slotOfName);
}
