// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace test::reports {

/// Whether `document` keeps the rules of the schema `name`, such as
/// "report-catalogue.xsd". A schema that can't be read fails the test.
bool isValidBySchema(const std::string& name, const std::string& document);

}  // namespace test::reports
