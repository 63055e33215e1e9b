// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/observers/HUTGuiEvent.h"

/// Mix-in of an object that hears events. Belongs to the thread that fires them.
class ENVIRONMENT_API HUTGuiEventListener {
public:
    /// `name` tells the listener apart in diagnostics.
    explicit HUTGuiEventListener(const std::string& name);
    /// Leaves every event.
    virtual ~HUTGuiEventListener();

    HUTGuiEventListener(const HUTGuiEventListener&) = delete;
    HUTGuiEventListener& operator=(const HUTGuiEventListener&) = delete;

    const std::string& getListenerName() const { return m_listenerName; }

    /// Hears events called `eventName` from now on; a second call changes nothing.
    void addEvent(const std::string& eventName);

    /// Hears nothing any more.
    void removeAllEvents();

    /// The names of the events that it hears, in order of addition.
    const std::vector<std::string>& getEvents() const { return m_events; }

protected:
    /// Hook of HUTGuiEvent::fire(): once for each event registered for. An
    /// override must not delete the listener.
    virtual void handleEvent_(const HUTGuiEvent::GuiEventBase* event) = 0;

private:
    friend class HUTGuiEvent;

    std::string m_listenerName;
    std::vector<std::string> m_events;
};
