// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATAttrSpec.h"

#include <algorithm>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/options/optionChecks.h"
#include "environment/options/optionValue.h"

using options::requireKind;
using options::requireText;

HATAttrSpec::HATAttrSpec(HATAttrTypes::AttrType type, SpecType specType)
    : m_type(type), m_specType(specType),
      m_default(std::make_unique<options::OptionValue>(options::initialValue(type))) {
    if (type < HATAttrTypes::kBool || type > HATAttrTypes::kLong)
        throw HEXAlgException("no kind of option has the number " +
                              std::to_string(static_cast<int>(type)));
}

HATAttrSpec::~HATAttrSpec() = default;

void HATAttrSpec::setName(const std::string& name) {
    m_name = name;
    if (m_owner != nullptr)
        m_owner->reindexNames_();
}

void HATAttrSpec::setBoolDefault(bool value) {
    requireKind(*this, HATAttrTypes::kBool, "setBoolDefault");
    *m_default = options::fromBool(value);
}

bool HATAttrSpec::getBoolDefault() const {
    requireKind(*this, HATAttrTypes::kBool, "getBoolDefault");
    return m_default->number != 0;
}

void HATAttrSpec::setIntDefault(int value) {
    requireKind(*this, HATAttrTypes::kInt, "setIntDefault");
    *m_default = options::fromInt(value);
}

int HATAttrSpec::getIntDefault() const {
    requireKind(*this, HATAttrTypes::kInt, "getIntDefault");
    return static_cast<int>(m_default->number);
}

void HATAttrSpec::setLongDefault(long value) {
    requireKind(*this, HATAttrTypes::kLong, "setLongDefault");
    *m_default = options::fromLong(value);
}

long HATAttrSpec::getLongDefault() const {
    requireKind(*this, HATAttrTypes::kLong, "getLongDefault");
    return m_default->number;
}

void HATAttrSpec::setStringDefault(const std::string& value) {
    *m_default = valueOfText_(value, "setStringDefault");
}

const std::string& HATAttrSpec::getStringDefault() const {
    requireText(*this, "getStringDefault");
    return m_default->text;
}

void HATAttrSpec::setStringListDefault(const HSTSList<std::string>& value) {
    requireKind(*this, HATAttrTypes::kStringList, "setStringListDefault");
    *m_default = options::fromElements(value);
}

const HSTSList<std::string>& HATAttrSpec::getStringListDefault() const {
    requireKind(*this, HATAttrTypes::kStringList, "getStringListDefault");
    return m_default->elements;
}

void HATAttrSpec::setEnumDefault(const std::string& value) {
    requireKind(*this, HATAttrTypes::kEnum, "setEnumDefault");
    *m_default = valueOfText_(value, "setEnumDefault");
}

const HATEnumRange* HATAttrSpec::getEnumDefault() const {
    requireKind(*this, HATAttrTypes::kEnum, "getEnumDefault");
    return getEnumRangeForVal(m_default->text);
}

void HATAttrSpec::setFileDefault(const std::string& path) {
    requireKind(*this, HATAttrTypes::kFile, "setFileDefault");
    *m_default = options::fromText(path);
}

const std::string& HATAttrSpec::getFileDefault() const {
    requireKind(*this, HATAttrTypes::kFile, "getFileDefault");
    return m_default->text;
}

void HATAttrSpec::clearAltDefault() {
    m_altDefault.reset();
}

void HATAttrSpec::setBoolAltDefault(bool value) {
    requireKind(*this, HATAttrTypes::kBool, "setBoolAltDefault");
    setAlt_(options::fromBool(value));
}

bool HATAttrSpec::getBoolAltDefault() const {
    requireKind(*this, HATAttrTypes::kBool, "getBoolAltDefault");
    return altOrPlain_().number != 0;
}

void HATAttrSpec::setIntAltDefault(int value) {
    requireKind(*this, HATAttrTypes::kInt, "setIntAltDefault");
    setAlt_(options::fromInt(value));
}

int HATAttrSpec::getIntAltDefault() const {
    requireKind(*this, HATAttrTypes::kInt, "getIntAltDefault");
    return static_cast<int>(altOrPlain_().number);
}

