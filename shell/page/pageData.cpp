// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/pageData.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <map>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/errors/HEXAll.h"
#include "shell/bestRun.h"
#include "shell/bestView.h"
#include "shell/familyView.h"
#include "shell/note.h"
#include "shell/page/deviceGrid.h"
#include "shell/page/jsonWriter.h"
#include "shell/page/runEntry.h"
#include "shell/page/shortText.h"
#include "shell/runView.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/calendarTime.h"
#include "workbench/fileFingerprint.h"
#include "workbench/history/History.h"
#include "workbench/history/nights.h"
#include "workbench/ice40/devices.h"

namespace shell {

namespace {

using nlohmann::json;

/// The figures that designers look at first, and those in which families are compared.
constexpr const char* kFirstFigures[] = {"fmax", "worst_slack", "logic_cells", "luts", "seconds"};

json designJson(const Project& project) {
    const DesignInputs& inputs = project.getInputs();
    char* end = nullptr;
    const double goal = std::strtod(inputs.frequencyMhz.c_str(), &end);
    const bool isNumber = end != inputs.frequencyMhz.c_str() && *end == '\0' && std::isfinite(goal);
    return {{"name", project.getName()}, {"directory", project.getDir()},
            {"top", inputs.top},         {"device", inputs.device},
            {"package", inputs.package}, {"goal_mhz", isNumber ? json(goal) : json()}};
}

/// How long at least one of the runs was queued or at work.
double wallSeconds(const std::vector<PageRun>& runs, double now) {
    std::vector<std::pair<double, double>> spans;
    for (const PageRun& run : runs) {
        const RunTimes& times = run.times;
        if (!times.queued && !times.began)
            continue;
        const bool isOpen = run.compared.status == "queued" || run.compared.status == "running" ||
                            run.compared.status == "unknown";
        const double from = std::min(times.queued.value_or(now), times.began.value_or(now));
        spans.emplace_back(from, isOpen ? now : times.ended.value_or(from));
    }
    std::sort(spans.begin(), spans.end());
    double sum = 0;
    double end = 0;
    for (const auto& span : spans) {
        if (span.second > std::max(span.first, end))
            sum += span.second - std::max(span.first, end);
        end = std::max(end, span.second);
    }
    return sum;
}

double toolSeconds(const std::vector<PageRun>& runs) {
    double sum = 0;
    for (const PageRun& run : runs) {
        for (const StepTime& step : run.times.steps)
            sum += step.seconds.value_or(0);
    }
    return sum;
}

json runCountsJson(const std::vector<PageRun>& runs, double now) {
    long done = 0;
    long failed = 0;
    long running = 0;
    long queued = 0;
    long stale = 0;
    for (const PageRun& run : runs) {
        const std::string& word = run.compared.status;
        done += run.compared.isDone ? 1 : 0;
        failed += run.hasFailed ? 1 : 0;
        running += word == "running" || word == "unknown" ? 1 : 0;
        queued += word == "queued" ? 1 : 0;
        stale += run.compared.isStale ? 1 : 0;
    }
    return {{"runs", runs.size()},
            {"done", done},
            {"failed", failed},
            {"running", running},
            {"queued", queued},
            {"stale", stale},
            {"wall_seconds", std::round(wallSeconds(runs, now) * 1e3) / 1e3},
            {"tool_seconds", std::round(toolSeconds(runs) * 1e3) / 1e3}};
}

json figureListJson(const std::vector<ComparedRun>& runs) {
    std::vector<reports::Figure> figures = figureRows(runs);
    const auto rank = [](const reports::Figure& figure) {
        return std::find(std::begin(kFirstFigures), std::end(kFirstFigures), figure.name);
    };
    std::stable_sort(figures.begin(), figures.end(),
                     [&rank](const auto& a, const auto& b) { return rank(a) < rank(b); });
    json list = json::array();
    for (const reports::Figure& figure : figures)
        list.push_back({{"name", figure.name},
                        {"label", figure.label},
                        {"unit", figure.unit},
                        {"better", reports::betterText(figure.better)}});
    return list;
}

/// The best among the implementations; where there is none, among all.
Choice chosen(const std::vector<ComparedRun>& runs, const std::string& rule) {
    const bool isJudged = std::any_of(runs.begin(), runs.end(),
                                      [](const auto& run) { return whyNotJudged(run).empty(); });
    return choose(runs, isJudged ? readChoiceRules({}, {rule}, runs) : ChoiceRules());
}

json bestJson(const Choice& choice, const std::string& rule) {
    json names = json::array();
    for (const ComparedRun* run : choice.best)
        names.push_back(run->name);
    // Behind these, one line a run, stands what every run's own entry tells.
    std::vector<std::string> why = choiceLines(choice);
    why.resize(std::min(why.size(), 1 + choice.steps.size()));
    return {{"runs", names}, {"why", why}, {"rule", rule}};
}

json familyList(const std::vector<ComparedRun>& runs, const std::vector<ComparedFamily>& families) {
    std::map<std::string, json> members;
    for (const ComparedRun& run : runs) {
        if (!run.family.empty())
            members.emplace(run.family, json::array()).first->second.push_back(run.name);
    }
    json list = json::array();
    for (const ComparedFamily& family : families)
        list.push_back({{"name", family.name},
                        {"runs", members[family.name]},
                        {"differing", family.differing}});
    return list;
}

/// The family with the best median under `rule`; null when none can be judged.
const ComparedFamily* bestFamily(const std::vector<ComparedFamily>& families,
                                 const std::string& rule) {
    std::vector<ComparedRun> medians;
    medians.reserve(families.size());
    for (const ComparedFamily& family : families)
        medians.push_back(medianRun(family));
    const Choice choice = chosen(medians, rule);
    return choice.best.empty() ? nullptr : &families[choice.best.front() - medians.data()];
}

json comparisonsJson(const std::vector<ComparedFamily>& families, const std::string& rule) {
    const ComparedFamily* best = families.size() < 2 ? nullptr : bestFamily(families, rule);
    if (best == nullptr)
        return json::array();
    const std::vector<std::string> figures(std::begin(kFirstFigures), std::end(kFirstFigures));
    return pairsJson(compareBest(families, *best, figures, statistics::Question()));
}

/// The runs that come first where there isn't room for all: the best, the best of each
/// family, those that failed, then the others.
std::vector<PageRun*> byImportance(std::vector<PageRun>& runs, const std::set<std::string>& best,
                                   const std::vector<ComparedFamily>& families) {
    std::map<std::string, int> ranks;
    for (const ComparedFamily& family : families) {
        const auto fmaxOf = [](const ComparedRun& run) {
            const reports::Figure* fmax = figureOf(run, "fmax");
            return fmax == nullptr ? 0.0 : fmax->value;
        };
        const auto top = std::max_element(
            family.runs.begin(), family.runs.end(),
            [&fmaxOf](const auto& a, const auto& b) { return fmaxOf(a) < fmaxOf(b); });
        if (top != family.runs.end())
            ranks[top->name] = -1;
    }
    for (const std::string& name : best)
        ranks[name] = -2;
    std::vector<PageRun*> sorted;
    for (PageRun& run : runs) {
        ranks.emplace(run.compared.name, run.hasFailed ? 0 : 1);
        sorted.push_back(&run);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [&ranks](const auto* a, const auto* b) {
        return ranks[a->compared.name] < ranks[b->compared.name];
    });
    return sorted;
}

/// More than the name of a member takes, and what stands around it.
constexpr std::size_t kMemberBytes = 16;

/// What is left of the page's room.
class Room {
public:
    explicit Room(std::size_t bytes) : m_left(bytes) {}

