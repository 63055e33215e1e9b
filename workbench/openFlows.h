// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/WorkbenchExport.h"

class HAXPFlow;

/// The flows on the open iCE40 tools.
///
/// Synthesis has "synth_design"; implementation has "init_design", "place_design",
/// "route_design" and "write_bitstream". Both are the defaults of their kind.
class WORKBENCH_API OpenFlows {
public:
    OpenFlows() = delete;

    /// Adds the flows to the catalogue, where they stay; a second call does nothing.
    static void build();

    static HAXPFlow* getSynthesis();
    static HAXPFlow* getImplementation();
};
