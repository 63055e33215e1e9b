// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/ice40/reportData.h"

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

namespace test {

std::string reportData(const std::string& name) {
    std::ifstream file(std::string(ICE40_TEST_DATA) + "/" + name);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace test
