// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HATOptGroup;
class HATOptGroupSpec;

/// The option values of one step in a strategy: a group of tool options and one
/// of attributes.
///
/// It owns both groups; the specs belong to the step and outlive it.
class RUNS_API HAXPFlowStepOptions {
public:
    /// Both groups start with the defaults of their specs.
    HAXPFlowStepOptions(const HATOptGroupSpec* optionsSpec, const HATOptGroupSpec* attrsSpec);
    ~HAXPFlowStepOptions();

    HAXPFlowStepOptions(const HAXPFlowStepOptions&) = delete;
    HAXPFlowStepOptions& operator=(const HAXPFlowStepOptions&) = delete;

    /// The groups, good as long as this object.
    HATOptGroup* getOptions() const { return m_options.get(); }
    HATOptGroup* getAttrs() const { return m_attrs.get(); }

    /// The id of the options group, which is the step's flowStepId.
    const std::string& getOptGrpId() const;

    const HATOptGroupSpec* getOptionsSpec() const;
    const HATOptGroupSpec* getAttrsSpec() const;

private:
    std::unique_ptr<HATOptGroup> m_options;
    std::unique_ptr<HATOptGroup> m_attrs;
};
