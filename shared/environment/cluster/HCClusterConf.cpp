// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/cluster/HCClusterConf.h"

HCClusterConf::HCClusterConf(const std::string& name) : m_name(name) {}
