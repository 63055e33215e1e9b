// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

class HADAFileSetChangeSummary;

namespace filemgmt {

class SrcFileList;

/// Notes in `changes` by what `after` differs from `before`, lists inside
/// composite files included. Whether it does.
bool diffSources(const SrcFileList& before, const SrcFileList& after,
                 HADAFileSetChangeSummary& changes);

}  // namespace filemgmt
