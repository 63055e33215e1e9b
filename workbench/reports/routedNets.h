// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>

namespace reports {

/// What a routed design (".asc") tells of its nets: the wire segments of the
/// device that each takes. nextpnr writes one ".sym" line a segment.
struct RoutedNets {
    std::string device;                    ///< "8k"
    std::map<std::string, long> segments;  ///< by the name of the net
};

/// Reads such a text. On refusal `reason` tells what is wrong with it and
/// `nets` stays as it was.
bool parseRoutedNets(const std::string& text, RoutedNets& nets, std::string& reason);

/// The last lines of icetime's report.
struct IcetimeReport {
    double delayNs = 0;
    double fmaxMhz = 0;
    long levels = 0;
};

/// Reads icetime's report; refuses like parseRoutedNets().
bool parseIcetime(const std::string& text, IcetimeReport& report, std::string& reason);

}  // namespace reports
