// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

class HUTProcessHandle;

/// Reads the record that a run's wrapper script leaves of its process.
class ENVIRONMENT_API HUTProcHandleXMLParser {
public:
    /// Fills `handle` from the file `path` and counts the attempt in it. True
    /// when the record was read whole; the handle is complete then. A file
    /// that is missing, torn, empty, larger than 64 KB or not a record never
    /// throws: the handle gets what could be read for sure and stays
    /// incomplete, so that a later poll may try again.
    bool parsePH(const std::string& path, HUTProcessHandle* handle);
};
