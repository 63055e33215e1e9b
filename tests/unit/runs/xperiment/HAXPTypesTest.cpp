// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPTypes.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/strings/HSTStringUtils.h"

namespace {

/// The ids that files of other versions hold, in the order of their values.
constexpr const char* kFileTypeIds =
    "RL-EDIF RL-KDC RL-SYNPTCL RL-CONSTRSDIR RL-BMM RL-TCL REPORTS-TCL KDS-V KDS-EDIF "
    "KDS-KDS KDS-UTIL KDS-UTIL-PB KDS-DCP TDS-DRC-RPT KDS-PROPCONSTRS TDS-TIMINGSUMMARY "
    "TDS-TIMING-PB TDS-HWDEF KPX-KPX RL-DCP SYNP-EDIF SYNP-SRR BG-BIT "
    "BG-PARTITION-CELL-BIT BG-PARTITION-LTX BG-DRC BG-BGN BG-BIN BITSTR-MSK BITSTR-RBT "
    "BITSTR-NKY BITSTR-BMM BITSTR-MMI BITSTR-SYSDEF BITSTR-LTX SYL-USG SYL-LOG RUN-SRCS "
    "RUN-CONSTRS RUN-MQXML RUN-STRAT OPT-DRC OPT-HWDEF PLACE-IO PLACE-CLK PLACE-UTIL "
    "PLACE-UTIL-PB PLACE-CTRL PLACE-SIMILARITY PLACE-PRE-SIMILARITY ROUTE-DRC "
    "ROUTE-DRC-PB ROUTE-PWR ROUTE-PWR-SUM ROUTE-PWR-RPX ROUTE-STATUS ROUTE-STATUS-PB "
    "ROUTE-DCP ROUTE-PARTITION-CELL-DCP ROUTE-ERROR-DCP ROUTE-BLACKBOX-DCP "
    "ROUTE-TIMINGSUMMARY ROUTE-TIMING-PB ROUTE-TIMING-RPX ROUTE-SIMILARITY ROUTE-CLK "
    "ROUTE-BUS-SKEW ROUTE-BUS-SKEW-PB ROUTE-BUS-SKEW-RPX OPT-DCP PLACE-DCP PWROPT-DCP "
    "POSTPLACE-PWROPT-DCP PWROPT-DRC PHYSOPT-DCP PHYSOPT-DRC POSTROUTE-PHYSOPT-DCP "
    "POSTROUTE-PHYSOPT-BLACKBOX-DCP POSTROUTE-PHYSOPT-TIMING POSTROUTE-PHYSOPT-TIMING-PB "
    "POSTROUTE-PHYSOPT-TIMING-RPX POSTROUTE-PHYSOPT-BUS-SKEW "
    "POSTROUTE-PHYSOPT-BUS-SKEW-PB POSTROUTE-PHYSOPT-BUS-SKEW-RPX INIT-TIMING OPT-TIMING "
    "PWROPT-TIMING PLACE-TIMING POSTPLACE-PWROPT-TIMING PHYSOPT-TIMING GLIMMER-KO "
    "GLIMMER-KCLBIN OPT-METHODOLOGY-DRC ROUTE-METHODOLOGY-DRC ROUTE-METHODOLOGY-DRC-PB "
    "ROUTE-DRC-RPX ROUTE-METHODOLOGY-DRC-RPX PDI-FILE BG-PARTITION-CELL-PDI RCFI_FILE "
    "CFI_FILE RNPI_FILE NPI_FILE RBD_FILE INPUT-DCP OUTPUT-DCP HWDEF STEP-STATE-GV "
    "STEP-STATE-AMR STEP-STATE-AMP ";

const std::vector<std::string> kFlowTypeIds = {
    "Ft1:OnePBlock", "Ft2:EntireDesign",   "Ft3:Synth",       "Ft4:CompileC",
    "Ft5:BuildIP",   "Ft6:OCLRegionSynth", "Ft7:GenericFlow", "Ft0:Unknown"};

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> result;
    for (std::string word; in >> word;)
        result.push_back(word);
    return result;
}

std::string upperCase(std::string text) {
    HSTStringUtils::to_upper(text);
    return text;
}

TEST(FlowTypeTableTest, HasTheKnownIdsAtTheirValues) {
    for (int value = 0; value < HAXPTypes::flowTypeCount; ++value)
        EXPECT_EQ(HAXPTypes::getFlowTypeId(static_cast<HAXPTypes::FlowType>(value)),
                  kFlowTypeIds.at(value));
    EXPECT_EQ(kFlowTypeIds.size(), 8U);
}

TEST(FlowTypeTableTest, FindsEachIdButTheLast) {
    for (int value = 0; value < HAXPTypes::FLOW_UNKNOWN; ++value)
        EXPECT_EQ(HAXPTypes::getFlowType(kFlowTypeIds.at(value)), value);
}

TEST(FlowTypeTableTest, FindsAnIdInAnyCaseMix) {
    EXPECT_EQ(HAXPTypes::getFlowType("ft3:SYNTH"), HAXPTypes::FLOW_SYNTH);
    EXPECT_EQ(HAXPTypes::FLOW_SYNTH, 2);
}

TEST(FlowTypeTableTest, GivesUnknownForWhatItDoesNotHave) {
    EXPECT_EQ(HAXPTypes::getFlowType("Ft0:Unknown"), 7);
    EXPECT_EQ(HAXPTypes::getFlowType(""), 7);
    EXPECT_EQ(HAXPTypes::getFlowType("Ft3:Synth "), 7);
}

TEST(FileTypeTableTest, HasTheKnownIdsAtTheirValues) {
    const std::vector<std::string> ids = words(kFileTypeIds);
    ASSERT_EQ(ids.size(), static_cast<std::size_t>(HAXPTypes::FILE_UNKNOWN));
    for (std::size_t value = 0; value < ids.size(); ++value)
        EXPECT_EQ(HAXPTypes::getFileTypeId(static_cast<HAXPTypes::FileType>(value)), ids[value]);
}

TEST(FileTypeTableTest, FindsEachIdInUpperCase) {
    const std::vector<std::string> ids = words(kFileTypeIds);
    for (std::size_t value = 0; value < ids.size(); ++value)
        EXPECT_EQ(HAXPTypes::getFileType(upperCase(ids[value])),
                  static_cast<HAXPTypes::FileType>(value));
}

TEST(FileTypeTableTest, FindsAnIdInLowerCase) {
    EXPECT_EQ(HAXPTypes::getFileType("route-dcp"), HAXPTypes::FILE_ROUTE_DCP);
}

TEST(FileTypeTableTest, KeepsTheCheckReportBeforeThePropagatedConstraints) {
    EXPECT_EQ(HAXPTypes::getFileType("TDS-DRC-RPT"), 13);
    EXPECT_EQ(HAXPTypes::getFileType("KDS-PROPCONSTRS"), 14);
}

TEST(FileTypeTableTest, GivesTheLastValueForWhatItDoesNotHave) {
    EXPECT_EQ(HAXPTypes::getFileType(""), HAXPTypes::FILE_UNKNOWN);
    EXPECT_EQ(HAXPTypes::getFileType("MAP-NCD"), HAXPTypes::FILE_UNKNOWN);
    EXPECT_EQ(HAXPTypes::FILE_UNKNOWN, 110);
}

TEST(FileTypeTableTest, HasNoIdForTheLastValue) {
    EXPECT_EQ(HAXPTypes::getFileTypeId(HAXPTypes::FILE_UNKNOWN), "");
}

}  // namespace