    /// What a page holds whether there is room or not.
    void use(std::size_t bytes) { m_left -= std::min(bytes, m_left); }
    /// Whether `value`, in JSON, fits; then its room is used.
    bool take(const std::string& value) {
        const std::size_t bytes = value.size() + kMemberBytes;
        if (bytes > m_left)
            return false;
        m_left -= bytes;
        return true;
    }

private:
    std::size_t m_left;
};

void showExtras(const std::vector<PageRun*>& runs, Room& room) {
    for (PageRun* run : runs) {
        if (room.take(run->extras.log))
            run->shown.log = std::move(run->extras.log);
    }
    for (PageRun* run : runs) {
        if (!run->extras.points.empty() && room.take(run->extras.points))
            run->shown.points = std::move(run->extras.points);
    }
    for (PageRun* run : runs) {
        for (auto& text : run->extras.reportTexts) {
            if (room.take(text.second))
                run->shown.reportTexts.emplace_back(text.first, std::move(text.second));
        }
    }
}

/// The last nights, and of each the marks that fit.
constexpr std::size_t kMostNights = 60;
constexpr std::size_t kMostMarks = 10;
constexpr std::size_t kMarkBytes = 300;

json pageNightJson(const workbench::Night& night) {
    json figures = json::object();
    for (const auto& figure : night.figures)
        figures[figure.first] = {{"best", figure.second.best}, {"median", figure.second.median}};
    json marks = json::array();
    for (const workbench::NightMark& mark : night.marks) {
        if (mark.isWorse && marks.size() < kMostMarks)
            marks.push_back(shortText(mark.text, kMarkBytes));
    }
    return {{"date", night.date},     {"launches", night.launches}, {"done", night.done},
            {"failed", night.failed}, {"figures", figures},         {"marks", marks}};
}

/// The page goes without its nights when the history can't be read.
json pageNightsJson(const Project& project) {
    json list = json::array();
    try {
        const std::vector<workbench::Night> nights =
            workbench::nightsOf(workbench::History(project).launches());
        const std::size_t first = nights.size() - std::min(nights.size(), kMostNights);
        for (std::size_t i = first; i < nights.size(); ++i)
            list.push_back(pageNightJson(nights[i]));
    } catch (const HEXAll& error) {
        tellWarning(fmt::format("The page goes without its nights: {}", error.what()));
    }
    return list;
}

json deviceJson(const std::string& device) {
    const auto grid = deviceGrid(device, ice40::defaultDatabaseFolder());
    return grid ? json{{"width", grid->first}, {"height", grid->second}} : json();
}

/// Everything that is looked at, and what is made from it.
class Page {
public:
    Page(const Project& project, const PageRequest& request)
        : m_project(project), m_request(request), m_now(timeNow()) {
        PathSources sources;
        KnownStale known;
        // They read the same sources.
        const workbench::FileWatch::Moment moment;
        RunFilesAhead files(request.runs);
        for (std::size_t i = 0; i < request.runs.size(); ++i) {
            m_runs.push_back(
                lookAtRun(project, *request.runs[i], m_now, files.take(i), sources, known));
            m_compared.push_back(m_runs.back().compared);
        }
    }

