// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"

class HAXRReportConfig;

/// How the sources of reports reach a run and what is in it.
namespace xpreport {

/// What `object` points to. @throws HEXAlgException `text`: it is null.
template <class T> T& required(T* object, const char* text) {
    if (object == nullptr)
        throw HEXAlgException(text);
    return *object;
}

/// Calls `visit` with the id of each step, in order, and the iterator over its reports.
/// A step without a flow step is passed over.
template <class Visit> void forEachStep(const HAXPExpRunBase& run, Visit visit) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* const step = steps->next();
        if (step->getFlowStep() == nullptr)
            continue;
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            step->createReportConfigIter());
        visit(step->getFlowStep()->getFlowStepId(), *reports);
    }
}

/// Whether the run has the default report strategy of its kind of flow, known by name.
bool usesDefaultReportStrategy(const HAXPExpRunBase& run);

}  // namespace xpreport
