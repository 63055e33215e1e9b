// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroup.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroupObserver.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/options/optionChecks.h"
#include "environment/options/optionValue.h"

using options::OptionValue;

HATOptGroup::HATOptGroup(const HATOptGroupSpec* spec) : m_spec(spec) {
    if (m_spec == nullptr)
        throw HEXAlgException("option group made without a group spec");
}

HATOptGroup::HATOptGroup(std::unique_ptr<const HATOptGroupSpec> ownedSpec)
    : HATOptGroup(ownedSpec.get()) {
    m_ownedSpec = std::move(ownedSpec);
}

HATOptGroup::~HATOptGroup() {
    while (!m_observers.empty())
        detach(m_observers.back());
}

const std::string& HATOptGroup::getOptGrpId() const {
    return m_spec->getOptGrpId();
}

const std::string& HATOptGroup::getOptGrpPrettyDisplayName() const {
    return m_spec->getOptGrpPrettyDisplayName();
}

HSTFwdIter<HATAttrSpec*>* HATOptGroup::createAttrSpecIter() const {
    return m_spec->createAttrSpecIter();
}

HATAttrSpec* HATOptGroup::getAttrSpecForDbId(const std::string& dbId) const {
    return m_spec->getAttrSpecForDbId(dbId);
}

HATAttrSpec* HATOptGroup::getAttrSpecByName(const std::string& name) const {
    return m_spec->getAttrSpecByName(name);
}

bool HATOptGroup::getBoolVal(const HATAttrSpec* spec) const {
    return valueAt_(slotOf_(spec, HATAttrTypes::kBool, "getBoolVal")).number != 0;
}

int HATOptGroup::getIntVal(const HATAttrSpec* spec) const {
    return static_cast<int>(valueAt_(slotOf_(spec, HATAttrTypes::kInt, "getIntVal")).number);
}

long HATOptGroup::getLongVal(const HATAttrSpec* spec) const {
    return valueAt_(slotOf_(spec, HATAttrTypes::kLong, "getLongVal")).number;
}

const std::string& HATOptGroup::getStrVal(const HATAttrSpec* spec) const {
    return valueAt_(textSlotOf_(spec, "getStrVal")).text;
}

const std::string& HATOptGroup::getFileVal(const HATAttrSpec* spec) const {
    return valueAt_(slotOf_(spec, HATAttrTypes::kFile, "getFileVal")).text;
}

const HSTSList<std::string>& HATOptGroup::getStrListVal(const HATAttrSpec* spec) const {
    return valueAt_(slotOf_(spec, HATAttrTypes::kStringList, "getStrListVal")).elements;
}

const HATEnumRange* HATOptGroup::getEnumVal(const HATAttrSpec* spec) const {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kEnum, "getEnumVal");
    return specAt_(slot).getEnumRangeForVal(valueAt_(slot).text);
}

void HATOptGroup::setBoolVal(const HATAttrSpec* spec, bool value, bool notify) {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kBool, "setBoolVal");
    storeAndTell_(slot, options::fromBool(value), notify);
}

void HATOptGroup::setIntVal(const HATAttrSpec* spec, int value, bool notify) {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kInt, "setIntVal");
    storeAndTell_(slot, options::fromInt(value), notify);
}

void HATOptGroup::setLongVal(const HATAttrSpec* spec, long value, bool notify) {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kLong, "setLongVal");
    storeAndTell_(slot, options::fromLong(value), notify);
}

void HATOptGroup::setFileVal(const HATAttrSpec* spec, const std::string& path, bool notify) {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kFile, "setFileVal");
    storeAndTell_(slot, options::fromText(path), notify);
}

void HATOptGroup::setStrListVal(const HATAttrSpec* spec, const HSTSList<std::string>& value,
                                bool notify) {
    const std::size_t slot = slotOf_(spec, HATAttrTypes::kStringList, "setStrListVal");
    storeAndTell_(slot, options::fromElements(value), notify);
}

bool HATOptGroup::setStrVal(const HATAttrSpec* spec, const std::string& value, bool notify) {
    return storeText_(textSlotOf_(spec, "setStrVal"), value, notify);
}