    std::string text() {
        const std::vector<ComparedFamily> families = familiesOf(m_compared);
        json page{{"format", 1},
                  {"generated",
                   workbench::utcTime(static_cast<std::time_t>(m_now), "%Y-%m-%dT%H:%M:%SZ")},
                  {"live", m_request.isLive},
                  {"project", designJson(m_project)},
                  {"summary", runCountsJson(m_runs, m_now)},
                  {"figures", figureListJson(m_compared)},
                  {"families", familyList(m_compared, families)},
                  {"comparisons", comparisonsJson(families, m_request.rule)},
                  {"nights", pageNightsJson(m_project)},
                  {"device", deviceJson(m_project.getInputs().device)}};
        const std::set<std::string> best = addBest_(page);
        Room room(kPageDataBytes + kPageBytesOfRun * m_runs.size());
        room.use(dumped(page).size() + kMemberBytes);
        for (const PageRun& run : m_runs)
            room.use(entryText(run).size() + 1);
        showExtras(byImportance(m_runs, best, families), room);
        return withRuns_(dumped(page));
    }

private:
    /// `page`, an object, with the list of runs behind its last member. Not by way of one
    /// value of everything, which would hold all of it twice.
    std::string withRuns_(std::string page) const {
        page.back() = ',';
        page += "\"runs\":[";
        for (const PageRun& run : m_runs) {
            page += entryText(run);
            page += ',';
        }
        if (!m_runs.empty())
            page.pop_back();
        return page + "]}";
    }

    std::set<std::string> addBest_(json& page) {
        std::vector<ComparedRun> judged;
        for (std::size_t i = 0; i < m_runs.size(); ++i) {
            if (m_runs[i].isImplementation)
                judged.push_back(m_compared[i]);
        }
        const Choice choice = chosen(judged, m_request.rule);
        page["best"] = bestJson(choice, m_request.rule);
        std::set<std::string> names;
        for (const ComparedRun* run : choice.best)
            names.insert(run->name);
        for (std::size_t i = 0; i < m_runs.size(); ++i) {
            m_runs[i].isBest = names.count(m_compared[i].name) != 0;
            if (m_runs[i].isBest || m_runs[i].hasFailed)
                readReportTexts(m_runs[i]);
        }
        return names;
    }

    const Project& m_project;
    const PageRequest& m_request;
    double m_now;
    std::vector<PageRun> m_runs;
    std::vector<ComparedRun> m_compared;
};

}  // namespace

std::string pageData(const Project& project, const PageRequest& request) {
    return Page(project, request).text();
}

}  // namespace shell
