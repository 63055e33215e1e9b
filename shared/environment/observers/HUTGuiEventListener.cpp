// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/observers/HUTGuiEventListener.h"

#include <algorithm>

namespace {

/// Everyone who hears at least one event, in order of registration. Never
/// destroyed: a listener may go as late as the process does.
std::vector<HUTGuiEventListener*>& listeners() {
    static auto* const everyone = new std::vector<HUTGuiEventListener*>;
    return *everyone;
}

bool isListening(const HUTGuiEventListener* listener) {
    return std::find(listeners().begin(), listeners().end(), listener) != listeners().end();
}

bool hears(const HUTGuiEventListener* listener, const std::string& eventName) {
    const std::vector<std::string>& events = listener->getEvents();
    return std::find(events.begin(), events.end(), eventName) != events.end();
}

}  // namespace

HUTGuiEvent::GuiEventBase::GuiEventBase(const std::string& name) : m_name(name) {}

HUTGuiEvent::GuiEventBase::~GuiEventBase() = default;

void HUTGuiEvent::fire(const GuiEventBase& event) {
    const std::vector<HUTGuiEventListener*> toTell = listeners();
    for (HUTGuiEventListener* listener : toTell) {
        if (isListening(listener) && hears(listener, event.getName()))
            listener->handleEvent_(&event);
    }
}

HUTGuiEventListener::HUTGuiEventListener(const std::string& name) : m_listenerName(name) {}

HUTGuiEventListener::~HUTGuiEventListener() {
    removeAllEvents();
}

void HUTGuiEventListener::addEvent(const std::string& eventName) {
    if (hears(this, eventName))
        return;
    m_events.push_back(eventName);
    if (!isListening(this))
        listeners().push_back(this);
}

void HUTGuiEventListener::removeAllEvents() {
    m_events.clear();
    listeners().erase(std::remove(listeners().begin(), listeners().end(), this), listeners().end());
}
