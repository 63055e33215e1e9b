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
    return valueAt(slotOf(spec, HATAttrTypes::kBool, "getBoolVal")).number != 0;
}

int HATOptGroup::getIntVal(const HATAttrSpec* spec) const {
    return static_cast<int>(valueAt(slotOf(spec, HATAttrTypes::kInt, "getIntVal")).number);
}

long HATOptGroup::getLongVal(const HATAttrSpec* spec) const {
    return valueAt(slotOf(spec, HATAttrTypes::kLong, "getLongVal")).number;
}

const std::string& HATOptGroup::getStrVal(const HATAttrSpec* spec) const {
    return valueAt(textSlotOf(spec, "getStrVal")).text;
}

const std::string& HATOptGroup::getFileVal(const HATAttrSpec* spec) const {
    return valueAt(slotOf(spec, HATAttrTypes::kFile, "getFileVal")).text;
}

const HSTSList<std::string>& HATOptGroup::getStrListVal(const HATAttrSpec* spec) const {
    return valueAt(slotOf(spec, HATAttrTypes::kStringList, "getStrListVal")).elements;
}

const HATEnumRange* HATOptGroup::getEnumVal(const HATAttrSpec* spec) const {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kEnum, "getEnumVal");
    return specAt(slot).getEnumRangeForVal(valueAt(slot).text);
}

void HATOptGroup::setBoolVal(const HATAttrSpec* spec, bool value, bool notify) {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kBool, "setBoolVal");
    storeAndTell(slot, options::fromBool(value), notify);
}

void HATOptGroup::setIntVal(const HATAttrSpec* spec, int value, bool notify) {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kInt, "setIntVal");
    storeAndTell(slot, options::fromInt(value), notify);
}

void HATOptGroup::setLongVal(const HATAttrSpec* spec, long value, bool notify) {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kLong, "setLongVal");
    storeAndTell(slot, options::fromLong(value), notify);
}

void HATOptGroup::setFileVal(const HATAttrSpec* spec, const std::string& path, bool notify) {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kFile, "setFileVal");
    storeAndTell(slot, options::fromText(path), notify);
}

void HATOptGroup::setStrListVal(const HATAttrSpec* spec, const HSTSList<std::string>& value,
                                bool notify) {
    const std::size_t slot = slotOf(spec, HATAttrTypes::kStringList, "setStrListVal");
    storeAndTell(slot, options::fromElements(value), notify);
}

bool HATOptGroup::setStrVal(const HATAttrSpec* spec, const std::string& value, bool notify) {
    return storeText(textSlotOf(spec, "setStrVal"), value, notify);
}

bool HATOptGroup::setEnumVal(const HATAttrSpec* spec, const std::string& value, bool notify) {
    return storeText(slotOf(spec, HATAttrTypes::kEnum, "setEnumVal"), value, notify);
}

bool HATOptGroup::isSet(const HATAttrSpec* spec) const {
    return ownAt(m_spec->requireSlot(spec)) != nullptr;
}

void HATOptGroup::unset(const HATAttrSpec* spec, bool notify) {
    if (drop(m_spec->requireSlot(spec)) && notify)
        tellObservers();
}

bool HATOptGroup::isDefault(const HATAttrSpec* spec) const {
    const std::size_t slot = m_spec->requireSlot(spec);
    const OptionValue* own = ownAt(slot);
    return own == nullptr || *own == *specAt(slot).m_default;
}

void HATOptGroup::copy(const HATOptGroup* source, bool notify) {
    if (source == nullptr)
        throw HEXAlgException("option group \"" + getOptGrpId() + "\" copied from NULL");
    if (source == this)
        return;
    const bool changed = source->m_spec == m_spec ? copyBySlot(*source) : copyByDbId(*source);
    if (changed && notify)
        tellObservers();
}

