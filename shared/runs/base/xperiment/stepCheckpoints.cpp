// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/stepCheckpoints.h"

namespace xperiment {

namespace {

struct CheckpointRow {
    const char* stepId;
    HAXPTypes::FileType type;
};

constexpr CheckpointRow kCheckpoints[] = {
    {"synth_design", HAXPTypes::FILE_KDS_DCP},
    {"opt_design", HAXPTypes::FILE_OPT_DCP},
    {"power_opt_design", HAXPTypes::FILE_PWROPT_DCP},
    {"place_design", HAXPTypes::FILE_PLACE_DCP},
    {"post_place_power_opt_design", HAXPTypes::FILE_POSTPLACE_PWROPT_DCP},
    {"phys_opt_design", HAXPTypes::FILE_PHYSOPT_DCP},
    {"post_route_phys_opt_design", HAXPTypes::FILE_POSTROUTE_PHYSOPT_DCP},
    {"route_design", HAXPTypes::FILE_ROUTE_DCP},
};

}  // namespace

bool findCheckpointType(const std::string& stepId, HAXPTypes::FileType& type) {
    for (const CheckpointRow& row : kCheckpoints) {
        if (stepId == row.stepId) {
            type = row.type;
            return true;
        }
    }
    return false;
}

}  // namespace xperiment
