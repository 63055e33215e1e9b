// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/routedNets.h"
#include "workbench/reports/texts.h"

#include <locale>
#include <sstream>

namespace reports {

namespace {

const std::string kLevels = "Total number of logic levels: ";
const std::string kDelay = "Total path delay: ";

bool readDelay(const std::string& line, IcetimeReport& report) {
    std::istringstream words(line.substr(kDelay.size()));
    words.imbue(std::locale::classic());
    std::string unit;
    char bracket = 0;
    std::string end;
    return static_cast<bool>(words >> report.delayNs >> unit >> bracket >> report.fmaxMhz >> end) &&
           unit == "ns" && bracket == '(' && end == "MHz)" && report.delayNs > 0 &&
           report.fmaxMhz > 0;
}

bool readLevels(const std::string& line, IcetimeReport& report) {
    std::istringstream words(line.substr(kLevels.size()));
    words.imbue(std::locale::classic());
    return static_cast<bool>(words >> report.levels) && report.levels >= 0;
}

}  // namespace

bool parseRoutedNets(const std::string& text, RoutedNets& nets, std::string& reason) {
    RoutedNets result;
    std::istringstream stream(text);
    bool hasTiles = false;
    for (std::string line; std::getline(stream, line);) {
        if (startsWith(line, ".device ")) {
            result.device = line.substr(8);
        } else if (startsWith(line, ".logic_tile ")) {
            hasTiles = true;
        } else if (startsWith(line, ".sym ")) {
            const std::size_t blank = line.find(' ', 5);
            if (blank == std::string::npos || blank + 1 == line.size())
                return refuse(reason, "a '.sym' line of it names no net; it may have been cut "
                                      "short");
            ++result.segments[line.substr(blank + 1)];
        }
    }
    if (result.device.empty() || !hasTiles)
        return refuse(reason, "it is no routed design of nextpnr, or it was cut short");
    nets = std::move(result);
    return true;
}

bool parseIcetime(const std::string& text, IcetimeReport& report, std::string& reason) {
    IcetimeReport result;
    bool hasLevels = false;
    bool hasDelay = false;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (startsWith(line, kLevels))
            hasLevels = readLevels(line, result);
        else if (startsWith(line, kDelay))
            hasDelay = readDelay(line, result);
    }
    if (!hasLevels || !hasDelay)
        return refuse(reason, "it lacks the total delay of the path; it may have been cut short");
    report = result;
    return true;
}

}  // namespace reports
