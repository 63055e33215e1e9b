// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

/// Base of objects that carry option groups: it gives them a common type.
class ENVIRONMENT_API HATAttrObj {
public:
    virtual ~HATAttrObj() noexcept(false);

protected:
    HATAttrObj() = default;
    HATAttrObj(const HATAttrObj&) = default;
    HATAttrObj& operator=(const HATAttrObj&) = default;
};
