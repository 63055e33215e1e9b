// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/failureView.h"

#include <optional>
#include <sstream>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/jsonOutput.h"
#include "shell/logTail.h"
#include "shell/progressLine.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/failures/runFailure.h"

namespace shell {

namespace {

/// Enough for a step's last words.
constexpr std::size_t kTailLines = 40;
constexpr std::size_t kMostLastWords = 12;
constexpr std::size_t kLongestWords = 400;

/// The tool's own words; of a run that ended without an error the last lines of its log.
std::vector<std::string> lastWords(const HAXPExpRun& run, const workbench::RunFailure& failure) {
    if (failure.toolWords.empty()) {
        std::string ignored;
        return failureLines(lastLines(logPath(run), kTailLines, ignored), kMostLastWords);
    }
    std::vector<std::string> lines;
    std::istringstream stream(failure.toolWords);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// What happened to the run, up to the sentence of the failure.
std::string failureHead(const HAXPExpRun& run) {
    const std::string word = statusWord(run);
    if (word == "stopped")
        return fmt::format("Run {} stopped{}.", run.getName(), stopPlace(run));
    if (word == "lost")
        return fmt::format("Run {} was lost in step {}.", run.getName(), stepWord(run));
    return fmt::format("Run {} failed in step {}.", run.getName(), stepWord(run));
}

}  // namespace

std::string failureText(const HAXPExpRun& run) {
    const std::optional<workbench::RunFailure> failure = workbench::findFailure(run);
    if (!failure)
        return fmt::format("Run {} is {}.", run.getName(), statusWord(run));
    std::string text = fmt::format("{} {}.", failureHead(run), failure->what);
    const std::string place = placeText(*failure);
    if (!place.empty())
        text += "\n  where: " + place;
    text += fmt::format("\n  try: {}; then: xp launch {}\n  log: {}", failure->advice,
                        run.getName(), logPath(run));
    for (const std::string& line : lastWords(run, *failure))
        text += "\n  | " + fitLine(line, kLongestWords);
    return text;
}

std::string placeText(const workbench::RunFailure& failure) {
    return failure.line == 0 ? failure.file : fmt::format("{}:{}", failure.file, failure.line);
}

nlohmann::json failureJson(const workbench::RunFailure& failure) {
    return {{"kind", workbench::failureKindText(failure.kind)},
            {"step", textOrNull(failure.step)},
            {"what", failure.what},
            {"file", textOrNull(failure.file)},
            {"line", numberOrNull(failure.line)},
            {"advice", failure.advice},
            {"tool", textOrNull(failure.toolWords)},
            {"log_line", numberOrNull(failure.logLine)}};
}

}  // namespace shell
