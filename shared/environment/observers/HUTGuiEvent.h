// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// Events that pass between the layers of the environment.
class ENVIRONMENT_API HUTGuiEvent {
public:
    HUTGuiEvent() = delete;

    /// The base of every event: a name by which listeners register.
    class ENVIRONMENT_API GuiEventBase {
    public:
        explicit GuiEventBase(const std::string& name);
        GuiEventBase(const GuiEventBase&) = default;
        GuiEventBase& operator=(const GuiEventBase&) = default;
        virtual ~GuiEventBase();

        const std::string& getName() const { return m_name; }

    private:
        std::string m_name;
    };

    /// Hands `event` to every listener registered for its name, in order of
    /// registration, on the caller's thread. Listeners may register and leave
    /// meanwhile; what one throws passes on and the rest isn't told.
    static void fire(const GuiEventBase& event);
};
