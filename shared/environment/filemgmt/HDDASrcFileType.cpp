// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDASrcFileType.h"

#include <iterator>

#include "environment/strings/HSTStringUtils.h"

struct SrcFileTypeTable {
    static const HDDASrcFileType kinds[];
};

const HDDASrcFileType SrcFileTypeTable::kinds[] = {
    {HDDATypes::SFT_UNKNOWN, "Unknown", false},
    {HDDATypes::SFT_VERILOG, "Verilog", false},
    {HDDATypes::SFT_VHDL, "VHDL", false},
    {HDDATypes::SFT_VERILOG_HEADER, "Verilog Header", false},
    {HDDATypes::SFT_SYSTEM_VERILOG, "SystemVerilog", false},
    {HDDATypes::SFT_VHDL_2008, "VHDL 2008", false},
    {HDDATypes::SFT_VERILOG_TEMPLATE, "Verilog Template", false},
    {HDDATypes::SFT_MEMORY_INIT, "Memory Initialization", false},
    {HDDATypes::SFT_EDIF, "EDIF", false},
    {HDDATypes::SFT_BINARY_NETLIST, "Binary Netlist", false},
    {HDDATypes::SFT_SCHEMATIC, "Schematic", false},
    {HDDATypes::SFT_PIN_CONSTRAINTS, "Pin Constraints", false},
    {HDDATypes::SFT_TIMING_CONSTRAINTS, "Timing Constraints", false},
    {HDDATypes::SFT_FLOORPLAN, "Floorplan", false},
    {HDDATypes::SFT_C, "C", false},
    {HDDATypes::SFT_SOFTWARE_IMAGE, "Software Image", false},
    {HDDATypes::SFT_DATA, "Data", false},
    {HDDATypes::SFT_TOOL_DATABASE, "Tool Database", true},
    {HDDATypes::SFT_JSON_NETLIST, "JSON Netlist", false},
    {HDDATypes::SFT_CORE, "Core", false},
    {HDDATypes::SFT_BLOCK_DESIGN, "Block Design", false},
    {HDDATypes::SFT_TCL, "Tcl", false},
    {HDDATypes::SFT_CHECKPOINT, "Checkpoint", false},
    {HDDATypes::SFT_NOTES, "Notes", false},
};

namespace {

struct ExtensionRow {
    const char* extension;  // without dot
    HDDATypes::SFTId id;
};

/// A text that a design may read as data is no note: changes of notes count
/// for nothing.
constexpr ExtensionRow kExtensions[] = {
    {"v", HDDATypes::SFT_VERILOG},
    {"vh", HDDATypes::SFT_VERILOG_HEADER},
    {"svh", HDDATypes::SFT_VERILOG_HEADER},
    {"sv", HDDATypes::SFT_SYSTEM_VERILOG},
    {"vhd", HDDATypes::SFT_VHDL},
    {"vhdl", HDDATypes::SFT_VHDL},
    {"vht", HDDATypes::SFT_VHDL},
    {"vt", HDDATypes::SFT_VERILOG_TEMPLATE},
    {"mem", HDDATypes::SFT_MEMORY_INIT},
    {"hex", HDDATypes::SFT_MEMORY_INIT},
    {"mif", HDDATypes::SFT_MEMORY_INIT},
    {"edf", HDDATypes::SFT_EDIF},
    {"edif", HDDATypes::SFT_EDIF},
    {"edn", HDDATypes::SFT_EDIF},
    {"json", HDDATypes::SFT_JSON_NETLIST},
    {"pcf", HDDATypes::SFT_PIN_CONSTRAINTS},
    {"sdc", HDDATypes::SFT_TIMING_CONSTRAINTS},
    {"c", HDDATypes::SFT_C},
    {"h", HDDATypes::SFT_C},
    {"elf", HDDATypes::SFT_SOFTWARE_IMAGE},
    {"bin", HDDATypes::SFT_DATA},
    {"dat", HDDATypes::SFT_DATA},
    {"txt", HDDATypes::SFT_DATA},
    {"csv", HDDATypes::SFT_DATA},
    {"bd", HDDATypes::SFT_BLOCK_DESIGN},
    {"tcl", HDDATypes::SFT_TCL},
    {"dcp", HDDATypes::SFT_CHECKPOINT},
    {"md", HDDATypes::SFT_NOTES},
    {"pdf", HDDATypes::SFT_NOTES},
};

std::string extensionOf(const std::string& path) {
    const std::size_t nameStart = path.find_last_of('/') + 1;  // 0 without a separator
    const std::size_t dot = path.find_last_of('.');
    return dot == std::string::npos || dot < nameStart ? std::string() : path.substr(dot + 1);
}

}  // namespace

const HDDASrcFileType* HDDASrcFileType::get(HDDATypes::SFTId id) {
    for (const HDDASrcFileType& kind : SrcFileTypeTable::kinds) {
        if (kind.m_id == id)
            return &kind;
    }
    return &SrcFileTypeTable::kinds[0];
}

const HDDASrcFileType* HDDASrcFileType::getForFile(const std::string& path) {
    const std::string extension = extensionOf(path);
    for (const ExtensionRow& row : kExtensions) {
        if (HSTStringUtils::iequals(extension, row.extension))
            return get(row.id);
    }
    return get(HDDATypes::SFT_UNKNOWN);
}

const HDDASrcFileType* HDDASrcFileType::getForName(const std::string& name) {
    for (const HDDASrcFileType& kind : SrcFileTypeTable::kinds) {
        if (HSTStringUtils::iequals(name, kind.m_name))
            return &kind;
    }
    return nullptr;
}
