// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// The numbered kinds of the file-set layer.
class HDDATypes {
public:
    HDDATypes() = delete;

    /// What the sources of a file set are for.
    enum FileSetType : int {
        FST_DESIGN_SRCS = 0,  ///< the design
        FST_CONSTRS = 1,      ///< timing and placement constraints
        FST_SIM_SRCS = 2,     ///< test benches and models
        FST_DOCS = 3,         ///< papers and notes; no result depends on them
        FST_BLOCK_SRCS = 4,   ///< one block, run by itself, out of context
        FST_UTILS = 5,        ///< what runs need beside the design: hooks, reference checkpoints
        FST_INTERNAL = 6      ///< the environment's own; no result depends on it
    };

    /// The kind of a source file. Numbers lie in [0, SFT_LIMIT).
    enum SFTId : int {
        SFT_VERILOG = 0,
        SFT_VHDL = 1,
        SFT_VERILOG_HEADER = 2,
        SFT_SYSTEM_VERILOG = 3,
        SFT_VHDL_2008 = 4,
        SFT_VERILOG_TEMPLATE = 5,
        SFT_MEMORY_INIT = 6,
        SFT_EDIF = 7,
        SFT_BINARY_NETLIST = 8,
        SFT_SCHEMATIC = 9,
        SFT_PIN_CONSTRAINTS = 10,
        SFT_TIMING_CONSTRAINTS = 11,
        SFT_FLOORPLAN = 12,
        SFT_C = 13,
        SFT_SOFTWARE_IMAGE = 14,
        SFT_DATA = 15,
        SFT_TOOL_DATABASE = 16,  ///< what a tool keeps for itself
        SFT_JSON_NETLIST = 22,
        SFT_CORE = 25,          ///< a configured, generated block
        SFT_BLOCK_DESIGN = 27,  ///< blocks wired up in a diagram ("BD")
        SFT_TCL = 31,
        SFT_CHECKPOINT = 32,
        SFT_NOTES = 43,    ///< text for people; its changes make nothing stale
        SFT_UNKNOWN = 63,  ///< none of the above
        SFT_LIMIT = 64
    };

    /// One kind of output of a composite file.
    enum GenerationTarget : int {
        GT_SYNTHESIS = 0,
        GT_IMPLEMENTATION = 1,
        GT_SIMULATION = 2,
        GT_TEMPLATE = 3,          ///< a text to instantiate the block by
        GT_DEVICE_IMAGE = 4,      ///< what goes into the image of the device
        GT_SYNTH_CHECKPOINT = 5,  ///< the block, synthesised by itself
        GT_LIMIT = 6
    };

    /// How an output of a composite file stands.
    enum GenerationState : int {
        GS_NOT_GENERATED = 0,
        GS_GENERATED = 1,      ///< made from what the block is now
        GS_OUT_OF_DATE = 2,    ///< made from an earlier state of the block
        GS_NOT_APPLICABLE = 3  ///< the block has no such output
    };
};
