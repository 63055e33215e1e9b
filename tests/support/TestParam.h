// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/params/HPAParamMgr.h"

namespace test {

/// Gives a parameter a value for as long as it lives:
///
///     const test::TestParam debug("runs.debug", true);
class TestParam {
public:
    TestParam(const std::string& name, bool value) : m_name(name) {
        HPAParamMgr::getParamMgr()->setValueAsBool(m_name, value);
    }
    ~TestParam() { HPAParamMgr::getParamMgr()->resetValue(m_name); }

    TestParam(const TestParam&) = delete;
    TestParam& operator=(const TestParam&) = delete;

private:
    std::string m_name;
};

}  // namespace test