bool HATOptGroup::setEnumVal(const HATAttrSpec* spec, const std::string& value, bool notify) {
    return storeText_(slotOf_(spec, HATAttrTypes::kEnum, "setEnumVal"), value, notify);
}

bool HATOptGroup::isSet(const HATAttrSpec* spec) const {
    return ownAt_(m_spec->requireSlot_(spec)) != nullptr;
}

void HATOptGroup::unset(const HATAttrSpec* spec, bool notify) {
    if (drop_(m_spec->requireSlot_(spec)) && notify)
        tellObservers_();
}

bool HATOptGroup::isDefault(const HATAttrSpec* spec) const {
    const std::size_t slot = m_spec->requireSlot_(spec);
    const OptionValue* own = ownAt_(slot);
    return own == nullptr || *own == *specAt_(slot).m_default;
}

void HATOptGroup::copy(const HATOptGroup* source, bool notify) {
    if (source == nullptr)
        throw HEXAlgException("option group \"" + getOptGrpId() + "\" copied from NULL");
    if (source == this)
        return;
    const bool changed = source->m_spec == m_spec ? copyBySlot_(*source) : copyByDbId_(*source);
    if (changed && notify)
        tellObservers_();
}

bool HATOptGroup::isSameIn(const HATAttrSpec* spec, const HATOptGroup& other) const {
    const std::size_t slot = m_spec->requireSlot_(spec);
    if (other.m_spec == m_spec) {
        const OptionValue* mine = ownAt_(slot);
        const OptionValue* theirs = other.ownAt_(slot);
        return mine == theirs || valueAt_(slot) == other.valueAt_(slot);
    }
    const std::size_t theirSlot = other.m_spec->requireSlot_(&specAt_(slot));
    return specAt_(slot).getAttrType() == other.specAt_(theirSlot).getAttrType() &&
           valueAt_(slot) == other.valueAt_(theirSlot);
}

bool HATOptGroup::operator!=(const HATOptGroup& other) const {
    return other.m_spec == m_spec ? differsBySlot_(other) : differsByDbId_(other);
}

void HATOptGroup::attach(HATOptGroupObserver* observer) {
    if (observer == nullptr ||
        std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end())
        return;
    m_observers.reserve(m_observers.size() + 1);
    observer->m_groups.push_back(this);
    m_observers.push_back(observer);
}

void HATOptGroup::detach(HATOptGroupObserver* observer) {
    const auto found = std::find(m_observers.begin(), m_observers.end(), observer);
    if (found == m_observers.end())
        return;
    m_observers.erase(found);
    std::vector<HATOptGroup*>& groups = observer->m_groups;
    groups.erase(std::find(groups.begin(), groups.end(), this));
}

std::size_t HATOptGroup::slotOf_(const HATAttrSpec* spec, HATAttrTypes::AttrType type,
                                 const char* operation) const {
    const std::size_t slot = m_spec->requireSlot_(spec);
    options::requireKind(specAt_(slot), type, operation);
    return slot;
}

std::size_t HATOptGroup::textSlotOf_(const HATAttrSpec* spec, const char* operation) const {
    const std::size_t slot = m_spec->requireSlot_(spec);
    options::requireText(specAt_(slot), operation);
    return slot;
}

const HATAttrSpec& HATOptGroup::specAt_(std::size_t slot) const {
    return *m_spec->m_specs[slot];
}

const OptionValue* HATOptGroup::ownAt_(std::size_t slot) const {
    return slot < m_values.size() ? m_values[slot].get() : nullptr;
}

const OptionValue& HATOptGroup::valueAt_(std::size_t slot) const {
    const OptionValue* own = ownAt_(slot);
    return own != nullptr ? *own : *specAt_(slot).m_default;
}

bool HATOptGroup::store_(std::size_t slot, OptionValue&& value) {
    if (value == *specAt_(slot).m_default)
        return drop_(slot);
    if (value == valueAt_(slot))
        return false;
    keep_(slot, std::move(value));
    return true;
}

bool HATOptGroup::drop_(std::size_t slot) {
    if (ownAt_(slot) == nullptr)
        return false;
    const std::unique_ptr<OptionValue> before = std::move(m_values[slot]);
    return !(*before == *specAt_(slot).m_default);
}

