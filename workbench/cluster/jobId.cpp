// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/jobId.h"

#include <cstdlib>
#include <sstream>

namespace cluster {

namespace {

/// A positive number of digits alone, or 0.
long positive(const std::string& text) {
    constexpr std::size_t kMostDigits = 9;
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    return std::strtol(text.c_str(), nullptr, 10);
}

/// Some tasks of a list: "3", or "1-9:2".
struct TaskRange {
    long first = 0;
    long last = 0;
    long step = 1;

    bool isSound() const { return first > 0 && last >= first && step > 0; }
    bool holds(long task) const {
        return task >= first && task <= last && (task - first) % step == 0;
    }
};

TaskRange rangeIn(const std::string& text) {
    const std::string::size_type dash = text.find('-');
    const std::string::size_type colon = text.find(':');
    TaskRange range;
    range.first = positive(text.substr(0, dash));
    range.last = range.first;
    if (dash != std::string::npos)
        range.last =
            positive(text.substr(dash + 1, colon == std::string::npos ? colon : colon - dash - 1));
    if (colon != std::string::npos)
        range.step = dash < colon ? positive(text.substr(colon + 1)) : 0;
    return range;
}

}  // namespace

bool isJobId(const std::string& id) {
    constexpr std::size_t kMostDigits = 18;
    return !id.empty() && id.size() <= kMostDigits &&
           id.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<JobId> parseJobId(const std::string& text) {
    JobId id;
    const std::string::size_type end = text.find_first_not_of("0123456789");
    id.job = text.substr(0, end);
    if (!isJobId(id.job))
        return std::nullopt;
    if (end == std::string::npos)
        return id;
    if (text[end] == '.')
        id.task = positive(text.substr(end + 1));
    else if (text[end] == '[' && text.back() == ']')
        id.task = positive(text.substr(end + 1, text.size() - end - 2));
    if (id.task == 0)
        return std::nullopt;
    return id;
}

TaskFound findTask(const std::string& tasks, long task) {
    TaskFound found = TaskFound::kNo;
    std::istringstream all(tasks);
    std::string part;
    bool isAnyThere = false;
    while (std::getline(all, part, ',')) {
        isAnyThere = true;
        const TaskRange range = rangeIn(part);
        if (!range.isSound())
            found = TaskFound::kUnclear;
        else if (range.holds(task))
            return TaskFound::kYes;
    }
    return isAnyThere ? found : TaskFound::kUnclear;
}

}  // namespace cluster
