// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "environment/filemgmt/HDDASrcFile.h"

class HDDASrcFilter;

namespace filemgmt {

/// The sources of a file set or of a composite file: in order, each path once.
class SrcFileList {
public:
    /// The list inside `file`, or null when it is no composite file.
    static const SrcFileList* inside(const HDDASrcFile& file);

    const std::vector<std::unique_ptr<HDDASrcFile>>& files() const { return m_files; }

    /// Throws a HEXUserException that names `holder` when no source may be
    /// added under `path`.
    void checkNew(const std::string& path, const std::string& holder) const;

    HDDASrcFile* find(const std::string& path) const;

    HDDASrcFile* add(std::unique_ptr<HDDASrcFile> owned);

    /// Puts `owned` where a source of its path stands, which is deleted.
    HDDASrcFile* replace(std::unique_ptr<HDDASrcFile> owned);

    /// Takes a source out; null for a stranger.
    std::unique_ptr<HDDASrcFile> take(const HDDASrcFile* file);

    void clear();

    /// Calls `see` for each source that passes `filter` (null: each), in order;
    /// with `deep`, the sources inside a composite file follow it.
    void visit(const HDDASrcFilter* filter, bool deep,
               const std::function<void(HDDASrcFile*)>& see) const;

private:
    std::vector<std::unique_ptr<HDDASrcFile>> m_files;
    std::unordered_map<std::string_view, std::size_t> m_index;  // keys: names of the sources
};

}  // namespace filemgmt
