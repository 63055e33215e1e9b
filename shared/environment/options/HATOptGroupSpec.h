// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

class HATAttrSpec;
template <class T> class HSTFwdIter;

/// The declaration side of option groups: an ordered set of attribute specs,
/// each under a database id.
///
/// It owns the specs registered in it, and outlives the groups made from it.
/// Reading takes no lock and changes nothing; registering and naming belong to
/// one thread, before others read.
class ENVIRONMENT_API HATOptGroupSpec {
public:
    HATOptGroupSpec();
    ~HATOptGroupSpec();

    HATOptGroupSpec(const HATOptGroupSpec&) = delete;
    HATOptGroupSpec& operator=(const HATOptGroupSpec&) = delete;

    void setOptGrpId(const std::string& id) { m_id = id; }
    const std::string& getOptGrpId() const { return m_id; }
    void setOptGrpPrettyDisplayName(const std::string& text) { m_displayName = text; }
    const std::string& getOptGrpPrettyDisplayName() const { return m_displayName; }

    /// Takes `ownedSpec` over, behind those registered before. `dbId` is the
    /// name under which files keep the option, `invokeText` what puts it on a
    /// command line. A database id may come twice: look-up finds the first.
    /// @throws HEXAlgException `ownedSpec` is null or registered already; it
    /// stays with the caller.
    void registerAttrSpec(HATAttrSpec* ownedSpec, const std::string& dbId,
                          const std::string& invokeText);

    /// Makes room for `count` specs.
    void reserve(std::size_t count);

    /// The spec under exactly this database id, or null.
    HATAttrSpec* getAttrSpecForDbId(const std::string& dbId) const;
    /// The first spec with exactly this name, or null.
    HATAttrSpec* getAttrSpecByName(const std::string& name) const;

    std::size_t attrSpecCount() const { return m_specs.size(); }
    /// The specs in order of registration. The caller deletes the iterator,
    /// before a spec is registered.
    HSTFwdIter<HATAttrSpec*>* createAttrSpecIter() const;
    /// The same as a view, good until a spec is registered.
    const std::vector<std::unique_ptr<HATAttrSpec>>& getAttrSpecs() const { return m_specs; }

    /// The text by which the option goes on a command line, and the database id
    /// of it. A spec of another group spec stands for the one here with the same
    /// database id.
    /// @throws HEXAlgException there is no such option here.
    const std::string& getInvokeStr(const HATAttrSpec* spec) const;
    const std::string& getDbId(const HATAttrSpec* spec) const;

private:
    friend class HATAttrSpec;
    friend class HATOptGroup;

    struct DbIdAt;
    struct NameAt;
    struct Indices;

    /// What a spec was registered with.
    struct Texts {
        std::string dbId;
        std::string invokeText;
    };

    static constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

    /// The place of `spec`, or of the option here with its database id; kNoSlot
    /// when there is none.
    std::size_t findSlot_(const HATAttrSpec* spec) const;
    std::size_t findSlotForDbId_(const std::string& dbId) const;
    /// The place here of the option at `slot` of `other`: the same place when it
    /// has the same database id, else the first with that id, or kNoSlot.
    std::size_t findCounterpart_(const HATOptGroupSpec& other, std::size_t slot) const;
    /// As findSlot_().
    /// @throws HEXAlgException there is none, or `spec` is null.
    std::size_t requireSlot_(const HATAttrSpec* spec) const;
    /// Adds the option at `slot`, the last one, to the indices; all of them when
    /// it is the one that makes them worth their while.
    void index_(std::size_t slot);
    /// Makes room for that, so that it can't fail half-way.
    void reserveIndices_(std::size_t count);
    /// After a spec got another name.
    void reindexNames_();

    std::string m_id;
    std::string m_displayName;
    std::vector<std::unique_ptr<HATAttrSpec>> m_specs;
    std::vector<Texts> m_texts;
    /// Null while there are but a handful.
    std::unique_ptr<Indices> m_indices;
};
