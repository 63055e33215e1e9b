// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/runFailure.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/failures/knownFailures.h"
#include "workbench/failures/logFailure.h"
#include "workbench/failures/netlistPlaces.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/runEvidence.h"

namespace workbench {

namespace {

using Lines = std::vector<std::string>;

constexpr std::streamoff kMostOfLog = std::streamoff{64} << 20;
constexpr std::size_t kMostOfSource = std::size_t{16} << 20;
constexpr std::size_t kMostOfNetlist = std::size_t{64} << 20;
/// What lies behind so many characters of a line says nothing to a reader, and everybody who
/// looks at lines is quick.
constexpr std::size_t kLongestLogLine = 4096;
/// A tool's own words, at most.
constexpr std::size_t kMostWords = 6;

constexpr const char* kLookAtLog = "Look at the tool's own words, and at the whole log";

Lines splitLines(std::istream& stream) {
    Lines lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

bool isWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$';
}

/// Where `word` stands by itself in `text` from `at` on; npos when it doesn't.
std::size_t findWord(const std::string& text, const std::string& word, std::size_t at = 0) {
    for (at = text.find(word, at); at != std::string::npos; at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        if ((at == 0 || !isWordCharacter(text[at - 1])) &&
            (end == text.size() || !isWordCharacter(text[end])))
            return at;
    }
    return at;
}

/// The first line of `files` in which all `words` stand, one behind the other.
bool findInSources(const Lines& files, const Lines& words, SourcePlace& place) {
    for (const std::string& file : files) {
        std::string text;
        std::string ignored;
        if (!ice40::readText(file, text, ignored, kMostOfSource))
            continue;
        std::istringstream stream(text);
        const Lines lines = splitLines(stream);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            std::size_t at = 0;
            for (const std::string& word : words)
                at = at == std::string::npos ? at : findWord(lines[i], word, at);
            if (at != std::string::npos) {
                place = {file, static_cast<int>(i) + 1};
                return true;
            }
        }
    }
    return false;
}

bool findInNetlist(const std::string& netlist, const std::string& name, SourcePlace& place) {
    std::string text;
    std::string ignored;
    return !netlist.empty() && ice40::readText(netlist, text, ignored, kMostOfNetlist) &&
           findNetlistPlace(text, name, place);
}

/// "ice40_init: x" without the program's name.
std::string withoutProgram(const std::string& text) {
    const std::size_t colon = text.find(": ");
    return text.compare(0, 6, "ice40_") == 0 && colon != std::string::npos ? text.substr(colon + 2)
                                                                           : text;
}

/// What the failing step said that may be in the table, the tool's words first.
Lines candidates(const Lines& log, const FailureLines& lines) {
    Lines texts;
    for (const auto* part : {&lines.toolErrors, &lines.stepErrors})
        for (const std::size_t i : *part)
            texts.push_back(withoutErrorMark(log[i]));
    if (!lines.wrapperReason.empty())
        texts.push_back(lines.wrapperReason);
    return texts;
}

bool isCount(const std::string& line) {
    std::vector<std::string> ignored;
    return matchWords("? warning", line, ignored) && line.find(" error") != std::string::npos &&
           line.size() < 40;
}

void takeWords(const Lines& log, const FailureLines& lines, RunFailure& failure) {
    const bool byTool = !lines.toolErrors.empty();
    const std::vector<std::size_t>& errors = byTool ? lines.toolErrors : lines.stepErrors;
    if (errors.empty())
        return;
    failure.logLine = static_cast<long>(errors.front()) + 1;
    const std::size_t end =
        byTool && !lines.stepErrors.empty() ? lines.stepErrors.front() : lines.end;
    Lines words;
    for (std::size_t i = errors.front(); i < end && words.size() < kMostWords; ++i)
        if (!log[i].empty() && !isCount(log[i]))
            words.push_back(log[i]);
    failure.toolWords = fmt::format("{}", fmt::join(words, "\n"));
}

/// The place that the first error begins with.
void takeFirstPlace(const Lines& log, const FailureLines& lines, RunFailure& failure) {
    for (const auto* part : {&lines.toolErrors, &lines.stepErrors}) {
        for (const std::size_t i : *part) {
            SourcePlace place;
            if (readPlace(withoutProgram(withoutErrorMark(log[i])), place)) {
                failure.file = place.file;
                failure.line = place.line;
                return;
            }
        }
    }
}

void describeUnknown(const Lines& texts, RunFailure& failure) {
    std::vector<std::string> names;
    for (const std::string& text : texts) {
        if (matchWords("? ended with status ?", withoutProgram(text), names)) {
            failure.what = fmt::format("{} gave up, with status {}", names[0], names[1]);
            break;
        }
    }
    if (failure.what.empty())
        failure.what = texts.empty() ? "The step failed without a word in the log"
                                     : "The step failed with a message of its own";
    failure.advice = kLookAtLog;
}

/// The names that the rule of a failure found stay with it until its place is looked for.
RunFailure readFailure(const Lines& log, Lines& names) {
    RunFailure failure;
    const FailureLines lines = findFailureLines(log);
    const Lines texts = candidates(log, lines);
    const auto at = [&log](std::size_t i) { return log.begin() + static_cast<std::ptrdiff_t>(i); };
    const Lines around(at(lines.begin), at(lines.end));
    for (const std::string& text : texts) {
        const std::optional<KnownFailure> known = findKnownFailure(text, around);
        if (!known)
            continue;
        failure.kind = known->kind;
        failure.what = known->what;
        failure.advice = known->advice;
        names = known->names;
        break;
    }
    if (failure.kind == FailureKind::kUnknown)
        describeUnknown(texts, failure);
    takeFirstPlace(log, lines, failure);
    takeWords(log, lines, failure);
    return failure;
}

bool isOfConstraints(FailureKind kind) {
    switch (kind) {
    case FailureKind::kConstraintSyntax:
    case FailureKind::kNoSuchPin:
    case FailureKind::kPinTwice:
    case FailureKind::kPortTwice:
    case FailureKind::kPortWithoutPin:
    case FailureKind::kNoTopPort:
        return true;
    default:
        return false;
    }
}

/// Looks for the place where the tool didn't tell it, or told no line.
bool lookForPlace(const RunFailure& failure, const Lines& names, const DesignInputs& inputs,
                  SourcePlace& place) {
    const Lines files = failure.file.empty() ? inputs.sources : Lines{failure.file};
    switch (failure.kind) {
    case FailureKind::kUnknownModule:
    case FailureKind::kNoSuchPort:
        return names.size() >= 3 && findInSources(files, {names[0], names[2]}, place);
    case FailureKind::kInclude:
        return findInSources(files, {"include", names.at(0)}, place);
    case FailureKind::kMemoryFile:
        return findInSources(files, {names.at(0)}, place) ||
               findInSources(files, {"$readmemh"}, place) ||
               findInSources(files, {"$readmemb"}, place);
    case FailureKind::kUndriven:
        return findInSources(files, {names.at(1)}, place);
    case FailureKind::kMultipleDrivers:
    case FailureKind::kDspFull:
    case FailureKind::kSpramFull:
        return findInNetlist(inputs.netlist, names.at(0), place);
    case FailureKind::kCombinationalLoop:
        return names.size() >= 2 && findInNetlist(inputs.netlist, names[1], place);
    case FailureKind::kPinUse:
        return findInNetlist(inputs.netlist, names.at(0), place);
    default:
        return false;
    }
}

/// Completes what the log told by what the run knows.
void completePlace(const HAXPExpRun& run, const Lines& names, RunFailure& failure) {
    const DesignInputs& inputs = run.getInfo().getInputs();
    SourcePlace place;
    if (failure.line == 0 && lookForPlace(failure, names, inputs, place)) {
        failure.file = place.file;
        failure.line = place.line;
    }
    if (failure.file.empty() && isOfConstraints(failure.kind))
        failure.file = inputs.constraints;
    if (!failure.file.empty() && failure.file.front() != '/')
        failure.file = run.pathOf(failure.file);
}

RunFailure failureOfEnded(const HAXPExpRun& run) {
    bool skipped = false;
    const Lines log = logLines(run.pathOf("runme.log"), skipped);
    Lines names;
    RunFailure failure = readFailure(log, names);
    if (skipped)
        failure.logLine = 0;
    completePlace(run, names, failure);
    return failure;
}

RunFailure failureOfLost(const HAXPExpRun& run) {
    RunFailure failure;
    failure.kind = FailureKind::kLost;
    const Lines& seen = run.getEvidence().lines;
    failure.what = fmt::format("The run was lost in the middle of the step: {}",
                               seen.empty() ? "its processes are gone"
                                            : fmt::format("{}", fmt::join(seen, "; ")));
    failure.advice = "Launch the run again; it goes on with that step";
    return failure;
}

RunFailure failureOfStopped(bool within) {
    RunFailure failure;
    failure.kind = FailureKind::kStopped;
    failure.what = within ? "The run was stopped in the middle of the step"
                          : "The run was stopped, or ended, before the step";
    failure.advice = "Launch the run again when it may go on";
    return failure;
}

}  // namespace

