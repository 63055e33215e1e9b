// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ostream>
#include <string>

namespace test::reports {

/// Whether `document` keeps the rules of the schema `name`, such as
/// "report-catalogue.xsd". A schema that can't be read fails the test.
bool isValidBySchema(const std::string& name, const std::string& document);

/// A well-formed document that breaks the rules of its schema, and the complaint about it.
struct FaultCase {
    const char* name;
    std::string document;
    const char* fault;
};

inline std::ostream& operator<<(std::ostream& os, const FaultCase& row) {
    return os << row.name;
}

}  // namespace test::reports
