// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTSList.h"
#include "environment/options/HATAttrTypes.h"

class HATEnumRange;
class HATOptGroupSpec;
template <class T> class HSTFwdIter;
namespace options {
struct OptionValue;
}

/// The declaration of one option: its kind, name, defaults and flags.
///
/// A spec has a plain default, which every value that isn't set follows, also
/// when it changes later. It can have an alternative default, which stands in
/// for the plain one where a listing asks whether a value differs from its
/// default; it changes no value.
///
/// Operations for one kind throw HEXAlgException, naming option and kind, when
/// the option is of another. The string operations serve every kind but bool
/// and int: the text of an enum is its value, of a long its decimal digits, of a
/// string list its elements with a blank between them (taken apart at blanks
/// when it is set); the kinds without operations of their own hold plain text.
class ENVIRONMENT_API HATAttrSpec {
public:
    /// What a spec declares; every spec declares an option.
    enum SpecType { kOption = 0 };

    /// An option without a name, whose default is false, 0 or empty.
    /// @throws HEXAlgException `type` is no kind.
    HATAttrSpec(HATAttrTypes::AttrType type, SpecType specType);
    ~HATAttrSpec();

    HATAttrSpec(const HATAttrSpec&) = delete;
    HATAttrSpec& operator=(const HATAttrSpec&) = delete;

    HATAttrTypes::AttrType getAttrType() const { return m_type; }
    SpecType getSpecType() const { return m_specType; }

    /// Also after registration: look-up by name follows.
    void setName(const std::string& name);
    const std::string& getName() const { return m_name; }
    void setDescription(const std::string& description) { m_description = description; }
    const std::string& getDescription() const { return m_description; }

    void setBoolDefault(bool value);
    bool getBoolDefault() const;
    void setIntDefault(int value);
    int getIntDefault() const;
    void setLongDefault(long value);
    long getLongDefault() const;
    /// @throws HEXAlgException also for a text that the kind can't hold: no
    /// number for a long, no range's value for an enum that has ranges.
    void setStringDefault(const std::string& value);
    const std::string& getStringDefault() const;
    void setStringListDefault(const HSTSList<std::string>& value);
    const HSTSList<std::string>& getStringListDefault() const;
    /// By value text; the empty text means no default. While the option has no
    /// ranges any text is taken, and found among those added later.
    /// @throws HEXAlgException no range has this value; the default stays.
    void setEnumDefault(const std::string& value);
    /// The range of the default value, or null when there is none.
    const HATEnumRange* getEnumDefault() const;
    void setFileDefault(const std::string& path);
    const std::string& getFileDefault() const;

    /// Whether an alternative default was set. Without one the operations below
    /// read as the plain default does.
    bool hasAltDefault() const { return m_altDefault != nullptr; }
    void clearAltDefault();
    void setBoolAltDefault(bool value);
    bool getBoolAltDefault() const;
    void setIntAltDefault(int value);
    int getIntAltDefault() const;
    void setLongAltDefault(long value);
    long getLongAltDefault() const;
    /// Refuses as setStringDefault() does.
    void setStringAltDefault(const std::string& value);
    const std::string& getStringAltDefault() const;
    void setStringListAltDefault(const HSTSList<std::string>& value);
    const HSTSList<std::string>& getStringListAltDefault() const;
    /// Refuses as setEnumDefault() does.
    void setEnumAltDefault(const std::string& value);
    const HATEnumRange* getEnumAltDefault() const;
    void setFileAltDefault(const std::string& path);
    const std::string& getFileAltDefault() const;

    /// The option is listed and written even at its default.
    void setAlwaysWrite(bool alwaysWrite) { m_alwaysWrite = alwaysWrite; }
    bool isAlwaysWrite() const { return m_alwaysWrite; }
    /// A user may look at the value but not set it. For user interfaces: the
    /// setters of a group don't look at it.
    void setReadOnly(bool readOnly) { m_readOnly = readOnly; }
    bool isReadOnly() const { return m_readOnly; }
    /// Whether user interfaces show the option; true from the start.
    void setVisible(bool visible) { m_visible = visible; }
    bool isVisible() const { return m_visible; }

    /// Adds an extension, without its dot, that files of this option may have.
    /// One that is there already isn't added again.
    void addFileExtRange(const std::string& ext);
    /// The extensions in the order in which they were added; none means any.
    const std::vector<std::string>& getFileExtRange() const { return m_fileExts; }
    void setFileExtRangeDescription(const std::string& text) { m_fileExtText = text; }
    const std::string& getFileExtRangeDescription() const { return m_fileExtText; }
    /// Whether the file belongs to the project, and moves with it.
    void setIsProjectFile(bool isProjectFile) { m_isProjectFile = isProjectFile; }
    bool isProjectFile() const { return m_isProjectFile; }

    /// Adds an allowed value to an enum option.
    /// @throws HEXAlgException the id or the value is there already.
    void addEnumRange(const std::string& id, const std::string& value,
                      const std::string& description);
    bool hasEnumRanges() const { return !m_ranges.empty(); }
    /// The range with exactly this id, or null.
    const HATEnumRange* getEnumRangeForId(const std::string& id) const;
    /// The range with exactly this value text, or null.
    const HATEnumRange* getEnumRangeForVal(const std::string& value) const;
    /// The ranges in the order in which they were added. The caller deletes the
    /// iterator, before a range is added.
    HSTFwdIter<const HATEnumRange*>* createEnumRangeIter() const;

private:
    friend class HATOptGroup;
    friend class HATOptGroupSpec;

    const options::OptionValue& altOrPlain_() const;
    void setAlt_(options::OptionValue&& value);
    options::OptionValue valueOfText_(const std::string& text, const char* operation) const;

    HATAttrTypes::AttrType m_type;
    SpecType m_specType;
    bool m_alwaysWrite = false;
    bool m_readOnly = false;
    bool m_visible = true;
    bool m_isProjectFile = false;
    std::string m_name;
    std::string m_description;
    std::unique_ptr<options::OptionValue> m_default;
    std::unique_ptr<options::OptionValue> m_altDefault;
    std::vector<std::string> m_fileExts;
    std::string m_fileExtText;
    std::vector<std::unique_ptr<HATEnumRange>> m_ranges;

    /// The group spec that owns this one, and the place in it; null before
    /// registration.
    HATOptGroupSpec* m_owner = nullptr;
    std::size_t m_slot = 0;
};
