// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/standstill.h"

#include <fmt/format.h>

#include "workbench/routerLines.h"

namespace workbench {

namespace {

/// So many rounds without a step forward it takes; a routing that ends takes some dozens.
constexpr long kFewestRounds = 100;
/// The first router tells a line for a thousand arcs.
constexpr long kArcsOfRow = 1000;
constexpr long kFewestRows = 200;

/// What is left behind an iteration of the second router: wires that several nets want, and
/// arcs that are too slow.
std::optional<long> leftByIteration(const std::string& line) {
    const std::optional<long> overused = numberAfter(line, " overused=");
    if (!overused || line.find("iter=") == std::string::npos)
        return std::nullopt;
    return *overused + numberAfter(line, " tmgfail=").value_or(0);
}

/// Counts the rounds since what is left was last less than ever before.
class Rounds {
public:
    void take(long left) {
        ++m_count;
        if (m_least < 0 || left < m_least) {
            m_least = left;
            m_best = m_count;
        }
    }
    void forget() { *this = Rounds(); }

    long count() const { return m_count; }
    long since() const { return m_count - m_best; }
    long least() const { return m_least; }

private:
    long m_count = 0;
    long m_best = 0;
    long m_least = -1;
};

/// What begins a routing, or ends it.
bool isTurn(const std::string& line) {
    for (const char* words : {"Command: ", "Routing..", "Running router2", "Routing complete",
                              "Router2 time", "ZUMWrap.sh: step '"}) {
        if (line.find(words) != std::string::npos)
            return true;
    }
    return false;
}

}  // namespace

std::optional<Standstill> findStandstill(const std::vector<std::string>& log) {
    Rounds iterations;
    Rounds rows;
    for (const std::string& line : log) {
        if (const std::optional<long> left = leftByIteration(line)) {
            iterations.take(*left);
        } else if (const std::optional<long> arcs = arcsLeft(line)) {
            rows.take(*arcs);
        } else if (isTurn(line)) {
            iterations.forget();
            rows.forget();
        }
    }
    if (iterations.since() >= kFewestRounds)
        return Standstill{fmt::format("of {} iterations of the router the last {} came no nearer "
                                      "to the end; {} conflicts were the fewest",
                                      iterations.count(), iterations.since(), iterations.least()),
                          iterations.since(), iterations.least()};
    if (rows.since() >= kFewestRows)
        return Standstill{fmt::format("of {} arcs that the router tried the last {} came no "
                                      "nearer to the end; {} left were the fewest",
                                      rows.count() * kArcsOfRow, rows.since() * kArcsOfRow,
                                      rows.least()),
                          rows.since(), rows.least()};
    return std::nullopt;
}

}  // namespace workbench
