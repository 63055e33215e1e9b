// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// The record that a run's wrapper script leaves of its process: only a whole one gives a
// complete handle, and none gives a process that may not be signalled.
#include "environment/process/HUTProcHandleXMLParser.h"
#include "environment/process/HUTProcessHandle.h"
#include "fuzz/fuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    HUTProcessHandle handle;
    const std::string path = fuzz::scratch().write("marker", data, size);
    const bool isWhole = HUTProcHandleXMLParser().parsePH(path, &handle);
    fuzz::require(handle.isComplete() == isWhole, "a handle is complete when all was read");
    fuzz::require(handle.parseAttemptsCount() == 1, "an attempt is counted");
    for (const long number : {handle.getPid(), handle.getGroup()})
        fuzz::require(number == 0 || number > 1, "a process is none that all others hang on");
    return 0;
}