void HATAttrSpec::setLongAltDefault(long value) {
    requireKind(*this, HATAttrTypes::kLong, "setLongAltDefault");
    setAlt_(options::fromLong(value));
}

long HATAttrSpec::getLongAltDefault() const {
    requireKind(*this, HATAttrTypes::kLong, "getLongAltDefault");
    return altOrPlain_().number;
}

void HATAttrSpec::setStringAltDefault(const std::string& value) {
    setAlt_(valueOfText_(value, "setStringAltDefault"));
}

const std::string& HATAttrSpec::getStringAltDefault() const {
    requireText(*this, "getStringAltDefault");
    return altOrPlain_().text;
}

void HATAttrSpec::setStringListAltDefault(const HSTSList<std::string>& value) {
    requireKind(*this, HATAttrTypes::kStringList, "setStringListAltDefault");
    setAlt_(options::fromElements(value));
}

const HSTSList<std::string>& HATAttrSpec::getStringListAltDefault() const {
    requireKind(*this, HATAttrTypes::kStringList, "getStringListAltDefault");
    return altOrPlain_().elements;
}

void HATAttrSpec::setEnumAltDefault(const std::string& value) {
    requireKind(*this, HATAttrTypes::kEnum, "setEnumAltDefault");
    setAlt_(valueOfText_(value, "setEnumAltDefault"));
}

const HATEnumRange* HATAttrSpec::getEnumAltDefault() const {
    requireKind(*this, HATAttrTypes::kEnum, "getEnumAltDefault");
    return getEnumRangeForVal(altOrPlain_().text);
}

void HATAttrSpec::setFileAltDefault(const std::string& path) {
    requireKind(*this, HATAttrTypes::kFile, "setFileAltDefault");
    setAlt_(options::fromText(path));
}

const std::string& HATAttrSpec::getFileAltDefault() const {
    requireKind(*this, HATAttrTypes::kFile, "getFileAltDefault");
    return altOrPlain_().text;
}

void HATAttrSpec::addFileExtRange(const std::string& ext) {
    if (std::find(m_fileExts.begin(), m_fileExts.end(), ext) == m_fileExts.end())
        m_fileExts.push_back(ext);
}

void HATAttrSpec::addEnumRange(const std::string& id, const std::string& value,
                               const std::string& description) {
    requireKind(*this, HATAttrTypes::kEnum, "addEnumRange");
    if (getEnumRangeForId(id) != nullptr)
        throw HEXAlgException("option \"" + m_name + "\" has two ranges with the id \"" + id +
                              "\"");
    if (getEnumRangeForVal(value) != nullptr)
        throw HEXAlgException("option \"" + m_name + "\" has two ranges with the value \"" + value +
                              "\"");
    m_ranges.push_back(std::make_unique<HATEnumRange>(id, value, description));
}

const HATEnumRange* HATAttrSpec::getEnumRangeForId(const std::string& id) const {
    for (const std::unique_ptr<HATEnumRange>& range : m_ranges) {
        if (range->getId() == id)
            return range.get();
    }
    return nullptr;
}

const HATEnumRange* HATAttrSpec::getEnumRangeForVal(const std::string& value) const {
    for (const std::unique_ptr<HATEnumRange>& range : m_ranges) {
        if (range->getVal() == value)
            return range.get();
    }
    return nullptr;
}

HSTFwdIter<const HATEnumRange*>* HATAttrSpec::createEnumRangeIter() const {
    return containers::heapIterOfOwned<const HATEnumRange*>(m_ranges);
}

const options::OptionValue& HATAttrSpec::altOrPlain_() const {
    return m_altDefault != nullptr ? *m_altDefault : *m_default;
}

void HATAttrSpec::setAlt_(options::OptionValue&& value) {
    if (m_altDefault == nullptr)
        m_altDefault = std::make_unique<options::OptionValue>();
    *m_altDefault = std::move(value);
}

options::OptionValue HATAttrSpec::valueOfText_(const std::string& text,
                                               const char* operation) const {
    requireText(*this, operation);
    options::OptionValue value;
    const bool isEnum = m_type == HATAttrTypes::kEnum;
    if ((isEnum && !text.empty() && !options::isAllowedEnum(*this, text)) ||
        !options::parseText(m_type, text, value))
        options::refuseText(*this, operation, text);
    return value;
}