void HATOptGroup::keep_(std::size_t slot, OptionValue&& value) {
    std::unique_ptr<OptionValue> kept = std::make_unique<OptionValue>(std::move(value));
    if (slot >= m_values.size())
        m_values.resize(m_spec->attrSpecCount());
    m_values[slot] = std::move(kept);
}

void HATOptGroup::storeAndTell_(std::size_t slot, OptionValue&& value, bool notify) {
    if (store_(slot, std::move(value)) && notify)
        tellObservers_();
}

bool HATOptGroup::storeText_(std::size_t slot, const std::string& text, bool notify) {
    const HATAttrSpec& spec = specAt_(slot);
    OptionValue value;
    if (spec.getAttrType() == HATAttrTypes::kEnum && !options::isAllowedEnum(spec, text))
        return false;
    if (!options::parseText(spec.getAttrType(), text, value))
        return false;
    storeAndTell_(slot, std::move(value), notify);
    return true;
}

bool HATOptGroup::copyBySlot_(const HATOptGroup& source) {
    bool changed = false;
    const std::size_t count = std::max(m_values.size(), source.m_values.size());
    for (std::size_t slot = 0; slot < count; ++slot) {
        const OptionValue* theirs = source.ownAt_(slot);
        if (theirs == nullptr) {
            changed = drop_(slot) || changed;
        } else if (ownAt_(slot) == nullptr || !(*ownAt_(slot) == *theirs)) {
            changed = !(valueAt_(slot) == *theirs) || changed;
            keep_(slot, OptionValue(*theirs));
        }
    }
    return changed;
}

bool HATOptGroup::copyByDbId_(const HATOptGroup& source) {
    bool changed = false;
    for (std::size_t slot = 0; slot < m_spec->attrSpecCount(); ++slot) {
        const std::size_t theirs = source.m_spec->findCounterpart_(*m_spec, slot);
        const HATAttrSpec& spec = specAt_(slot);
        if (theirs == HATOptGroupSpec::kNoSlot ||
            source.specAt_(theirs).getAttrType() != spec.getAttrType())
            continue;
        const OptionValue& value = source.valueAt_(theirs);
        if (spec.getAttrType() == HATAttrTypes::kEnum && !value.text.empty() &&
            !options::isAllowedEnum(spec, value.text))
            continue;
        changed = store_(slot, OptionValue(value)) || changed;
    }
    return changed;
}

bool HATOptGroup::differsBySlot_(const HATOptGroup& other) const {
    const std::size_t count = std::max(m_values.size(), other.m_values.size());
    for (std::size_t slot = 0; slot < count; ++slot) {
        const OptionValue* mine = ownAt_(slot);
        const OptionValue* theirs = other.ownAt_(slot);
        if (mine != theirs && !(valueAt_(slot) == other.valueAt_(slot)))
            return true;
    }
    return false;
}

bool HATOptGroup::differsByDbId_(const HATOptGroup& other) const {
    for (std::size_t slot = 0; slot < m_spec->attrSpecCount(); ++slot) {
        const std::size_t theirs = other.m_spec->findCounterpart_(*m_spec, slot);
        if (theirs == HATOptGroupSpec::kNoSlot ||
            other.specAt_(theirs).getAttrType() != specAt_(slot).getAttrType() ||
            !(valueAt_(slot) == other.valueAt_(theirs)))
            return true;
    }
    for (std::size_t slot = 0; slot < other.m_spec->attrSpecCount(); ++slot) {
        if (m_spec->findCounterpart_(*other.m_spec, slot) == HATOptGroupSpec::kNoSlot)
            return true;
    }
    return false;
}

void HATOptGroup::tellObservers_() {
    if (m_observers.size() == 1) {
        m_observers.front()->optionsChangedCallback(this);
        return;
    }
    const std::vector<HATOptGroupObserver*> toTell = m_observers;
    std::exception_ptr firstThrown;
    for (HATOptGroupObserver* observer : toTell) {
        if (std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
            continue;
        try {
            observer->optionsChangedCallback(this);
        } catch (...) {
            if (!firstThrown)
                firstThrown = std::current_exception();
        }
    }
    if (firstThrown)
        std::rethrow_exception(firstThrown);
}
