// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include <boost/uuid/uuid.hpp>

/// UUIDs, as flow types and file types take and give them.
namespace xperiment {

/// The UUID that `text` says; nil for an empty one.
/// @throws std::runtime_error "invalid uuid string".
boost::uuids::uuid parseUuid(const std::string& text);

/// A UUID that no other call gave, on any thread or in any process.
boost::uuids::uuid randomUuid();

/// 36 characters, lower case, with dashes.
std::string uuidText(const boost::uuids::uuid& uuid);

}  // namespace xperiment
