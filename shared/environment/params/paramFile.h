// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"

/// The lines of a parameters file, as HPAParamMgr::readParamFile() tells them.
namespace paramFile {

struct Line {
    /// From 1.
    int number;
    std::string name;
    std::string value;
};

/// The lines "name = value" of `content`; `malformed` gets the numbers of those
/// that are neither that nor blank nor a comment.
HSTVector<Line> parse(const std::string& content, HSTVector<int>& malformed);

}  // namespace paramFile
