// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace ice40 {

/// One device of the family, as the tools name it.
struct Device {
    std::string name;           ///< "hx8k": nextpnr's switch and icetime's -d
    std::string timingFamily;   ///< "hx", "lp" or "u": yosys' -device
    std::string database;       ///< the chip database's file, "chipdb-8k.txt"
    std::string packageSuffix;  ///< part of the database's package names, ":4k" or empty
};

/// All devices, in the order in which they are offered.
const std::vector<Device>& devices();

/// The device of that name.
/// @throws StepFailure no such device; the text lists them.
const Device& findDevice(const std::string& name);

/// Pin names by package name, without the device's suffix.
using PackagePins = std::map<std::string, std::set<std::string>>;

/// Takes the packages of `device` from the text of its chip database. Reads no
/// further than the pin tables. An empty result means that there were none.
PackagePins parsePackages(std::istream& database, const Device& device);

/// The folder of the chip databases when nothing else is said.
std::string defaultDatabaseFolder();

/// The packages of `device` according to its database in `folder`.
/// @throws StepFailure the database is missing or has no packages.
PackagePins readPackages(const Device& device, const std::string& folder);

/// The pins of `package`.
/// @throws StepFailure the device has no such package; the text lists them.
const std::set<std::string>& findPackage(const PackagePins& packages, const Device& device,
                                         const std::string& package);

}  // namespace ice40
