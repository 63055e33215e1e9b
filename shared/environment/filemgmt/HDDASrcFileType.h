// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

/// The kind of a source file. There is one object per kind, for the life of the
/// process: compare pointers or ids.
class ENVIRONMENT_API HDDASrcFileType {
public:
    HDDASrcFileType(const HDDASrcFileType&) = delete;
    HDDASrcFileType& operator=(const HDDASrcFileType&) = delete;

    /// The kind `id`; for a number without a kind, that of unknown files.
    static const HDDASrcFileType* get(HDDATypes::SFTId id);

    /// The kind that the extension of `path` stands for, ignoring case.
    static const HDDASrcFileType* getForFile(const std::string& path);

    /// The kind of this name, ignoring case, or null.
    static const HDDASrcFileType* getForName(const std::string& name);

    HDDATypes::SFTId getId() const { return m_id; }

    /// A name for the user, such as "SystemVerilog".
    const char* getName() const { return m_name; }

    /// Whether a tool keeps its own data in files of this kind, which change
    /// with every run over them.
    bool isDbData() const { return m_dbData; }

private:
    friend struct SrcFileTypeTable;
    constexpr HDDASrcFileType(HDDATypes::SFTId id, const char* name, bool dbData)
        : m_id(id), m_name(name), m_dbData(dbData) {}

    HDDATypes::SFTId m_id;
    const char* m_name;
    bool m_dbData;
};
