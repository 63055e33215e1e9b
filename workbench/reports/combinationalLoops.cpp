// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/combinationalLoops.h"

#include <algorithm>
#include <unordered_map>

namespace reports {

namespace {

using Index = std::size_t;

bool isCombinational(const DesignCell& cell) {
    return cell.type.rfind("SB_LUT", 0) == 0 || cell.type.rfind("SB_CARRY", 0) == 0;
}

/// The combinational cells, and which of them read the output of which.
struct CellGraph {
    explicit CellGraph(const Design& design) {
        std::unordered_map<int, Index> drivers;
        for (const DesignCell& cell : design.cells) {
            if (!isCombinational(cell))
                continue;
            for (const DesignPin& pin : cell.pins)
                if (pin.isOutput && pin.net >= 0)
                    drivers[pin.net] = cells.size();
            cells.push_back(&cell);
        }
        readers.resize(cells.size());
        for (Index i = 0; i < cells.size(); ++i)
            connect(i, drivers);
    }

    void connect(Index cell, const std::unordered_map<int, Index>& drivers) {
        for (const DesignPin& pin : cells[cell]->pins) {
            const auto driver = pin.isOutput ? drivers.end() : drivers.find(pin.net);
            if (driver != drivers.end())
                readers[driver->second].push_back(cell);
        }
    }

    bool readsItself(Index cell) const {
        const std::vector<Index>& all = readers[cell];
        return std::find(all.begin(), all.end(), cell) != all.end();
    }

    std::vector<const DesignCell*> cells;
    std::vector<std::vector<Index>> readers;
};

/// Tarjan's search for strongly connected components, with a stack of its own:
/// a chain of carries may be thousands of cells deep.
class ComponentSearch {
public:
    explicit ComponentSearch(const CellGraph& graph)
        : m_graph(graph), m_order(graph.cells.size(), 0), m_lowest(graph.cells.size(), 0),
          m_isOpen(graph.cells.size(), false) {}

    std::vector<std::vector<Index>> run() {
        for (Index i = 0; i < m_order.size(); ++i)
            if (m_order[i] == 0)
                visit_(i);
        return std::move(m_loops);
    }

private:
    struct Frame {
        Index cell;
        Index next;  ///< reader to look at
    };

    void enter_(Index cell) {
        m_order[cell] = m_lowest[cell] = ++m_count;
        m_isOpen[cell] = true;
        m_open.push_back(cell);
        m_frames.push_back({cell, 0});
    }

    void visit_(Index root) {
        enter_(root);
        while (!m_frames.empty()) {
            const Index cell = m_frames.back().cell;
            if (m_frames.back().next < m_graph.readers[cell].size())
                look_(cell, m_graph.readers[cell][m_frames.back().next++]);
            else
                leave_(cell);
        }
    }

    void look_(Index cell, Index reader) {
        if (m_order[reader] == 0)
            enter_(reader);
        else if (m_isOpen[reader])
            m_lowest[cell] = std::min(m_lowest[cell], m_order[reader]);
    }

    void leave_(Index cell) {
        m_frames.pop_back();
        if (!m_frames.empty()) {
            const Index parent = m_frames.back().cell;
            m_lowest[parent] = std::min(m_lowest[parent], m_lowest[cell]);
        }
        if (m_lowest[cell] == m_order[cell])
            close_(cell);
    }

    void close_(Index cell) {
        std::vector<Index> component;
        for (bool isLast = false; !isLast;) {
            const Index one = m_open.back();
            m_open.pop_back();
            m_isOpen[one] = false;
            component.push_back(one);
            isLast = one == cell;
        }
        if (component.size() > 1 || m_graph.readsItself(cell)) {
            std::sort(component.begin(), component.end());
            m_loops.push_back(component);
        }
    }

    const CellGraph& m_graph;
    std::vector<Index> m_order;
    std::vector<Index> m_lowest;
    std::vector<bool> m_isOpen;
    std::vector<Index> m_open;
    std::vector<Frame> m_frames;
    std::vector<std::vector<Index>> m_loops;
    Index m_count = 0;
};

}  // namespace

std::vector<std::vector<const DesignCell*>> findCombinationalLoops(const Design& design) {
    const CellGraph graph(design);
    std::vector<std::vector<Index>> loops = ComponentSearch(graph).run();
    std::sort(loops.begin(), loops.end());
    std::vector<std::vector<const DesignCell*>> result;
    for (const std::vector<Index>& loop : loops) {
        result.emplace_back();
        for (const Index cell : loop)
            result.back().push_back(graph.cells[cell]);
    }
    return result;
}

}  // namespace reports
