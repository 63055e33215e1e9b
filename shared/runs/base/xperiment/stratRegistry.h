// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "environment/containers/HSTVector.h"

class HAXPFlow;

namespace xperiment {

/// Strategies by flow, each flow's in order of registration, with look-up by name
/// hashed beside the list. It owns none of them.
///
/// Names may come to be equal when strategies are renamed behind its back: then the
/// one registered first is found. FlowMap is a map from flows to what it is given.
template <class Strategy, template <class> class FlowMap> class StratRegistry {
public:
    using Strategies = HSTVector<Strategy*>;

    /// The strategies of `flow`, good until they change; null without one.
    const Strategies* find(const HAXPFlow* flow) const {
        const auto at = m_flows.find(flow);
        return at == m_flows.end() ? nullptr : &at->second.strategies;
    }

    /// The first with exactly this name; null without one.
    Strategy* find(const HAXPFlow* flow, const std::string& name) const {
        const Namesakes* const namesakes = findNamesakes_(flow, name);
        return namesakes == nullptr ? nullptr : namesakes->front().second;
    }

    /// Whether `accept` takes one of those with this name, asked in their order.
    template <class Accept>
    bool any(const HAXPFlow* flow, const std::string& name, Accept accept) const {
        const Namesakes* const namesakes = findNamesakes_(flow, name);
        return namesakes != nullptr &&
               std::any_of(namesakes->begin(), namesakes->end(),
                           [&](const auto& namesake) { return accept(*namesake.second); });
    }

    void add(Strategy* strategy) {
        PerFlow& flow = m_flows[strategy->getFlow()];
        flow.strategies.push_back(strategy);
        const Place place{strategy->getFlow(), strategy->getName(), m_nextSerial++};
        enter_(flow, place, strategy);
        m_places[strategy] = place;
    }

    /// Whether it is in the list of `flow`.
    bool has(const HAXPFlow* flow, const Strategy* strategy) const {
        const auto place = m_places.find(strategy);
        return place != m_places.end() && place->second.flow == flow;
    }

    /// Takes it out of the list of `flow`, and the list away with its last one. False
    /// when it isn't in that list.
    bool remove(const HAXPFlow* flow, const Strategy* strategy) {
        if (!has(flow, strategy))
            return false;
        const auto at = m_flows.find(flow);
        const auto place = m_places.find(strategy);
        Strategies& list = at->second.strategies;
        list.erase(std::find(list.begin(), list.end(), strategy));
        leave_(at->second, place->second);
        m_places.erase(place);
        if (list.empty())
            m_flows.erase(at);
        return true;
    }

    /// Finds it by the name that it has now. Does nothing for one that isn't here.
    void rekey(Strategy* strategy) {
        const auto at = m_places.find(strategy);
        if (at == m_places.end() || at->second.name == strategy->getName())
            return;
        PerFlow& flow = m_flows[at->second.flow];
        leave_(flow, at->second);
        at->second.name = strategy->getName();
        enter_(flow, at->second, strategy);
    }

private:
    /// Those of one name with their serial numbers, the first registered in front.
    using Namesakes = std::vector<std::pair<std::size_t, Strategy*>>;

    struct PerFlow {
        Strategies strategies;
        std::unordered_map<std::string, Namesakes> byName;
    };

    /// Where a strategy is entered: flow and name as they were then.
    struct Place {
        const HAXPFlow* flow = nullptr;
        std::string name;
        std::size_t serial = 0;
    };

    const Namesakes* findNamesakes_(const HAXPFlow* flow, const std::string& name) const {
        const auto at = m_flows.find(flow);
        if (at == m_flows.end())
            return nullptr;
        const auto found = at->second.byName.find(name);
        return found == at->second.byName.end() ? nullptr : &found->second;
    }

    static void enter_(PerFlow& flow, const Place& place, Strategy* strategy) {
        Namesakes& namesakes = flow.byName[place.name];
        const std::pair<std::size_t, Strategy*> entry(place.serial, strategy);
        namesakes.insert(std::lower_bound(namesakes.begin(), namesakes.end(), entry), entry);
    }

    static void leave_(PerFlow& flow, const Place& place) {
        const auto found = flow.byName.find(place.name);
        Namesakes& namesakes = found->second;
        namesakes.erase(std::find_if(namesakes.begin(), namesakes.end(), [&](const auto& namesake) {
            return namesake.first == place.serial;
        }));
        if (namesakes.empty())
            flow.byName.erase(found);
    }

    FlowMap<PerFlow> m_flows;
    std::unordered_map<const Strategy*, Place> m_places;
    std::size_t m_nextSerial = 0;
};

}  // namespace xperiment
