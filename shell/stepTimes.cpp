// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/stepTimes.h"

#include "environment/errors/HEXAll.h"
#include "workbench/history/History.h"

namespace shell {

StepTimes::StepTimes(const Project& project) : m_project(project) {}

StepTimes::~StepTimes() = default;

void StepTimes::forget() {
    m_known.clear();
    m_history.reset();
    m_isMissing = false;
}

std::optional<double> StepTimes::expectedSeconds(const HAXPExpRun& run, const std::string& step) {
    const auto place = m_known.try_emplace({&run, step});
    if (!place.second || m_isMissing)
        return place.first->second;
    try {
        if (m_history == nullptr)
            m_history = std::make_unique<workbench::History>(m_project);
        place.first->second = m_history->expectedSeconds(run, step);
    } catch (const HEXAll&) {
        // A time left isn't worth a message, and not worth asking again.
        m_isMissing = true;
    }
    return place.first->second;
}

workbench::ExpectedSeconds StepTimes::function() {
    return [this](const HAXPExpRun& run, const std::string& step) {
        return expectedSeconds(run, step);
    };
}

}  // namespace shell
