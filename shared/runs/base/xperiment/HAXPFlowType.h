// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include <boost/uuid/uuid.hpp>

#include "runs/base/xperiment/RunsExport.h"

/// A kind of flow, known across tools and versions by its UUID.
///
/// The name is for display: two flow types with one UUID are the same, whatever
/// their names.
class RUNS_API HAXPFlowType {
public:
    /// The nil UUID and no name.
    HAXPFlowType();

    /// `uuid` may stand in braces, with or without dashes; empty means the nil UUID.
    /// @throws std::runtime_error "invalid uuid string": `uuid` isn't one.
    HAXPFlowType(const std::string& uuid, const std::string& name);

    /// A flow type unlike any other: its UUID is drawn at random.
    explicit HAXPFlowType(const std::string& name);

    HAXPFlowType(const HAXPFlowType&) = default;
    HAXPFlowType& operator=(const HAXPFlowType&) = default;
    ~HAXPFlowType();

    const std::string& getName() const { return m_name; }
    const boost::uuids::uuid& getUuid() const { return m_uuid; }

    /// The UUID as text: 36 characters, lower case, with dashes. It is what the
    /// catalogue compares.
    std::string getUniversalForm() const;

private:
    boost::uuids::uuid m_uuid;
    std::string m_name;
};
