// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// The file of a project: it opens, or is refused with a text that names it.
#include <string>

#include "environment/errors/HEXUserException.h"
#include "fuzz/fuzzSupport.h"
#include "workbench/Project.h"
#include "workbench/product.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    workbench::installProduct(XPERIMENT_BIN_DIR);
    static const std::string folder = fuzz::scratch().folder("project");
    const std::string path = fuzz::scratch().write("project/project.xml", data, size);
    try {
        fuzz::require(Project::open(folder, Project::kRead)->getDir() == folder,
                      "a project knows its folder");
    } catch (const HEXUserException& error) {
        fuzz::require(std::string(error.what()).find(path) != std::string::npos,
                      "a refusal names the file");
    }
    return 0;
}
