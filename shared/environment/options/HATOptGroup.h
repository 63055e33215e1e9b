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

class HATAttrSpec;
class HATEnumRange;
class HATOptGroupObserver;
class HATOptGroupSpec;
template <class T> class HSTFwdIter;
namespace options {
struct OptionValue;
}

/// The value side of options: a value for each attribute spec of a group spec.
///
/// A value that isn't set follows the plain default of its spec, also when that
/// changes later; setting a value equal to the default un-sets it. So a new
/// group holds the defaults, and costs next to nothing until a value is set.
///
/// An attribute spec given to a group is one of its own group spec; one of
/// another group spec stands for the option with the same database id. Null, or
/// a spec of which there is no counterpart here, throws HEXAlgException, as an
/// operation for another kind than the option's does; the text names option and
/// kind. The string operations serve every kind but bool and int, as told at
/// HATAttrSpec.
///
/// Observers hear of real changes only: setting what a value is already, or a
/// default that changes in the spec, calls nobody. A change is stored first,
/// then every observer is told once; what the first of them throws passes to the
/// caller after all were told, and the value stays.
///
/// A group belongs to one thread at a time.
class ENVIRONMENT_API HATOptGroup {
public:
    /// Values for a group spec that outlives the group.
    /// @throws HEXAlgException `spec` is null.
    explicit HATOptGroup(const HATOptGroupSpec* spec);
    /// The same for a group spec of the group's own.
    explicit HATOptGroup(std::unique_ptr<const HATOptGroupSpec> ownedSpec);
    ~HATOptGroup();

    HATOptGroup(const HATOptGroup&) = delete;
    HATOptGroup& operator=(const HATOptGroup&) = delete;

    const HATOptGroupSpec* getOptionsSpec() const { return m_spec; }
    const std::string& getOptGrpId() const;
    const std::string& getOptGrpPrettyDisplayName() const;
    /// The specs in order of registration. The caller deletes the iterator.
    HSTFwdIter<HATAttrSpec*>* createAttrSpecIter() const;
    /// The spec, or null.
    HATAttrSpec* getAttrSpecForDbId(const std::string& dbId) const;
    HATAttrSpec* getAttrSpecByName(const std::string& name) const;

    bool getBoolVal(const HATAttrSpec* spec) const;
    int getIntVal(const HATAttrSpec* spec) const;
    long getLongVal(const HATAttrSpec* spec) const;
    /// Views of texts and lists are good until the value or its default changes.
    const std::string& getStrVal(const HATAttrSpec* spec) const;
    const std::string& getFileVal(const HATAttrSpec* spec) const;
    const HSTSList<std::string>& getStrListVal(const HATAttrSpec* spec) const;
    /// Null when neither value nor default is one of the spec's ranges. The
    /// range belongs to the group's own spec.
    const HATEnumRange* getEnumVal(const HATAttrSpec* spec) const;

    /// The setters store the value, also of a read-only option, and tell the
    /// observers of a change when `notify` is true.
    void setBoolVal(const HATAttrSpec* spec, bool value, bool notify);
    void setIntVal(const HATAttrSpec* spec, int value, bool notify);
    void setLongVal(const HATAttrSpec* spec, long value, bool notify);
    void setFileVal(const HATAttrSpec* spec, const std::string& path, bool notify);
    void setStrListVal(const HATAttrSpec* spec, const HSTSList<std::string>& value, bool notify);
    /// False, and nothing changes, when the kind can't hold the text: no number
    /// for a long, no range's value for an enum that has ranges. A string, a
    /// file and a string list hold every text.
    bool setStrVal(const HATAttrSpec* spec, const std::string& value, bool notify);
    /// Sets an enum by value text. False, and nothing changes, when it is the
    /// value of none of the ranges. An enum without ranges takes every text.
    bool setEnumVal(const HATAttrSpec* spec, const std::string& value, bool notify);

    /// Whether the option has a value of its own. One that doesn't follows the
    /// plain default.
    bool isSet(const HATAttrSpec* spec) const;
    /// Takes the option's own value away.
    void unset(const HATAttrSpec* spec, bool notify);
    /// Whether the value equals the plain default, set or not.
    bool isDefault(const HATAttrSpec* spec) const;

    /// Makes the values equal to those of `source`. With the same group spec an
    /// option follows its default here when it does so there; with another one
    /// options are matched by database id, and one that `source` lacks, has in
    /// another kind or holds at a value not allowed here keeps its value.
    /// Observers are told once for all changes, when `notify` is true.
    /// @throws HEXAlgException `source` is null.
    void copy(const HATOptGroup* source, bool notify);

    /// Whether the option has the same value in `other`; false when it is of
    /// another kind there. Allocates nothing.
    bool isSameIn(const HATAttrSpec* spec, const HATOptGroup& other) const;

    /// Whether any value differs. Groups of different specs are matched by
    /// database id; an option that only one of them has, or that is of another
    /// kind, is a difference. Allocates nothing.
    bool operator!=(const HATOptGroup& other) const;
    bool operator==(const HATOptGroup& other) const { return !(*this != other); }

    /// Tells `observer` of changes from now on. Null, or one attached already,
    /// is ignored. The observer isn't owned; whichever goes first detaches.
    void attach(HATOptGroupObserver* observer);
    /// Tells `observer` no longer; a stranger is ignored.
    void detach(HATOptGroupObserver* observer);

private:
    friend class HATOptGroupObserver;

    /// The place of the option that `spec` means here.
    /// @throws HEXAlgException there is none, or it isn't of `type`.
    std::size_t slotOf_(const HATAttrSpec* spec, HATAttrTypes::AttrType type,
                        const char* operation) const;
    std::size_t textSlotOf_(const HATAttrSpec* spec, const char* operation) const;
    const HATAttrSpec& specAt_(std::size_t slot) const;
    /// The option's own value, or null; the value that holds.
    const options::OptionValue* ownAt_(std::size_t slot) const;
    const options::OptionValue& valueAt_(std::size_t slot) const;

    /// Stores without telling anybody. True when the value that holds changed.
    bool store_(std::size_t slot, options::OptionValue&& value);
    bool drop_(std::size_t slot);
    void keep_(std::size_t slot, options::OptionValue&& value);
    void storeAndTell_(std::size_t slot, options::OptionValue&& value, bool notify);
    bool storeText_(std::size_t slot, const std::string& text, bool notify);
    bool copyBySlot_(const HATOptGroup& source);
    bool copyByDbId_(const HATOptGroup& source);
    bool differsBySlot_(const HATOptGroup& other) const;
    bool differsByDbId_(const HATOptGroup& other) const;
    void tellObservers_();

    std::unique_ptr<const HATOptGroupSpec> m_ownedSpec;
    const HATOptGroupSpec* m_spec;
    /// Empty until a value is set, then one for each slot there was at the time; null follows the
    /// default.
    std::vector<std::unique_ptr<options::OptionValue>> m_values;
    /// In order of attachment; not owned.
    std::vector<HATOptGroupObserver*> m_observers;
};
