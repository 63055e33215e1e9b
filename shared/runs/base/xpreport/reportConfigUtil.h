// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/RunsExport.h"

class HADAStaleOption;
class HATOptGroup;

/// What the classes of reports do with option groups.
namespace reportConfigUtil {

/// A group with the options, defaults and values of `group`, which shares
/// nothing with it; null for null. The caller deletes it. Its id is "OPTIONS",
/// its pretty display name is `displayName`, and with `readOnly` every option is
/// read-only. Each option of another kind than bool and int becomes the text of
/// its value. Names, defaults and values are copied, not descriptions.
RUNS_API HATOptGroup* getOptGroupCopy(HATOptGroup* group, const std::string& displayName,
                                      bool readOnly);

/// Whether each option of `a` has the same value in `b`, options matched by
/// name. What only `b` has isn't looked at. Two nulls are equal, one isn't.
///
/// The walk ends at the first option that differs. If `b` has it, a new entry of
/// the group `name`, from b's value to a's, is added to `differences`; the
/// caller deletes it. Lists, enums and files always count as equal, as does a
/// kind that can't be compared, which standard output is told of.
RUNS_API bool compareOptGroups(HATOptGroup* a, HATOptGroup* b, const std::string& name,
                               HSTVector<HADAStaleOption*>& differences);

}  // namespace reportConfigUtil
