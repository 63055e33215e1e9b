// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>

#include "environment/errors/HEXAlgException.h"

class HATAttrSpec;
class HAXPExpRunBase;
class HAXRReportConfig;
template <class T> class HSTFwdIter;

/// How the sources of reports reach a run and what is in it, and how they take an option.
namespace xpreport {

/// What `object` points to. @throws HEXAlgException `text`: it is null.
template <class T> T& required(T* object, const char* text) {
    if (object == nullptr)
        throw HEXAlgException(text);
    return *object;
}

/// Calls `visit` with the id of each step, in order, and the iterator over its reports,
/// which is good for the call. A step without a flow step is passed over.
void forEachStep(
    const HAXPExpRunBase& run,
    const std::function<void(const std::string&, HSTFwdIter<HAXRReportConfig*>&)>& visit);

/// Whether the run has the default report strategy of its kind of flow, known by name.
bool usesDefaultReportStrategy(const HAXPExpRunBase& run);

/// Whether the value of a report's option is a text.
bool holdsText(const HATAttrSpec& option);

}  // namespace xpreport
