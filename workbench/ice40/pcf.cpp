// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/pcf.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace ice40 {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kMostNames = 12;

Words splitWords(const std::string& line) {
    std::istringstream stream(line.substr(0, line.find('#')));
    Words words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

/// Some names in a row; the rest is only counted.
std::string listed(const Words& names) {
    if (names.size() <= kMostNames)
        return fmt::format("{}", fmt::join(names, ", "));
    const auto end = names.begin() + kMostNames;
    return fmt::format("{} and {} more", fmt::join(names.begin(), end, ", "),
                       names.size() - kMostNames);
}

/// The values that follow an option of set_io; null for an unknown option, an
/// empty list for one that takes none.
const Words* valuesOf(const std::string& option) {
    static const std::map<std::string, Words> kOptions{
        {"-nowarn", {}},
        {"-pullup", {"yes", "no", "1", "0"}},
        {"-pullup_resistor", {"3P3K", "6P8K", "10K", "100K"}},
    };
    const auto found = kOptions.find(option);
    return found == kOptions.end() ? nullptr : &found->second;
}

/// Reads the file line by line and gathers what is wrong.
class PcfReader {
public:
    explicit PcfReader(std::vector<PcfProblem>& problems) : m_problems(problems) {}

    void readLine(int line, const std::string& text) {
        m_line = line;
        const Words words = splitWords(text);
        if (words.empty())
            return;
        if (words[0] == "set_io")
            readPin_(words);
        else if (words[0] == "set_frequency")
            readClock_(words);
        else
            complain_(fmt::format("unknown command '{}'. Use 'set_io port pin' or 'set_frequency "
                                  "net MHz'.",
                                  words[0]));
    }

    Constraints take() { return std::move(m_result); }

private:
    void complain_(const std::string& text) { m_problems.push_back({m_line, text}); }

    /// Skips the options at `at`; false when one of them is wrong.
    bool readOptions_(const Words& words, std::size_t& at, PinConstraint& constraint) {
        for (; at < words.size() && words[at][0] == '-'; ++at) {
            const std::string& option = words[at];
            const Words* values = valuesOf(option);
            if (values == nullptr) {
                complain_(fmt::format("unknown option '{}' of set_io. Use -nowarn, -pullup or "
                                      "-pullup_resistor.",
                                      option));
                return false;
            }
            constraint.mayBeUnused |= option == "-nowarn";
            if (values->empty())
                continue;
            if (++at >= words.size() ||
                std::find(values->begin(), values->end(), words[at]) == values->end()) {
                complain_(fmt::format("option '{}' needs one of {}. Correct its value.", option,
                                      fmt::join(*values, ", ")));
                return false;
            }
        }
        return true;
    }

    void readPin_(const Words& words) {
        PinConstraint constraint;
        constraint.line = m_line;
        std::size_t at = 1;
        if (!readOptions_(words, at, constraint))
            return;
        if (words.size() != at + 2) {
            complain_("set_io needs a port and a pin. Write 'set_io port pin'.");
            return;
        }
        constraint.port = words[at];
        constraint.pin = words[at + 1];
        m_result.pins.push_back(constraint);
    }

    void readClock_(const Words& words) {
        ClockConstraint constraint;
        constraint.line = m_line;
        std::istringstream number(words.size() == 3 ? words[2] : "");
        number.imbue(std::locale::classic());
        if (words.size() != 3 || !(number >> constraint.mhz) || !number.eof() ||
            !(constraint.mhz > 0)) {
            complain_("set_frequency needs a net and a frequency above 0 in MHz. Write "
                      "'set_frequency net MHz'.");
            return;
        }
        constraint.net = words[1];
        m_result.clocks.push_back(constraint);
    }

    std::vector<PcfProblem>& m_problems;
    Constraints m_result;
    int m_line = 0;
};

/// Compares constraints with ports and pins, once each.
class PinCheck {
public:
    PinCheck(const std::vector<PortBit>& ports, const std::set<std::string>& pins,
             const std::string& package)
        : m_ports(ports), m_pins(pins), m_package(package) {}

    void check(const PinConstraint& constraint) {
        m_line = constraint.line;
        if (!checkPort_(constraint) && constraint.mayBeUnused)
            return;
        if (m_pins.count(constraint.pin) == 0) {
            complain_(
                fmt::format("package {} has no pin '{}'. Use one of its pins, for example {}.",
                            m_package, constraint.pin, m_pins.empty() ? "" : *m_pins.begin()));
            return;
        }
        const auto first = m_usedPins.emplace(constraint.pin, constraint);
        if (!first.second && first.first->second.port != constraint.port)
            complain_(
                fmt::format("pin '{}' is given to '{}' already in line {}. Give '{}' a pin of "
                            "its own.",
                            constraint.pin, first.first->second.port, first.first->second.line,
                            constraint.port));
    }

    void checkEveryPortHasPin() {
        m_line = 0;
        Words bare;
        for (const PortBit& bit : m_ports)
            if (m_usedPorts.count(bit.name) == 0)
                bare.push_back(bit.name);
        if (!bare.empty())
            complain_(
                fmt::format("{} of {} port bits have no pin: {}. Add a 'set_io' line for each, "
                            "or allow unconstrained ports.",
                            bare.size(), m_ports.size(), listed(bare)));
    }

    std::vector<PcfProblem> take() { return std::move(m_problems); }

private:
    void complain_(const std::string& text) { m_problems.push_back({m_line, text}); }

    /// Whether the design has the port.
    bool checkPort_(const PinConstraint& constraint) {
        const auto isNamed = [&](const PortBit& bit) { return bit.name == constraint.port; };
        if (std::none_of(m_ports.begin(), m_ports.end(), isNamed)) {
            if (!constraint.mayBeUnused)
                complain_(unknownPort_(constraint.port));
            return false;
        }
        const auto first = m_usedPorts.emplace(constraint.port, constraint.line);
        if (!first.second)
            complain_(fmt::format("port '{}' has a pin already from line {}. Remove one of the two "
                                  "lines.",
                                  constraint.port, first.first->second));
        return true;
    }

    std::string unknownPort_(const std::string& port) const {
        Words bits;
        Words all;
        for (const PortBit& bit : m_ports) {
            if (bit.port == port)
                bits.push_back(bit.name);
            all.push_back(bit.name);
        }
        if (!bits.empty())
            return fmt::format("'{}' is a port of {} bits. Give each bit its pin: {}.", port,
                               bits.size(), listed(bits));
        return fmt::format("the top module has no port '{}'. Its ports are {}.", port,
                           all.empty() ? "none" : listed(all));
    }

    const std::vector<PortBit>& m_ports;
    const std::set<std::string>& m_pins;
    const std::string& m_package;
    std::map<std::string, PinConstraint> m_usedPins;
    std::map<std::string, int> m_usedPorts;
    std::vector<PcfProblem> m_problems;
    int m_line = 0;
};

}  // namespace

Constraints parsePcf(const std::string& text, std::vector<PcfProblem>& problems) {
    PcfReader reader(problems);
    std::istringstream stream(text);
    int number = 0;
    for (std::string line; std::getline(stream, line);)
        reader.readLine(++number, line);
    return reader.take();
}

std::vector<PcfProblem> checkPins(const Constraints& constraints, const std::vector<PortBit>& ports,
                                  const std::set<std::string>& pins, const std::string& package,
                                  bool allowUnconstrained) {
    PinCheck check(ports, pins, package);
    for (const PinConstraint& constraint : constraints.pins)
        check.check(constraint);
    if (!allowUnconstrained)
        check.checkEveryPortHasPin();
    return check.take();
}

}  // namespace ice40
