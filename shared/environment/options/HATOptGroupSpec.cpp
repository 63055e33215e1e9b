// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroupSpec.h"

#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/textIndex.h"

namespace {

/// Up to here comparing the texts one by one beats hashing.
constexpr std::size_t kHandful = 8;

}  // namespace

struct HATOptGroupSpec::DbIdAt {
    const HATOptGroupSpec& own;
    const std::string& operator()(std::size_t slot) const { return own.m_texts[slot].dbId; }
};

struct HATOptGroupSpec::NameAt {
    const HATOptGroupSpec& own;
    const std::string& operator()(std::size_t slot) const { return own.m_specs[slot]->getName(); }
};

/// The first slot for each text.
struct HATOptGroupSpec::Indices {
    options::TextIndex ofDbId;
    options::TextIndex ofName;
};

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
    try {
        m_texts.push_back({dbId, invokeText});
        m_specs.emplace_back();
        reserveIndices_(slot + 1);
    } catch (...) {
        m_specs.resize(slot);
        m_texts.resize(slot);
        throw;
    }
    m_specs.back().reset(ownedSpec);
    index_(slot);
    ownedSpec->m_owner = this;
    ownedSpec->m_slot = slot;
}

void HATOptGroupSpec::reserve(std::size_t count) {
    m_specs.reserve(count);
    m_texts.reserve(count);
}

HATAttrSpec* HATOptGroupSpec::getAttrSpecForDbId(const std::string& dbId) const {
    const std::size_t slot = findSlotForDbId_(dbId);
    return slot == kNoSlot ? nullptr : m_specs[slot].get();
}

HATAttrSpec* HATOptGroupSpec::getAttrSpecByName(const std::string& name) const {
    if (m_indices != nullptr) {
        const std::size_t slot = m_indices->ofName.find(name, NameAt{*this});
        return slot == kNoSlot ? nullptr : m_specs[slot].get();
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
    if (m_indices != nullptr)
        return m_indices->ofDbId.find(dbId, DbIdAt{*this});
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

void HATOptGroupSpec::reserveIndices_(std::size_t count) {
    if (count <= kHandful)
        return;
    const bool isFirst = m_indices == nullptr;
    std::unique_ptr<Indices> made = isFirst ? std::make_unique<Indices>() : nullptr;
    Indices& indices = isFirst ? *made : *m_indices;
    indices.ofDbId.reserve(count, DbIdAt{*this});
    indices.ofName.reserve(count, NameAt{*this});
    if (isFirst)
        m_indices = std::move(made);
}

void HATOptGroupSpec::index_(std::size_t slot) {
    if (m_indices == nullptr)
        return;
    for (std::size_t at = slot == kHandful ? 0 : slot; at <= slot; ++at) {
        m_indices->ofDbId.add(m_texts[at].dbId, at, DbIdAt{*this});
        m_indices->ofName.add(m_specs[at]->getName(), at, NameAt{*this});
    }
}

void HATOptGroupSpec::reindexNames_() {
    if (m_indices == nullptr)
        return;
    options::TextIndex ofName;
    ofName.reserve(m_specs.size(), NameAt{*this});
    for (std::size_t slot = 0; slot < m_specs.size(); ++slot)
        ofName.add(m_specs[slot]->getName(), slot, NameAt{*this});
    m_indices->ofName = std::move(ofName);
}
