// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <set>
#include <string>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPFileType.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

/// One logical file of a step, such as a report, with the kinds under which it
/// can be found.
///
/// A flow step owns its report specs and numbers them. A HAXPFileCheck looks for
/// the file of a spec in a run directory.
class RUNS_API HAXPFileSpec {
public:
    using UniversalFileTypes = std::set<HAXPFileType>;
    using UniversalFileTypeRange =
        std::pair<UniversalFileTypes::const_iterator, UniversalFileTypes::const_iterator>;

    explicit HAXPFileSpec(const std::string& name);
    ~HAXPFileSpec();

    HAXPFileSpec(const HAXPFileSpec&) = delete;
    HAXPFileSpec& operator=(const HAXPFileSpec&) = delete;

    const std::string& getName() const { return m_name; }
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& description) { m_description = description; }

    /// The position among the specs of its step; -1 until a step took it.
    int getId() const { return m_id; }
    void setId(int id) { m_id = id; }

    /// Whether the file is also looked for under its name in lower case.
    bool checkLowerCase() const { return m_lowerCaseCheck; }
    void setLowerCaseCheck(bool check) { m_lowerCaseCheck = check; }

    /// Appends `type`, also when it is there already.
    void addFileType(HAXPTypes::FileType type);

    /// Takes `type` in, unless one with its hash is there already, which then stays.
    /// Never throws: a type that can't be taken in is left out.
    void addFileType(const HAXPFileType& type);

    /// How many enumerated file types there are; universal ones don't count.
    int fileTypeCount() const { return static_cast<int>(m_fileTypes.size()); }

    /// The enumerated file types, in order of addition, and a view of them that is good
    /// until one is added. The caller deletes the iterator.
    const HSTVector<HAXPTypes::FileType>& getFileTypes() const { return m_fileTypes; }
    HSTFwdIter<HAXPTypes::FileType>* createFileTypeIter() const;

    int fileTypeCountUniversal() const { return static_cast<int>(m_universalFileTypes.size()); }

    /// Begin and end of the universal file types, good until one is added.
    UniversalFileTypeRange createUniversalFileTypeRange() const;

private:
    HSTVector<HAXPTypes::FileType> m_fileTypes;
    UniversalFileTypes m_universalFileTypes;
    std::string m_name;
    std::string m_description;
    int m_id = -1;
    bool m_lowerCaseCheck = false;
};
