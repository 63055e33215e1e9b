// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HSTStrUtils.h"

#include "environment/strings/HSTStringUtils.h"

bool HSTStrUtils::equalToCI(const std::string& a, const std::string& b) {
    return HSTStringUtils::iequals(a, b);
}
