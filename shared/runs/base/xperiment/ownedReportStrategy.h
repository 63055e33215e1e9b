// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>

class HAXRReportStrategy;

namespace xperiment {

/// Deletes a report strategy with its specifications, which its destructor leaves.
struct DeleteReportStrategy {
    void operator()(HAXRReportStrategy* strategy) const;
};

using OwnedReportStrategy = std::unique_ptr<HAXRReportStrategy, DeleteReportStrategy>;

}  // namespace xperiment
