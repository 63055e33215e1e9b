// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPTypes.h"

#include <array>
#include <cstddef>
#include <iterator>

#include "environment/strings/HSTStrUtils.h"

namespace {

/// A value and the id under which files and scripts know it.
template <class Type> struct Row {
    Type type;
    const char* id;
};

constexpr Row<HAXPTypes::FlowType> kFlowTypes[] = {
    {HAXPTypes::FLOW_ONE_PBLOCK, "Ft1:OnePBlock"},
    {HAXPTypes::FLOW_ENTIRE_DESIGN, "Ft2:EntireDesign"},
    {HAXPTypes::FLOW_SYNTH, "Ft3:Synth"},
    {HAXPTypes::FLOW_COMPILE_C, "Ft4:CompileC"},
    {HAXPTypes::FLOW_BUILD_IP, "Ft5:BuildIP"},
    {HAXPTypes::FLOW_OCL_REGION_SYNTH, "Ft6:OCLRegionSynth"},
    {HAXPTypes::FLOW_GENERIC, "Ft7:GenericFlow"},
    {HAXPTypes::FLOW_UNKNOWN, "Ft0:Unknown"},
};

constexpr Row<HAXPTypes::FileType> kFileTypes[] = {
    {HAXPTypes::FILE_RL_EDIF, "RL-EDIF"},
    {HAXPTypes::FILE_RL_KDC, "RL-KDC"},
    {HAXPTypes::FILE_RL_SYNPTCL, "RL-SYNPTCL"},
    {HAXPTypes::FILE_RL_CONSTRSDIR, "RL-CONSTRSDIR"},
    {HAXPTypes::FILE_RL_BMM, "RL-BMM"},
    {HAXPTypes::FILE_RL_TCL, "RL-TCL"},
    {HAXPTypes::FILE_REPORTS_TCL, "REPORTS-TCL"},
    {HAXPTypes::FILE_KDS_V, "KDS-V"},
    {HAXPTypes::FILE_KDS_EDIF, "KDS-EDIF"},
    {HAXPTypes::FILE_KDS_KDS, "KDS-KDS"},
    {HAXPTypes::FILE_KDS_UTIL, "KDS-UTIL"},
    {HAXPTypes::FILE_KDS_UTIL_PB, "KDS-UTIL-PB"},
    {HAXPTypes::FILE_KDS_DCP, "KDS-DCP"},
    {HAXPTypes::FILE_TDS_DRC_RPT, "TDS-DRC-RPT"},
    {HAXPTypes::FILE_KDS_PROPCONSTRS, "KDS-PROPCONSTRS"},
    {HAXPTypes::FILE_TDS_TIMINGSUMMARY, "TDS-TIMINGSUMMARY"},
    {HAXPTypes::FILE_TDS_TIMING_PB, "TDS-TIMING-PB"},
    {HAXPTypes::FILE_TDS_HWDEF, "TDS-HWDEF"},
    {HAXPTypes::FILE_KPX_KPX, "KPX-KPX"},
    {HAXPTypes::FILE_RL_DCP, "RL-DCP"},
    {HAXPTypes::FILE_SYNP_EDIF, "SYNP-EDIF"},
    {HAXPTypes::FILE_SYNP_SRR, "SYNP-SRR"},
    {HAXPTypes::FILE_BG_BIT, "BG-BIT"},
    {HAXPTypes::FILE_BG_PARTITION_CELL_BIT, "BG-PARTITION-CELL-BIT"},
    {HAXPTypes::FILE_BG_PARTITION_LTX, "BG-PARTITION-LTX"},
    {HAXPTypes::FILE_BG_DRC, "BG-DRC"},
    {HAXPTypes::FILE_BG_BGN, "BG-BGN"},
    {HAXPTypes::FILE_BG_BIN, "BG-BIN"},
    {HAXPTypes::FILE_BITSTR_MSK, "BITSTR-MSK"},
    {HAXPTypes::FILE_BITSTR_RBT, "BITSTR-RBT"},
    {HAXPTypes::FILE_BITSTR_NKY, "BITSTR-NKY"},
    {HAXPTypes::FILE_BITSTR_BMM, "BITSTR-BMM"},
    {HAXPTypes::FILE_BITSTR_MMI, "BITSTR-MMI"},
    {HAXPTypes::FILE_BITSTR_SYSDEF, "BITSTR-SYSDEF"},
    {HAXPTypes::FILE_BITSTR_LTX, "BITSTR-LTX"},
    {HAXPTypes::FILE_SYL_USG, "SYL-USG"},
    {HAXPTypes::FILE_SYL_LOG, "SYL-LOG"},
    {HAXPTypes::FILE_RUN_SRCS, "RUN-SRCS"},
    {HAXPTypes::FILE_RUN_CONSTRS, "RUN-CONSTRS"},
    {HAXPTypes::FILE_RUN_MQXML, "RUN-MQXML"},
    {HAXPTypes::FILE_RUN_STRAT, "RUN-STRAT"},
    {HAXPTypes::FILE_OPT_DRC, "OPT-DRC"},
    {HAXPTypes::FILE_OPT_HWDEF, "OPT-HWDEF"},
    {HAXPTypes::FILE_PLACE_IO, "PLACE-IO"},
    {HAXPTypes::FILE_PLACE_CLK, "PLACE-CLK"},
    {HAXPTypes::FILE_PLACE_UTIL, "PLACE-UTIL"},
    {HAXPTypes::FILE_PLACE_UTIL_PB, "PLACE-UTIL-PB"},
    {HAXPTypes::FILE_PLACE_CTRL, "PLACE-CTRL"},
    {HAXPTypes::FILE_PLACE_SIMILARITY, "PLACE-SIMILARITY"},
    {HAXPTypes::FILE_PLACE_PRE_SIMILARITY, "PLACE-PRE-SIMILARITY"},
    {HAXPTypes::FILE_ROUTE_DRC, "ROUTE-DRC"},
    {HAXPTypes::FILE_ROUTE_DRC_PB, "ROUTE-DRC-PB"},
    {HAXPTypes::FILE_ROUTE_PWR, "ROUTE-PWR"},
    {HAXPTypes::FILE_ROUTE_PWR_SUM, "ROUTE-PWR-SUM"},
    {HAXPTypes::FILE_ROUTE_PWR_RPX, "ROUTE-PWR-RPX"},
    {HAXPTypes::FILE_ROUTE_STATUS, "ROUTE-STATUS"},
    {HAXPTypes::FILE_ROUTE_STATUS_PB, "ROUTE-STATUS-PB"},
    {HAXPTypes::FILE_ROUTE_DCP, "ROUTE-DCP"},
    {HAXPTypes::FILE_ROUTE_PARTITION_CELL_DCP, "ROUTE-PARTITION-CELL-DCP"},
    {HAXPTypes::FILE_ROUTE_ERROR_DCP, "ROUTE-ERROR-DCP"},
    {HAXPTypes::FILE_ROUTE_BLACKBOX_DCP, "ROUTE-BLACKBOX-DCP"},
    {HAXPTypes::FILE_ROUTE_TIMINGSUMMARY, "ROUTE-TIMINGSUMMARY"},
    {HAXPTypes::FILE_ROUTE_TIMING_PB, "ROUTE-TIMING-PB"},
    {HAXPTypes::FILE_ROUTE_TIMING_RPX, "ROUTE-TIMING-RPX"},
    {HAXPTypes::FILE_ROUTE_SIMILARITY, "ROUTE-SIMILARITY"},
    {HAXPTypes::FILE_ROUTE_CLK, "ROUTE-CLK"},
    {HAXPTypes::FILE_ROUTE_BUS_SKEW, "ROUTE-BUS-SKEW"},
    {HAXPTypes::FILE_ROUTE_BUS_SKEW_PB, "ROUTE-BUS-SKEW-PB"},
    {HAXPTypes::FILE_ROUTE_BUS_SKEW_RPX, "ROUTE-BUS-SKEW-RPX"},
    {HAXPTypes::FILE_OPT_DCP, "OPT-DCP"},
    {HAXPTypes::FILE_PLACE_DCP, "PLACE-DCP"},
    {HAXPTypes::FILE_PWROPT_DCP, "PWROPT-DCP"},
    {HAXPTypes::FILE_POSTPLACE_PWROPT_DCP, "POSTPLACE-PWROPT-DCP"},
    {HAXPTypes::FILE_PWROPT_DRC, "PWROPT-DRC"},
    {HAXPTypes::FILE_PHYSOPT_DCP, "PHYSOPT-DCP"},
    {HAXPTypes::FILE_PHYSOPT_DRC, "PHYSOPT-DRC"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_DCP, "POSTROUTE-PHYSOPT-DCP"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_BLACKBOX_DCP, "POSTROUTE-PHYSOPT-BLACKBOX-DCP"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING, "POSTROUTE-PHYSOPT-TIMING"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING_PB, "POSTROUTE-PHYSOPT-TIMING-PB"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING_RPX, "POSTROUTE-PHYSOPT-TIMING-RPX"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW, "POSTROUTE-PHYSOPT-BUS-SKEW"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW_PB, "POSTROUTE-PHYSOPT-BUS-SKEW-PB"},
    {HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW_RPX, "POSTROUTE-PHYSOPT-BUS-SKEW-RPX"},
    {HAXPTypes::FILE_INIT_TIMING, "INIT-TIMING"},
    {HAXPTypes::FILE_OPT_TIMING, "OPT-TIMING"},
    {HAXPTypes::FILE_PWROPT_TIMING, "PWROPT-TIMING"},
    {HAXPTypes::FILE_PLACE_TIMING, "PLACE-TIMING"},
    {HAXPTypes::FILE_POSTPLACE_PWROPT_TIMING, "POSTPLACE-PWROPT-TIMING"},
    {HAXPTypes::FILE_PHYSOPT_TIMING, "PHYSOPT-TIMING"},
    {HAXPTypes::FILE_GLIMMER_KO, "GLIMMER-KO"},
    {HAXPTypes::FILE_GLIMMER_KCLBIN, "GLIMMER-KCLBIN"},
    {HAXPTypes::FILE_OPT_METHODOLOGY_DRC, "OPT-METHODOLOGY-DRC"},
    {HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC, "ROUTE-METHODOLOGY-DRC"},
    {HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC_PB, "ROUTE-METHODOLOGY-DRC-PB"},
    {HAXPTypes::FILE_ROUTE_DRC_RPX, "ROUTE-DRC-RPX"},
    {HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC_RPX, "ROUTE-METHODOLOGY-DRC-RPX"},
    {HAXPTypes::FILE_PDI_FILE, "PDI-FILE"},
    {HAXPTypes::FILE_BG_PARTITION_CELL_PDI, "BG-PARTITION-CELL-PDI"},
    {HAXPTypes::FILE_RCFI_FILE, "RCFI_FILE"},
    {HAXPTypes::FILE_CFI_FILE, "CFI_FILE"},
    {HAXPTypes::FILE_RNPI_FILE, "RNPI_FILE"},
    {HAXPTypes::FILE_NPI_FILE, "NPI_FILE"},
    {HAXPTypes::FILE_RBD_FILE, "RBD_FILE"},
    {HAXPTypes::FILE_INPUT_DCP, "INPUT-DCP"},
    {HAXPTypes::FILE_OUTPUT_DCP, "OUTPUT-DCP"},
    {HAXPTypes::FILE_HWDEF, "HWDEF"},
    {HAXPTypes::FILE_STEP_STATE_GV, "STEP-STATE-GV"},
    {HAXPTypes::FILE_STEP_STATE_AMR, "STEP-STATE-AMR"},
    {HAXPTypes::FILE_STEP_STATE_AMP, "STEP-STATE-AMP"},
    {HAXPTypes::FILE_UNKNOWN, ""},
};

/// Look-ups go by position: each value stands at its own, and none is left out.
template <class Type, std::size_t N> constexpr bool isPositional(const Row<Type> (&rows)[N]) {
    for (std::size_t i = 0; i < N; ++i)
        if (rows[i].type != static_cast<Type>(i))
            return false;
    return true;
}
static_assert(isPositional(kFlowTypes) && std::size(kFlowTypes) == HAXPTypes::flowTypeCount);
static_assert(isPositional(kFileTypes) && std::size(kFileTypes) == HAXPTypes::fileTypeCount);

template <class Type, std::size_t N> std::array<std::string, N> idsOf(const Row<Type> (&rows)[N]) {
    std::array<std::string, N> ids;
    for (std::size_t i = 0; i < N; ++i)
        ids[i] = rows[i].id;
    return ids;
}

const auto kFlowTypeIds = idsOf(kFlowTypes);
const auto kFileTypeIds = idsOf(kFileTypes);

/// The position of `id` before the last row, which is the answer without a match.
template <std::size_t N>
std::size_t positionOf(const std::string& id, const std::array<std::string, N>& ids) {
    std::size_t at = 0;
    while (at < N - 1 && !HSTStrUtils::equalToCI(ids[at], id))
        ++at;
    return at;
}

}  // namespace

const std::string& HAXPTypes::getFlowTypeId(FlowType type) {
    return kFlowTypeIds[type];
}

HAXPTypes::FlowType HAXPTypes::getFlowType(const std::string& id) {
    return static_cast<FlowType>(positionOf(id, kFlowTypeIds));
}

const std::string& HAXPTypes::getFileTypeId(FileType type) {
    return kFileTypeIds[type];
}

HAXPTypes::FileType HAXPTypes::getFileType(const std::string& id) {
    return static_cast<FileType>(positionOf(id, kFileTypeIds));
}
