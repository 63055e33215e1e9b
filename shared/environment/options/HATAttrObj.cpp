// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATAttrObj.h"

HATAttrObj::~HATAttrObj() noexcept(false) = default;
