// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/projectInputs.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include <fmt/format.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/strings/HSTStringUtils.h"
#include "shell/exitStatus.h"
#include "shell/knownNames.h"
#include "workbench/DesignInputs.h"
#include "workbench/Project.h"
#include "workbench/ice40/devices.h"
#include "workbench/ice40/stepFailure.h"

namespace shell {

namespace {

/// @throws HEXUserException `path` is no file that can be read.
void requireFile(const std::string& path) {
    struct stat info {};
    const char* reason = nullptr;
    if (stat(path.c_str(), &info) != 0)
        reason = std::strerror(errno);
    else if (!S_ISREG(info.st_mode))
        reason = "it is no file";
    if (reason != nullptr)
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-17@%s%s", path, reason));
}

/// @throws CommandError the tools don't know the device, or it hasn't the package.
void requireDevice(const DesignInputs& inputs) {
    requireDeviceName(inputs.device);
    try {
        const ice40::Device& device = ice40::findDevice(inputs.device);
        const std::string folder = ice40::defaultDatabaseFolder();
        // Without the databases the package is checked when a run starts.
        struct stat info {};
        if (stat((folder + "/" + device.database).c_str(), &info) == 0)
            ice40::findPackage(ice40::readPackages(device, folder), device, inputs.package);
    } catch (const ice40::StepFailure& failure) {
        throw CommandError(kExitRefused, failure.what());
    }
}

/// @throws CommandError the text isn't a number of MHz above 0.
void requireFrequency(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value > 0 && value < 10000))
        throw CommandError(
            kExitUsage,
            fmt::format("The frequency '{}' is no number of MHz. Say for example --freq 12.",
                        text));
}

bool isConstraints(const std::string& path) {
    const std::string tail = ".pcf";
    return path.size() > tail.size() &&
           HSTStringUtils::iequals(path.substr(path.size() - tail.size()), tail);
}

std::string absolute(const std::string& path) {
    std::string full = path;
    HUTFileUtils::makeAbsolutePath(full);
    return full;
}

AddedFile addFile(const std::string& path, DesignInputs& inputs) {
    auto& sources = inputs.sources;
    if (isConstraints(path)) {
        inputs.constraints = path;
        return {path, AddedFile::kConstraints};
    }
    if (std::find(sources.begin(), sources.end(), path) != sources.end())
        return {path, AddedFile::kKnown};
    sources.push_back(path);
    return {path, AddedFile::kSource};
}

}  // namespace

std::unique_ptr<Project> makeProject(const std::string& dir, const DesignInputs& inputs) {
    for (const std::string& source : inputs.sources)
        requireFile(source);
    if (!inputs.constraints.empty())
        requireFile(inputs.constraints);
    requireDevice(inputs);
    requireFrequency(inputs.frequencyMhz);
    return Project::create(dir, inputs);
}

std::vector<AddedFile> addFiles(Project& project, const std::vector<std::string>& files) {
    for (const std::string& file : files)
        requireFile(file);
    DesignInputs inputs = project.getInputs();
    std::vector<AddedFile> added;
    added.reserve(files.size());
    for (const std::string& file : files)
        added.push_back(addFile(absolute(file), inputs));
    project.setInputs(inputs);
    project.save();
    return added;
}

}  // namespace shell
