// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// One allowed value of an enum option: the id under which files keep it, the
/// text that goes on a command line, and a sentence for the user. It never
/// changes, and lives as long as the attribute spec that it belongs to.
class ENVIRONMENT_API HATEnumRange {
public:
    HATEnumRange(const std::string& id, const std::string& value, const std::string& description);

    const std::string& getId() const { return m_id; }
    const std::string& getVal() const { return m_value; }
    const std::string& getDescription() const { return m_description; }

private:
    std::string m_id;
    std::string m_value;
    std::string m_description;
};
