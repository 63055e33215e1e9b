// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/devices.h"

#include <algorithm>
#include <fstream>
#include <istream>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "workbench/ice40/stepFailure.h"

namespace ice40 {

namespace {

/// The package's own name when its entry is for this device, else empty: the
/// 8k database serves the 4k devices too, in entries like "tq144:4k".
std::string packageName(const std::string& entry, const Device& device) {
    const std::size_t colon = entry.find(':');
    const std::string suffix = colon == std::string::npos ? "" : entry.substr(colon);
    return suffix == device.packageSuffix ? entry.substr(0, colon) : std::string();
}

}  // namespace

const std::vector<Device>& devices() {
    static const std::vector<Device> kDevices{
        {"hx1k", "hx", "chipdb-1k.txt", ""}, {"hx4k", "hx", "chipdb-8k.txt", ":4k"},
        {"hx8k", "hx", "chipdb-8k.txt", ""}, {"lp384", "lp", "chipdb-384.txt", ""},
        {"lp1k", "lp", "chipdb-1k.txt", ""}, {"lp4k", "lp", "chipdb-8k.txt", ":4k"},
        {"lp8k", "lp", "chipdb-8k.txt", ""}, {"up3k", "u", "chipdb-5k.txt", ""},
        {"up5k", "u", "chipdb-5k.txt", ""},  {"u1k", "u", "chipdb-u4k.txt", ""},
        {"u2k", "u", "chipdb-u4k.txt", ""},  {"u4k", "u", "chipdb-u4k.txt", ""},
    };
    return kDevices;
}

const Device& findDevice(const std::string& name) {
    const std::vector<Device>& all = devices();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Device& device) { return device.name == name; });
    if (found != all.end())
        return *found;
    std::vector<std::string> names;
    names.reserve(all.size());
    for (const Device& device : all)
        names.push_back(device.name);
    throw StepFailure(fmt::format("device '{}' is not known", name),
                      fmt::format("Choose one of {}", fmt::join(names, ", ")));
}

PackagePins parsePackages(std::istream& database, const Device& device) {
    PackagePins packages;
    std::set<std::string>* pins = nullptr;
    std::string line;
    while (std::getline(database, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] != '.') {
            if (pins != nullptr)
                pins->insert(line.substr(0, line.find(' ')));
            continue;
        }
        pins = nullptr;
        if (line.rfind(".pins ", 0) == 0) {
            const std::string name = packageName(line.substr(6), device);
            if (!name.empty())
                pins = &packages[name];
        } else if (!packages.empty()) {
            break;
        }
    }
    return packages;
}

std::string defaultDatabaseFolder() {
    return "/usr/share/fpga-icestorm/chipdb";
}

PackagePins readPackages(const Device& device, const std::string& folder) {
    const std::string path = folder + "/" + device.database;
    std::ifstream database(path);
    PackagePins packages = parsePackages(database, device);
    if (packages.empty())
        throw StepFailure(
            fmt::format("the pins of {} can't be read from '{}'", device.name, path),
            "Install package fpga-icestorm-chipdb, or name the folder of the chip databases with "
            "--chipdb",
            kExitNotInstalled);
    return packages;
}

const std::set<std::string>& findPackage(const PackagePins& packages, const Device& device,
                                         const std::string& package) {
    const auto found = packages.find(package);
    if (found != packages.end())
        return found->second;
    std::vector<std::string> names;
    for (const auto& entry : packages)
        names.push_back(entry.first);
    throw StepFailure(fmt::format("device {} has no package '{}'", device.name, package),
                      fmt::format("Choose one of {}", fmt::join(names, ", ")));
}

}  // namespace ice40