bool HATOptGroup::operator!=(const HATOptGroup& other) const {
    return other.m_spec == m_spec ? differsBySlot(other) : differsByDbId(other);
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

std::size_t HATOptGroup::slotOf(const HATAttrSpec* spec, HATAttrTypes::AttrType type,
                                const char* operation) const {
    const std::size_t slot = m_spec->requireSlot(spec);
    options::requireKind(specAt(slot), type, operation);
    return slot;
}

std::size_t HATOptGroup::textSlotOf(const HATAttrSpec* spec, const char* operation) const {
    const std::size_t slot = m_spec->requireSlot(spec);
    options::requireText(specAt(slot), operation);
    return slot;
}

const HATAttrSpec& HATOptGroup::specAt(std::size_t slot) const {
    return *m_spec->m_specs[slot];
}

const OptionValue* HATOptGroup::ownAt(std::size_t slot) const {
    return slot < m_values.size() ? m_values[slot].get() : nullptr;
}

const OptionValue& HATOptGroup::valueAt(std::size_t slot) const {
    const OptionValue* own = ownAt(slot);
    return own != nullptr ? *own : *specAt(slot).m_default;
}

bool HATOptGroup::store(std::size_t slot, const OptionValue& value) {
    if (value == *specAt(slot).m_default)
        return drop(slot);
    if (value == valueAt(slot))
        return false;
    keep(slot, value);
    return true;
}

bool HATOptGroup::drop(std::size_t slot) {
    if (ownAt(slot) == nullptr)
        return false;
    const std::unique_ptr<OptionValue> before = std::move(m_values[slot]);
    return !(*before == *specAt(slot).m_default);
}

void HATOptGroup::keep(std::size_t slot, const OptionValue& value) {
    std::unique_ptr<OptionValue> kept = std::make_unique<OptionValue>(value);
    if (slot >= m_values.size())
        m_values.resize(slot + 1);
    m_values[slot] = std::move(kept);
}

void HATOptGroup::storeAndTell(std::size_t slot, const OptionValue& value, bool notify) {
    if (store(slot, value) && notify)
        tellObservers();
}

bool HATOptGroup::storeText(std::size_t slot, const std::string& text, bool notify) {
    const HATAttrSpec& spec = specAt(slot);
    OptionValue value;
    if (spec.getAttrType() == HATAttrTypes::kEnum && !options::isAllowedEnum(spec, text))
        return false;
    if (!options::parseText(spec.getAttrType(), text, value))
        return false;
    storeAndTell(slot, value, notify);
    return true;
}

bool HATOptGroup::copyBySlot(const HATOptGroup& source) {
    bool changed = false;
    const std::size_t count = std::max(m_values.size(), source.m_values.size());
    for (std::size_t slot = 0; slot < count; ++slot) {
        const OptionValue* theirs = source.ownAt(slot);
        if (theirs == nullptr) {
            changed = drop(slot) || changed;
        } else if (ownAt(slot) == nullptr || !(*ownAt(slot) == *theirs)) {
            changed = !(valueAt(slot) == *theirs) || changed;
            keep(slot, *theirs);
        }
    }
    return changed;
}

bool HATOptGroup::copyByDbId(const HATOptGroup& source) {
    bool changed = false;
    for (std::size_t slot = 0; slot < m_spec->attrSpecCount(); ++slot) {
        const std::size_t theirs = source.m_spec->findCounterpart(*m_spec, slot);
        const HATAttrSpec& spec = specAt(slot);
        if (theirs == HATOptGroupSpec::kNoSlot ||
            source.specAt(theirs).getAttrType() != spec.getAttrType())
            continue;
        const OptionValue& value = source.valueAt(theirs);
        if (spec.getAttrType() == HATAttrTypes::kEnum && !value.text.empty() &&
            !options::isAllowedEnum(spec, value.text))
            continue;
        changed = store(slot, value) || changed;
    }
    return changed;
}

bool HATOptGroup::differsBySlot(const HATOptGroup& other) const {
    const std::size_t count = std::max(m_values.size(), other.m_values.size());
    for (std::size_t slot = 0; slot < count; ++slot) {
        const OptionValue* mine = ownAt(slot);
        const OptionValue* theirs = other.ownAt(slot);
        if (mine != theirs && !(valueAt(slot) == other.valueAt(slot)))
            return true;
    }
    return false;
}

bool HATOptGroup::differsByDbId(const HATOptGroup& other) const {
    for (std::size_t slot = 0; slot < m_spec->attrSpecCount(); ++slot) {
        const std::size_t theirs = other.m_spec->findCounterpart(*m_spec, slot);
        if (theirs == HATOptGroupSpec::kNoSlot ||
            other.specAt(theirs).getAttrType() != specAt(slot).getAttrType() ||
            !(valueAt(slot) == other.valueAt(theirs)))
            return true;
    }
    for (std::size_t slot = 0; slot < other.m_spec->attrSpecCount(); ++slot) {
        if (m_spec->findCounterpart(*other.m_spec, slot) == HATOptGroupSpec::kNoSlot)
            return true;
    }
    return false;
}

void HATOptGroup::tellObservers() {
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
