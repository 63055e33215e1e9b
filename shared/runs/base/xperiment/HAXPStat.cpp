// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStat.h"

#include <utility>

#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/HAXPStatSpec.h"

static_assert(sizeof(long) == 8, "stamps and counts need 64 bits");

HAXPStat::HAXPStat(HAXPStatSpec* spec) : m_spec(spec) {}

HAXPStat::HAXPStat(const HAXPStat& other) : m_spec(other.m_spec) {}

HAXPStat::~HAXPStat() {
    m_spec = nullptr;
}

bool HAXPStat::isError() const {
    return false;
}

bool HAXPStat::isAvailable() const {
    const HCTLock lock(m_mutex);
    return m_available;
}

HAXPStat* HAXPStat::clone() const {
    return clone_();
}

void HAXPStat::updateStat(HAXPExpRunBase* run) {
    const HCTLock lock(m_mutex);
    switch (m_spec->getStatType()) {
    case HAXPTypes::STAT_LONG:
        return update_(m_longVal, &HAXPStat::updLong_, run);
    case HAXPTypes::STAT_DOUBLE:
        return update_(m_doubleVal, &HAXPStat::updDouble_, run);
    case HAXPTypes::STAT_STRING:
        return update_(m_stringVal, &HAXPStat::updString_, run);
    case HAXPTypes::STAT_DT_STAMP:
        return update_(m_dtStampVal, &HAXPStat::updDTStamp_, run);
    case HAXPTypes::STAT_TIME:
        return update_(m_timeVal, &HAXPStat::updTime_, run);
    default:
        throw HEXAlgException("unknown stat type");
    }
}

void HAXPStat::resetStat() {
    const HCTLock lock(m_mutex);
    m_available = false;
    m_longVal = 0;
    m_dtStampVal = 0;
    m_timeVal = 0;
    m_doubleVal = 0;
    m_stringVal.clear();
}

void HAXPStat::checkType(HAXPTypes::StatType type) const {
    if (m_spec->getStatType() != type)
        throw HEXAlgException("StatType mismatch");
}

long HAXPStat::getLongVal() const {
    checkType(HAXPTypes::STAT_LONG);
    const HCTLock lock(m_mutex);
    return m_longVal;
}

double HAXPStat::getDoubleVal() const {
    checkType(HAXPTypes::STAT_DOUBLE);
    const HCTLock lock(m_mutex);
    return m_doubleVal;
}

void HAXPStat::getStringVal(std::string& value) const {
    checkType(HAXPTypes::STAT_STRING);
    const HCTLock lock(m_mutex);
    value = m_stringVal;
}

long HAXPStat::getDTStampVal() const {
    checkType(HAXPTypes::STAT_DT_STAMP);
    const HCTLock lock(m_mutex);
    return m_dtStampVal;
}

long HAXPStat::getTimeVal() const {
    checkType(HAXPTypes::STAT_TIME);
    const HCTLock lock(m_mutex);
    return m_timeVal;
}

bool HAXPStat::updLong_(long&, HAXPExpRunBase*) {
    return false;
}

bool HAXPStat::updDouble_(double&, HAXPExpRunBase*) {
    return false;
}

bool HAXPStat::updString_(std::string&, HAXPExpRunBase*) {
    return false;
}

bool HAXPStat::updDTStamp_(long&, HAXPExpRunBase*) {
    return false;
}

bool HAXPStat::updTime_(long&, HAXPExpRunBase*) {
    return false;
}

template <class T> void HAXPStat::update_(T& field, Update<T> update, HAXPExpRunBase* run) {
    T value{};
    const bool computed = (this->*update)(value, run);
    field = computed ? std::move(value) : T{};
    m_available = computed;
}
