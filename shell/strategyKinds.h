// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/setting.h"
#include "workbench/strategyFiles.h"

class HAXPFlow;
class HAXPStrategy;
class HAXRReportStrategy;

/// What the verbs of "xp strategy" and "xp reportstrategy" differ in. A kind has
///
///     Strategy, Owned       the class, and a pointer that destroys one rightly
///     kVerb, kWord, kTitle  "strategy" in commands, in texts, and in front of a line
///     all, find             what is registered for a flow
///     makeNew, makeCopy     a strategy that nobody knows, to be filled
///     setOption             changes such a one, by the names that users type
///     admit                 saves and registers a copy of it under a name
///     takeOver              gives a user's strategy its values and description, saved
///     rename, remove
///     summary, rows, json   what it holds: a cell of the list, a table, and for scripts
///     differences           what isn't the same in two of one flow
///     read, write           files of others
namespace shell {

/// A value that isn't the same in two strategies; empty where one lacks it.
struct Difference {
    std::string step;
    std::string name;
    std::string first;
    std::string second;
};

/// The heads of a table and its rows.
struct Rows {
    std::vector<std::string> titles;
    std::vector<std::vector<std::string>> rows;
};

struct StrategyKind {
    using Strategy = HAXPStrategy;
    using Owned = std::unique_ptr<HAXPStrategy>;

    static constexpr char kVerb[] = "strategy";
    static constexpr char kWord[] = "strategy";
    static constexpr char kTitle[] = "Strategy";
    static constexpr char kContents[] = "Options";
    static constexpr char kContentsKey[] = "options";

    static std::vector<HAXPStrategy*> all(const HAXPFlow& flow);
    static HAXPStrategy* find(const HAXPFlow& flow, const std::string& name);
    static Owned makeNew(const HAXPFlow& flow);
    static Owned makeCopy(const HAXPStrategy& source);
    static void setOption(HAXPStrategy& strategy, const Setting& setting);
    static HAXPStrategy* admit(const HAXPStrategy& source, const std::string& name);
    static void takeOver(HAXPStrategy& strategy, const HAXPStrategy& source);
    static void rename(HAXPStrategy& strategy, const std::string& name);
    static void remove(HAXPStrategy& strategy);
    static std::string summary(const HAXPStrategy& strategy);
    static Rows rows(const HAXPStrategy& strategy);
    /// With `all` every option, else those that differ from their defaults.
    static nlohmann::json json(const HAXPStrategy& strategy, bool all);
    static std::vector<Difference> differences(HAXPStrategy& first, HAXPStrategy& second);
    static std::vector<Owned> read(const std::string& path);
    static void write(HAXPStrategy& strategy, const std::string& path, bool replace);
};

struct ReportStrategyKind {
    using Strategy = HAXRReportStrategy;
    using Owned = workbench::OwnedReportStrategy;

    static constexpr char kVerb[] = "reportstrategy";
    static constexpr char kWord[] = "report strategy";
    static constexpr char kTitle[] = "Report strategy";
    static constexpr char kContents[] = "Reports";
    static constexpr char kContentsKey[] = "reports";

    static std::vector<HAXRReportStrategy*> all(const HAXPFlow& flow);
    static HAXRReportStrategy* find(const HAXPFlow& flow, const std::string& name);
    static Owned makeNew(const HAXPFlow& flow);
    static Owned makeCopy(const HAXRReportStrategy& source);
    static void setOption(HAXRReportStrategy& strategy, const Setting& setting);
    static HAXRReportStrategy* admit(const HAXRReportStrategy& source, const std::string& name);
    static void takeOver(HAXRReportStrategy& strategy, const HAXRReportStrategy& source);
    static void rename(HAXRReportStrategy& strategy, const std::string& name);
    static void remove(HAXRReportStrategy& strategy);
    static std::string summary(const HAXRReportStrategy& strategy);
    static Rows rows(const HAXRReportStrategy& strategy);
    /// With `all` every option of each report, else those that differ from their defaults.
    static nlohmann::json json(const HAXRReportStrategy& strategy, bool all);
    static std::vector<Difference> differences(HAXRReportStrategy& first,
                                               HAXRReportStrategy& second);
    static std::vector<Owned> read(const std::string& path);
    static void write(HAXRReportStrategy& strategy, const std::string& path, bool replace);
};

}  // namespace shell
