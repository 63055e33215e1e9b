// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

class HAXPExpRun;

namespace xperiment {

/// Runs in the order in which they came, each once.
///
/// Most lists are short and walked in an instant; one that reaches kIndexedFrom runs
/// gets an index, which stays, and isn't walked for a look-up any more. The runs aren't
/// owned and never looked into.
class IndexedRunList {
public:
    static constexpr std::size_t kIndexedFrom = 500;

    /// Adds the run at the end; false for one that is there, which stays where it is.
    bool insert(HAXPExpRun* run);
    bool contains(HAXPExpRun* run) const;

    std::size_t size() const { return m_runs.size(); }
    const std::vector<HAXPExpRun*>& runs() const { return m_runs; }
    bool hasIndex() const { return m_index != nullptr; }

private:
    /// The lowest bits of a pointer to a run are always 0.
    struct Hash {
        std::size_t operator()(HAXPExpRun* run) const noexcept {
            constexpr unsigned kUnusedBits = 3;
            return reinterpret_cast<std::uintptr_t>(run) >> kUnusedBits;
        }
    };
    /// From a run to its place in the list.
    using Index = std::unordered_map<HAXPExpRun*, std::size_t, Hash>;

    void buildIndex_();

    std::vector<HAXPExpRun*> m_runs;
    std::unique_ptr<Index> m_index;
};

}  // namespace xperiment