std::optional<RunFailure> findFailure(const HAXPExpRun& run) {
    const HDGUIStatus& status = *run.getStatus();
    if (status.getCode() != HDGUIStatus::statusError)
        return std::nullopt;
    RunFailure failure;
    if (status.getText() == HAXPExpRun::kLostText)
        failure = failureOfLost(run);
    else if (status.getText() == HAXPExpRun::kStoppedInText ||
             status.getText() == HAXPExpRun::kStoppedText)
        failure = failureOfStopped(status.getText() == HAXPExpRun::kStoppedInText);
    else
        failure = failureOfEnded(run);
    failure.step = status.getDetailText();
    if (failure.step.empty() && run.getLatestStep() != nullptr)
        failure.step = run.getLatestStep()->getFlowStep()->getFlowStepId();
    return failure;
}

RunFailure failureOfLog(const std::vector<std::string>& log) {
    Lines ignored;
    return readFailure(log, ignored);
}

const char* failureKindText(FailureKind kind) {
    return failureKindName(kind);
}

std::vector<std::string> logLines(const std::string& path, bool& skipped) {
    skipped = false;
    // A FIFO of that name would hold up who opens it.
    if (!HUTFile::isFile(path))
        return {};
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    if (!file || size < 0)
        return {};
    skipped = size > kMostOfLog;
    file.seekg(skipped ? size - kMostOfLog : 0);
    Lines lines = splitLines(file);
    for (std::string& line : lines) {
        // What a step called may name many files, and is repeated by some.
        if (line.size() <= kLongestLogLine || line.compare(0, 9, "Command: ") == 0)
            continue;
        line = line.substr(0, kLongestLogLine) + " ...";
    }
    return lines;
}

std::string sourceLine(const std::string& path, int number) {
    std::string text;
    std::string ignored;
    if (number <= 0 || !ice40::readText(path, text, ignored, kMostOfSource))
        return {};
    std::istringstream stream(text);
    std::string line;
    for (int i = 0; i < number; ++i)
        if (!std::getline(stream, line))
            return {};
    line.erase(line.find_last_not_of(" \t\r") + 1);
    return line;
}

}  // namespace workbench
