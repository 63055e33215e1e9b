// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

/// The closed enumerations of the flow catalogue, with the ids of their values.
///
/// Ids stand in files, so they keep their texts; the values are positions in a
/// table and may change from version to version. The tables are built when the
/// library is loaded and read from any thread.
class RUNS_API HAXPTypes {
public:
    HAXPTypes() = delete;

    /// What a flow makes. The number in an id isn't the value.
    enum FlowType {
        FLOW_ONE_PBLOCK = 0,
        FLOW_ENTIRE_DESIGN = 1,
        FLOW_SYNTH = 2,
        FLOW_COMPILE_C = 3,
        FLOW_BUILD_IP = 4,
        FLOW_OCL_REGION_SYNTH = 5,
        FLOW_GENERIC = 6,
        FLOW_UNKNOWN = 7,
    };
    static constexpr int flowTypeCount = FLOW_UNKNOWN + 1;

    /// What a file of a run holds: the tool or stage that writes it, then the kind
    /// of the file. PB is the twin of a report for programs, RPX the one for viewers.
    enum FileType {
        FILE_RL_EDIF = 0,
        FILE_RL_KDC,
        FILE_RL_SYNPTCL,
        FILE_RL_CONSTRSDIR,
        FILE_RL_BMM,
        FILE_RL_TCL,
        FILE_REPORTS_TCL,
        FILE_KDS_V,
        FILE_KDS_EDIF,
        FILE_KDS_KDS,
        FILE_KDS_UTIL,
        FILE_KDS_UTIL_PB,
        FILE_KDS_DCP,
        FILE_TDS_DRC_RPT,
        FILE_KDS_PROPCONSTRS,
        FILE_TDS_TIMINGSUMMARY,
        FILE_TDS_TIMING_PB,
        FILE_TDS_HWDEF,
        FILE_KPX_KPX,
        FILE_RL_DCP,
        FILE_SYNP_EDIF,
        FILE_SYNP_SRR,
        FILE_BG_BIT,
        FILE_BG_PARTITION_CELL_BIT,
        FILE_BG_PARTITION_LTX,
        FILE_BG_DRC,
        FILE_BG_BGN,
        FILE_BG_BIN,
        FILE_BITSTR_MSK,
        FILE_BITSTR_RBT,
        FILE_BITSTR_NKY,
        FILE_BITSTR_BMM,
        FILE_BITSTR_MMI,
        FILE_BITSTR_SYSDEF,
        FILE_BITSTR_LTX,
        FILE_SYL_USG,
        FILE_SYL_LOG,
        FILE_RUN_SRCS,
        FILE_RUN_CONSTRS,
        FILE_RUN_MQXML,
        FILE_RUN_STRAT,
        FILE_OPT_DRC,
        FILE_OPT_HWDEF,
        FILE_PLACE_IO,
        FILE_PLACE_CLK,
        FILE_PLACE_UTIL,
        FILE_PLACE_UTIL_PB,
        FILE_PLACE_CTRL,
        FILE_PLACE_SIMILARITY,
        FILE_PLACE_PRE_SIMILARITY,
        FILE_ROUTE_DRC,
        FILE_ROUTE_DRC_PB,
        FILE_ROUTE_PWR,
        FILE_ROUTE_PWR_SUM,
        FILE_ROUTE_PWR_RPX,
        FILE_ROUTE_STATUS,
        FILE_ROUTE_STATUS_PB,
        FILE_ROUTE_DCP,
        FILE_ROUTE_PARTITION_CELL_DCP,
        FILE_ROUTE_ERROR_DCP,
        FILE_ROUTE_BLACKBOX_DCP,
        FILE_ROUTE_TIMINGSUMMARY,
        FILE_ROUTE_TIMING_PB,
        FILE_ROUTE_TIMING_RPX,
        FILE_ROUTE_SIMILARITY,
        FILE_ROUTE_CLK,
        FILE_ROUTE_BUS_SKEW,
        FILE_ROUTE_BUS_SKEW_PB,
        FILE_ROUTE_BUS_SKEW_RPX,
        FILE_OPT_DCP,
        FILE_PLACE_DCP,
        FILE_PWROPT_DCP,
        FILE_POSTPLACE_PWROPT_DCP,
        FILE_PWROPT_DRC,
        FILE_PHYSOPT_DCP,
        FILE_PHYSOPT_DRC,
        FILE_POSTROUTE_PHYSOPT_DCP,
        FILE_POSTROUTE_PHYSOPT_BLACKBOX_DCP,
        FILE_POSTROUTE_PHYSOPT_TIMING,
        FILE_POSTROUTE_PHYSOPT_TIMING_PB,
        FILE_POSTROUTE_PHYSOPT_TIMING_RPX,
        FILE_POSTROUTE_PHYSOPT_BUS_SKEW,
        FILE_POSTROUTE_PHYSOPT_BUS_SKEW_PB,
        FILE_POSTROUTE_PHYSOPT_BUS_SKEW_RPX,
        FILE_INIT_TIMING,
        FILE_OPT_TIMING,
        FILE_PWROPT_TIMING,
        FILE_PLACE_TIMING,
        FILE_POSTPLACE_PWROPT_TIMING,
        FILE_PHYSOPT_TIMING,
        FILE_GLIMMER_KO,
        FILE_GLIMMER_KCLBIN,
        FILE_OPT_METHODOLOGY_DRC,
        FILE_ROUTE_METHODOLOGY_DRC,
        FILE_ROUTE_METHODOLOGY_DRC_PB,
        FILE_ROUTE_DRC_RPX,
        FILE_ROUTE_METHODOLOGY_DRC_RPX,
        FILE_PDI_FILE,
        FILE_BG_PARTITION_CELL_PDI,
        FILE_RCFI_FILE,
        FILE_CFI_FILE,
        FILE_RNPI_FILE,
        FILE_NPI_FILE,
        FILE_RBD_FILE,
        FILE_INPUT_DCP,
        FILE_OUTPUT_DCP,
        FILE_HWDEF,
        FILE_STEP_STATE_GV,
        FILE_STEP_STATE_AMR,
        FILE_STEP_STATE_AMP,
        FILE_UNKNOWN,
    };
    static constexpr int fileTypeCount = FILE_UNKNOWN + 1;

    /// How the value of a statistic is stored. 0 and all others are invalid.
    enum StatType {
        STAT_INVALID = 0,
        STAT_LONG = 1,
        STAT_DOUBLE = 2,
        STAT_STRING = 3,
        STAT_DT_STAMP = 4,
        STAT_TIME = 5,
    };

    /// The id of `type`, good for the life of the process. `type` is one of the
    /// enumeration: it isn't checked.
    static const std::string& getFlowTypeId(FlowType type);

    /// The flow type called `id`, whatever its case; FLOW_UNKNOWN without one.
    static FlowType getFlowType(const std::string& id);

    /// The id of `type`, empty for FILE_UNKNOWN, good for the life of the process.
    /// `type` is one of the enumeration: it isn't checked.
    static const std::string& getFileTypeId(FileType type);

    /// The file type called `id`, whatever its case; FILE_UNKNOWN without one.
    static FileType getFileType(const std::string& id);
};
