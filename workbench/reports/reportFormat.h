// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// The names in a report's JSON form, once for writer and reader.
namespace reports {
namespace format {

inline constexpr const char* kName = "xperiment-report";
inline constexpr long kNewest = 1;

inline constexpr const char* kFormat = "format";
inline constexpr const char* kVersion = "version";
inline constexpr const char* kReport = "report";
inline constexpr const char* kTitle = "title";
inline constexpr const char* kStep = "step";
inline constexpr const char* kHead = "head";
inline constexpr const char* kFigures = "figures";
inline constexpr const char* kFigureName = "name";
inline constexpr const char* kLabel = "label";
inline constexpr const char* kValue = "value";
inline constexpr const char* kUnit = "unit";
inline constexpr const char* kBetter = "better";
inline constexpr const char* kSections = "sections";
inline constexpr const char* kLines = "lines";
inline constexpr const char* kColumns = "columns";
inline constexpr const char* kRows = "rows";

}  // namespace format
}  // namespace reports
