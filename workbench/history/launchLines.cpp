// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/launchLines.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "environment/errors/HEXUserException.h"
#include "environment/files/diskOps.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "workbench/ice40/parseJson.h"

namespace workbench {

namespace {

using nlohmann::json;

constexpr int kLineFormat = 1;

/// Members of the format, for reader and writer.
namespace lineName {
constexpr const char* kFormat = "format";
constexpr const char* kLaunch = "launch";
constexpr const char* kRun = "run";
constexpr const char* kFlow = "flow";
constexpr const char* kStrategy = "strategy";
constexpr const char* kSweep = "sweep";
constexpr const char* kFamily = "family";
constexpr const char* kPlace = "place";
constexpr const char* kLaunched = "launched";
constexpr const char* kBegan = "began";
constexpr const char* kEnded = "ended";
constexpr const char* kOutcome = "outcome";
constexpr const char* kSteps = "steps";
constexpr const char* kStep = "step";
constexpr const char* kSeconds = "seconds";
constexpr const char* kTool = "tool";
constexpr const char* kFigures = "figures";
constexpr const char* kOptions = "options";
}  // namespace lineName

struct TextMember {
    const char* name;
    std::string LaunchRecord::*value;
};
constexpr TextMember kTexts[] = {
    {lineName::kLaunch, &LaunchRecord::launch}, {lineName::kRun, &LaunchRecord::run},
    {lineName::kFlow, &LaunchRecord::flow},     {lineName::kStrategy, &LaunchRecord::strategy},
    {lineName::kSweep, &LaunchRecord::sweep},   {lineName::kFamily, &LaunchRecord::family},
    {lineName::kPlace, &LaunchRecord::place},   {lineName::kOutcome, &LaunchRecord::outcome}};

struct TimeMember {
    const char* name;
    long LaunchRecord::*value;
};
constexpr TimeMember kTimes[] = {{lineName::kLaunched, &LaunchRecord::launched},
                                 {lineName::kBegan, &LaunchRecord::began},
                                 {lineName::kEnded, &LaunchRecord::ended}};

/// What isn't a number in JSON isn't one of a tool's.
json figuresJson(const std::map<std::string, double>& figures) {
    json all = json::object();
    for (const auto& figure : figures) {
        if (std::isfinite(figure.second))
            all[figure.first] = figure.second;
    }
    return all;
}

json stepJson(const StepRecord& step) {
    json one{{lineName::kStep, step.step}, {lineName::kOutcome, step.outcome}};
    if (step.began != 0)
        one[lineName::kBegan] = step.began;
    if (step.seconds != 0 && std::isfinite(step.seconds))
        one[lineName::kSeconds] = step.seconds;
    if (!step.tool.empty())
        one[lineName::kTool] = step.tool;
    if (!step.figures.empty())
        one[lineName::kFigures] = figuresJson(step.figures);
    return one;
}

/// The member `member` of `object`, or null when it isn't there or isn't of `type`.
const json* memberIn(const json& object, const char* member, json::value_t type) {
    const auto found = object.find(member);
    return found == object.end() || found->type() != type ? nullptr : &*found;
}

std::string textIn(const json& object, const char* member) {
    const json* found = memberIn(object, member, json::value_t::string);
    return found == nullptr ? std::string() : found->get<std::string>();
}

/// 0 for what is no number, or one that can't be a time.
double numberIn(const json& object, const char* member) {
    constexpr double kLatest = 1e15;
    const auto found = object.find(member);
    if (found == object.end() || !found->is_number())
        return 0;
    const auto value = found->get<double>();
    return std::isfinite(value) && value >= 0 && value < kLatest ? value : 0;
}

std::map<std::string, double> figuresIn(const json& object) {
    std::map<std::string, double> figures;
    if (const json* all = memberIn(object, lineName::kFigures, json::value_t::object)) {
        for (const auto& figure : all->items()) {
            if (figure.value().is_number())
                figures[figure.key()] = figure.value().get<double>();
        }
    }
    return figures;
}

StepRecord stepIn(const json& one) {
    StepRecord step;
    step.step = textIn(one, lineName::kStep);
    step.outcome = textIn(one, lineName::kOutcome);
    step.began = static_cast<long>(numberIn(one, lineName::kBegan));
    step.seconds = numberIn(one, lineName::kSeconds);
    step.tool = textIn(one, lineName::kTool);
    step.figures = figuresIn(one);
    return step;
}

/// The rest of a record, of which `object` is known to be one.
void readRecord(const json& object, LaunchRecord& record) {
    for (const TextMember& text : kTexts)
        record.*text.value = textIn(object, text.name);
    for (const TimeMember& time : kTimes)
        record.*time.value = static_cast<long>(numberIn(object, time.name));
    if (const json* steps = memberIn(object, lineName::kSteps, json::value_t::array)) {
        for (const json& one : *steps) {
            if (one.is_object())
                record.steps.push_back(stepIn(one));
        }
    }
    if (const json* options = memberIn(object, lineName::kOptions, json::value_t::object)) {
        for (const auto& option : options->items()) {
            if (option.value().is_string())
                record.options[option.key()] = option.value().get<std::string>();
        }
    }
    record.figures = figuresIn(object);
}

[[noreturn]] void failWrite(const std::string& path, const std::string& why) {
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-210@%s%s", path, why));
}

/// The end of the open file, at most kLargestLaunches; false, with errno, on failure.
bool readEnd(int fd, off_t size, std::string& text) {
    const off_t most = static_cast<off_t>(kLargestLaunches);
    const off_t from = size > most ? size - most : 0;
    text.resize(static_cast<std::size_t>(size - from));
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
            ::pread(fd, &text[done], text.size() - done, from + static_cast<off_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    text.resize(done);
    return true;
}

void addLine(const std::string& line, LaunchLines& lines) {
    LaunchRecord record;
    std::string reason;
    if (parseLine(line, record, reason))
        lines.records.push_back(std::move(record));
    else if (++lines.badCount == 1)
        lines.reason = reason;
}

/// Splits `text`; returns where its last line begins that has no end.
std::size_t readLines(const std::string& text, bool isCut, LaunchLines& lines) {
    std::size_t begin = 0;
    // The first line of a part may be the end of one.
    if (isCut)
        begin = std::min(text.find('\n'), text.size() - 1) + 1;
    for (std::size_t end = text.find('\n', begin); end != std::string::npos;
         end = text.find('\n', begin)) {
        if (end > begin)
            addLine(text.substr(begin, end - begin), lines);
        begin = end + 1;
    }
    return begin;
}

bool hasLaunch(const LaunchLines& lines, const std::string& launch) {
    return std::any_of(lines.records.begin(), lines.records.end(),
                       [&launch](const auto& record) { return record.launch == launch; });
}

/// Opens `path` for `access`; an empty descriptor, with `reason`, when it isn't a file.
files::Descriptor openLines(const std::string& path, int access, struct stat& info,
                            std::string& reason) {
    files::Descriptor file(files::disk().openAt(
        AT_FDCWD, path.c_str(), access | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    if (!file) {
        reason = errno == ELOOP ? "it is a link" : std::strerror(errno);
        return file;
    }
    if (::fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode))
        return file;
    reason = "it is no regular file";
    return files::Descriptor();
}

/// So that the name of a new file is there after a power cut, too.
void syncFolder(const std::string& path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const files::Descriptor open(
        files::disk().openAt(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    if (open)
        files::disk().sync(open.get());
}

}  // namespace

std::string lineOf(const LaunchRecord& record) {
    json object{{lineName::kFormat, kLineFormat}};
    for (const TextMember& text : kTexts) {
        if (!(record.*text.value).empty())
            object[text.name] = record.*text.value;
    }
    for (const TimeMember& time : kTimes) {
        if (record.*time.value != 0)
            object[time.name] = record.*time.value;
    }
    json steps = json::array();
    for (const StepRecord& step : record.steps)
        steps.push_back(stepJson(step));
    object[lineName::kSteps] = steps;
    object[lineName::kOptions] = record.options;
    object[lineName::kFigures] = figuresJson(record.figures);
    // Texts are whatever users and tools wrote.
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

bool parseLine(const std::string& line, LaunchRecord& record, std::string& reason) {
    if (line.size() > kLongestLaunch) {
        reason = "a line is too long";
        return false;
    }
    const json object = ice40::parseJson(line);
    if (!object.is_object()) {
        reason = "a line is no JSON object";
        return false;
    }
    const auto format = object.find(lineName::kFormat);
    if (format == object.end() || !format->is_number_integer() || *format != kLineFormat) {
        reason = "a line is of another version";
        return false;
    }
    if (textIn(object, lineName::kLaunch).empty()) {
        reason = "a line names no launch";
        return false;
    }
    LaunchRecord read;
    readRecord(object, read);
    record = std::move(read);
    return true;
}

bool readLaunches(const std::string& path, LaunchLines& lines, std::string& reason) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 && errno == ENOENT)
        return true;
    const files::Descriptor file = openLines(path, O_RDONLY, info, reason);
    if (!file)
        return false;
    std::string text;
    if (!readEnd(file.get(), info.st_size, text)) {
        reason = std::strerror(errno);
        return false;
    }
    lines.isCut = static_cast<std::size_t>(info.st_size) > kLargestLaunches;
    const std::size_t rest = readLines(text, lines.isCut, lines);
    LaunchRecord last;
    std::string ignored;
    if (rest < text.size() && parseLine(text.substr(rest), last, ignored))
        lines.records.push_back(std::move(last));
    return true;
}

bool addLaunch(const std::string& path, const LaunchRecord& record) {
    struct stat info {};
    const bool isNew = ::lstat(path.c_str(), &info) != 0;
    std::string reason;
    const files::Descriptor file = openLines(path, O_RDWR | O_APPEND | O_CREAT, info, reason);
    if (!file)
        failWrite(path, reason);
    // Where a file system has no locks two may add one launch at once; readers count it once.
    const bool isLocked = ::flock(file.get(), LOCK_EX) == 0;
    std::string text;
    if (::fstat(file.get(), &info) != 0 || !readEnd(file.get(), info.st_size, text))
        failWrite(path, std::strerror(errno));
    LaunchLines lines;
    const std::size_t rest =
        readLines(text, static_cast<std::size_t>(info.st_size) > kLargestLaunches, lines);
    std::string addition;
    off_t kept = info.st_size;
    LaunchRecord last;
    if (rest < text.size() && parseLine(text.substr(rest), last, reason)) {
        lines.records.push_back(last);
        addition = "\n";
    } else if (rest < text.size()) {
        const off_t whole = info.st_size - static_cast<off_t>(text.size() - rest);
        if (isLocked && files::disk().truncate(file.get(), whole) == 0)
            kept = whole;
        else
            addition = "\n";
    }
    if (hasLaunch(lines, record.launch))
        return false;
    addition += lineOf(record) + "\n";
    std::size_t written = 0;
    const int error = files::writeAll(file.get(), addition.data(), addition.size(), written);
    if (error != 0) {
        if (isLocked)
            files::disk().truncate(file.get(), kept);
        failWrite(path, std::strerror(error));
    }
    if (files::disk().sync(file.get()) != 0)
        failWrite(path, std::strerror(errno));
    if (isNew)
        syncFolder(path);
    return true;
}

}  // namespace workbench
