// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/failureTable.h"

namespace workbench {

namespace {

constexpr const char* kLarger = "Choose a larger device, or the area strategy of the synthesis";
constexpr const char* kCorrectLine = "Correct the Verilog at that line";
constexpr const char* kCorrectConstraint = "Correct that line of the constraints";
constexpr const char* kOtherVersion =
    "Install the version of the tool that Debian's package has, or a newer one";
constexpr const char* kFreeMemory = "Free memory, or let fewer runs work at once";
constexpr const char* kOther = "Try other options, or take back what was changed last; a tool "
                               "that crashes has a fault of its own, which its makers want to know";
constexpr const char* kFreeSpace = "Free space on that disk";

using Kind = FailureKind;

std::vector<FailureRule> sourceRules() {
    return {
        {Kind::kUnknownModule,
         "Module `*' referenced in module `*' in cell `*' is not part of the design", nullptr,
         "Module {1} uses a module {0} that none of the sources defines",
         "Add the source that defines {0}, or correct its name"},
        {Kind::kNoSuchPort,
         "Module `*' referenced in module `*' in cell `*' does not have a port named '*'", nullptr,
         "Instance {2} in module {1} connects a port {3}, which module {0} doesn't have",
         "Correct the port's name at the instance, or add the port to the module"},
        {Kind::kUnknownTop, "Module `*' not found", nullptr,
         "None of the sources defines the top module {0}",
         "Correct the name of the top module, or add the source that defines it"},
        {Kind::kSyntax, "syntax error", "The SystemVerilog keyword `*' (at ",
         "The source is SystemVerilog ({0}), but is read as Verilog, as its name doesn't end in "
         ".sv",
         "Let the source's name end in .sv, or write it in Verilog"},
        {Kind::kSyntax, "syntax error, unexpected end of file", nullptr,
         "The source ends in the middle of something: an end, an endmodule or a bracket is missing",
         "Add what is missing before the end of the file"},
        {Kind::kSyntax, "syntax error", nullptr, "The Verilog can't be understood at that place",
         kCorrectLine},
        {Kind::kUndeclared, "Identifier `*' is implicitly declared", nullptr,
         "The name {0} is used, but nowhere declared", "Declare {0}, or correct its name"},
        {Kind::kUndeclared, "undefined macro `*", nullptr, "The macro {0} isn't defined",
         "Define {0} in a source or in the project, or correct its name"},
        {Kind::kUndeclared, "Can't resolve function name `*'", nullptr,
         "The function {0} is called, but nowhere defined",
         "Define the function {0}, or correct its name"},
        {Kind::kUndeclared, "Can't resolve task name `*'", nullptr,
         "The task {0} is called, but nowhere defined", "Define the task {0}, or correct its name"},
        {Kind::kDefinedTwice, "Re-definition of module `*'", nullptr,
         "The module {0} is defined twice",
         "Remove one of the definitions, or a source that is listed twice"},
        {Kind::kDefinedTwice, "Incompatible re-declaration of ? *", nullptr,
         "{1} is declared twice, and the declarations don't agree",
         "Remove one of the declarations"},
        {Kind::kInclude, "Can't open include file `*'", nullptr,
         "The included file {0} isn't there",
         "Correct its name, or add its folder to the include folders of the project"},
        {Kind::kMemoryFile, "Can not open file `*` for \\$readmem", nullptr,
         "The memory file {0} isn't there",
         "Correct its name: it is looked for in the folder of the source, or give its whole path"},
        {Kind::kMemoryFile, "Can not parse address `*` for \\$readmem", nullptr,
         "The memory file has an address that isn't a hexadecimal number: {0}",
         "Correct that address in the memory file"},
        {Kind::kUnsupported, "Found non-synthesizable event list", nullptr,
         "An always block waits for edges and for levels at once, which no hardware does",
         "Name only edges (posedge, negedge) in front of that block, or write @*"},
        {Kind::kUnsupported, "loops are only allowed in constant functions", nullptr,
         "A loop has no fixed number of turns, so that no hardware can be made of it",
         "Write it as a for loop with constant bounds, or as a state machine"},
        {Kind::kUndriven, "optimised away", "Warning: Wire *.* is used but has no driver",
         "Nothing drives the net {1} of module {0}, and with it the whole design was optimised "
         "away",
         "Drive {1}, or correct its name where it is used"},
        {Kind::kOptimisedAway, "optimised away", nullptr,
         "Nothing of the design is left, since no output depends on it",
         "Check that the outputs of the top module depend on the design, and leave out options "
         "that lose initial values, such as retime"},
        {Kind::kOptimisedAway, "has no outputs, so that nothing of it is left", nullptr,
         "The top module has no outputs, so that nothing of it is left",
         "Give the top module outputs, or choose another one"},
        {Kind::kToolMissing, "ABC: execution of command * failed: return code *", nullptr,
         "The logic mapper abc, a helper of yosys, can't be run",
         "Install package berkeley-abc, and check that there is space in the folder for temporary "
         "files"},
    };
}

std::vector<FailureRule> netlistRules() {
    return {
        {Kind::kMultipleDrivers, "Net '*' is multiply driven by *", nullptr,
         "The net {0} has more than one driver: {1}",
         "Drive {0} from one place: one assign or always block"},
        {Kind::kCombinationalLoop, "combinatorial loops", "remaining fanin includes * (net *)",
         "The logic of net {1} feeds itself without a register in between",
         "Put a register into the loop, or complete the always block that keeps its value; "
         "loops that are meant are left out with the option ignore_loops"},
        {Kind::kCombinationalLoop, "combinatorial loops", nullptr,
         "Logic feeds itself without a register in between",
         "Put a register into the loop; loops that are meant are left out with the option "
         "ignore_loops"},
        {Kind::kUnsupported, "cell type '*' is unsupported (instantiated as '*')", nullptr,
         "The netlist has {1}, a {0}, which the device doesn't have",
         "Add the source that defines {0}, or remove the synthesis options that leave such cells"},
        {Kind::kUnsupported, "unsupported cell type", nullptr,
         "The netlist has a cell that the device doesn't know",
         "Remove the synthesis options that leave such cells, or add the source that defines the "
         "module"},
    };
}

std::vector<FailureRule> constraintRules() {
    return {
        {Kind::kNoSuchPin, "package * has no pin '*'", nullptr, "Package {0} has no pin {1}",
         "Use a pin of that package in the constraints file"},
        {Kind::kNoSuchPin, "does not have a pin named '*'", nullptr, "The package has no pin {0}",
         "Use a pin of that package in the constraints file"},
        {Kind::kPinTwice, "pin '*' is given to '*' already in line *. Give '*'", nullptr,
         "Pin {0} is given to two ports: {1} in line {2}, and {3}", "Give {3} a pin of its own"},
        {Kind::kPortTwice, "port '*' has a pin already from line *. ", nullptr,
         "Port {0} is given two pins, the first in line {1}", "Remove one of the two lines"},
        {Kind::kNoTopPort, "the top module has no port '*'. Its ports are *.", nullptr,
         "The constraints name a port {0}, which the top module doesn't have",
         "Correct the port's name; the ports are {1}"},
        {Kind::kNoTopPort, "'*' is a port of * bits. Give each bit its pin: *.", nullptr,
         "The constraints give a pin to {0}, which is a port of {1} bits",
         "Give each bit its pin: {2}"},
        {Kind::kPortWithoutPin, ": ? of ? port bits have no pin: *. Add", nullptr,
         "{0} of {1} port bits have no pin: {2}",
         "Add a 'set_io' line for each to the constraints file, or allow unconstrained ports"},
        {Kind::kPortWithoutPin, "IO '*' is unconstrained in PCF", nullptr, "Port {0} has no pin",
         "Add a 'set_io' line for that port to the constraints file"},
        {Kind::kConstraintSyntax, "unknown command '*'. Use 'set_io", nullptr,
         "The constraints file has a command that it can't have: {0}",
         "Write 'set_io port pin' or 'set_frequency net MHz'"},
        {Kind::kConstraintSyntax, "unknown option '*' of set_io", nullptr,
         "set_io has no option {0}", "Use -nowarn, -pullup or -pullup_resistor"},
        {Kind::kConstraintSyntax, "option '*' needs one of *. Correct", nullptr,
         "The option {0} of set_io has a value that it can't have", "Write one of {1}"},
        {Kind::kConstraintSyntax, "set_io needs a port and a pin", nullptr,
         "A set_io lacks its port or its pin, or has too much", "Write 'set_io port pin'"},
        {Kind::kConstraintSyntax, "set_frequency needs a net", nullptr,
         "A set_frequency lacks its net, or has no frequency above 0",
         "Write 'set_frequency net MHz'"},
        {Kind::kConstraintSyntax, "(on line ", nullptr,
         "The constraints can't be understood at that line", kCorrectConstraint},
        {Kind::kDevice, "device '*' is not known. Choose one of *.", nullptr,
         "There is no device {0}", "Choose one of {1}"},
        {Kind::kDevice, "device * has no package '*'. Choose one of *.", nullptr,
         "Device {0} has no package {1}", "Choose one of {2}"},
    };
}

std::vector<FailureRule> fitRules() {
    return {
        {Kind::kLogicFull, "no BELs remaining to implement cell type 'ICESTORM_LC'",
         "ICESTORM_LC: ?/ ?",
         "The design doesn't fit: it needs {0} logic cells, the device has {1}", kLarger},
        {Kind::kRamFull, "no BELs remaining to implement cell type 'ICESTORM_RAM'",
         "ICESTORM_RAM: ?/ ?",
         "The design doesn't fit: it needs {0} block RAMs, the device has {1}",
         "Choose a larger device, make memories smaller, or build them of logic with the synthesis "
         "option nobram"},
        {Kind::kRamFull, "Assertion failure: has_clktoq", "Command: nextpnr-ice40 --lp384 ",
         "The design doesn't fit: it uses block RAM, and an lp384 has none",
         "Choose a device with block RAM, or build memories of logic with the synthesis option "
         "nobram"},
        {Kind::kGlobalsFull, "no BELs remaining to implement cell type 'SB_GB'", "SB_GB: ?/ ?",
         "The design doesn't fit: it needs {0} global nets, the device has {1}",
         "Use fewer clocks, resets and enables that reach many cells, or SB_GB only where it has "
         "to "
         "be"},
        {Kind::kDspFull, "place cell '*', no BELs remaining to implement cell type 'ICESTORM_DSP'",
         "ICESTORM_DSP: ?/ ?",
         "The design doesn't fit: it needs {1} multipliers (SB_MAC16), the device has {2}",
         "Choose a larger UltraPlus device, such as up5k, or synthesise without the option dsp"},
        {Kind::kDspFull, "place cell '*', no BELs remaining to implement cell type 'ICESTORM_DSP'",
         nullptr, "The design uses a multiplier (SB_MAC16), and the device has none",
         "Choose an UltraPlus device, such as up5k, or synthesise without the option dsp"},
        {Kind::kSpramFull,
         "place cell '*', no BELs remaining to implement cell type 'ICESTORM_SPRAM'",
         "ICESTORM_SPRAM: ?/ ?",
         "The design doesn't fit: it needs {1} large RAMs (SPRAM), the device has {2}",
         "Choose a larger UltraPlus device, such as up5k, or synthesise without the option spram"},
        {Kind::kSpramFull,
         "place cell '*', no BELs remaining to implement cell type 'ICESTORM_SPRAM'", nullptr,
         "The design uses a large RAM (SPRAM), and the device has none",
         "Choose an UltraPlus device, such as up5k, or synthesise without the option spram"},
        {Kind::kFull, "Unable to place cell '*', no BELs remaining to implement cell type '*'",
         nullptr, "The design doesn't fit: the device has no place for {0}, a {1}", kLarger},
        {Kind::kIoFull, "Unable to find a placement location for cell '*$sb_io'", nullptr,
         "The design doesn't fit: it has more ports than the package has pins; there was none left "
         "for {0}",
         "Choose a package with more pins, or give the design fewer ports"},
        {Kind::kFull, "Unable to find a placement location for cell '*'", nullptr,
         "The design doesn't fit: the device has no place for {0}", kLarger},
        {Kind::kLogicFull, "Unable to find legal placement", nullptr,
         "The device is too full to be placed", kLarger},
        {Kind::kPllFull, "PLL '*' couldn't be placed anywhere", nullptr,
         "The device or its package has no PLL left for {0}",
         "Choose a device and a package with enough PLLs, and keep a PLL's input pin free"},
        {Kind::kPinUse, "PACKAGE_PIN of SB_IO '*' connected to more than a single top level IO",
         nullptr, "The pin cell {0} isn't connected to a port of the top module alone",
         "Connect PACKAGE_PIN of the SB_IO to one port of the top module, and to nothing else"},
        {Kind::kUnroutable, "Failed to route", nullptr, "The router found no way for all nets",
         "Try another seed or router, or a larger device"},
        {Kind::kUnroutable, "Routing design failed", nullptr,
         "The router found no way for all nets", "Try another seed or router, or a larger device"},
        {Kind::kGoalMissed, "clock '*' reaches * MHz of the * MHz asked for", nullptr,
         "Clock {0} reaches {1} MHz, and {2} MHz were required",
         "Try another seed or strategy, or ask for less"},
    };
}

std::vector<FailureRule> fileRules() {
    return {
        {Kind::kInputFile, "source '*' can't be read: *. Correct", nullptr,
         "The source {0} can't be read: {1}", "Correct the list of sources"},
        {Kind::kInputFile, "constraints file '*' can't be read: *. Correct", nullptr,
         "The constraints file {0} can't be read: {1}", "Correct the file's name in the project"},
        {Kind::kInputFile, "netlist '*' can't be read: *. Run", nullptr,
         "The netlist {0} can't be read: {1}", "Run the synthesis first"},
        {Kind::kInputFile, "placement '*' can't be read: *. Run", nullptr,
         "The placement {0} can't be read: {1}", "Run the placement first"},
        {Kind::kInputFile, "routed design '*' can't be read: *. Run", nullptr,
         "The routed design {0} can't be read: {1}", "Run the routing first"},
        {Kind::kUnknownTop, "netlist '*' can't be used: it holds no module '*'", nullptr,
         "The netlist {0} has no module {1}",
         "Correct the name of the top module, or run the synthesis again"},
        {Kind::kDamaged, "netlist '*' can't be used: *. Run", nullptr,
         "The netlist {0} is damaged: {1}", "Run the synthesis again"},
        {Kind::kDamaged, "placement '*' can't be used: *. Run", nullptr,
         "The placement {0} is damaged: {1}", "Run the placement again"},
        {Kind::kDamaged, "'*' is not a routed design", nullptr, "{0} isn't a routed design",
         "Run the routing again"},
        {Kind::kDamaged, "Unknown statement: ", nullptr,
         "The routed design has lines that icepack doesn't know", "Run the routing again"},
        {Kind::kDamaged, "Unsupported chip type '*'", nullptr,
         "The routed design is for a device that icepack doesn't know: {0}",
         "Run the routing again"},
        {Kind::kChanged, "netlist '*' or its constraints changed since it was placed", nullptr,
         "The netlist {0} or the constraints changed between placement and routing",
         "Run the placement again"},
        {Kind::kDiskFull, "No space left on device", nullptr, "The disk is full", kFreeSpace},
        {Kind::kDiskFull, "Disk quota exceeded", nullptr, "Your share of the disk is used up",
         kFreeSpace},
        {Kind::kDiskFull, "could not be brought to disk", nullptr,
         "What the step wrote couldn't be brought to disk", kFreeSpace},
        {Kind::kUnwritable, "'*' can't be written: *. Make", nullptr, "{0} can't be written: {1}",
         "Make the folder writable"},
        {Kind::kUnwritable, "'*' can't be written: *. ", nullptr, "{0} can't be written: {1}",
         "Look after the folder and its disk"},
        {Kind::kInputFile, "Can't open", nullptr, "A file can't be opened",
         "Check that the file is there and that you may read it"},
    };
}

std::vector<FailureRule> toolRules() {
    return {
        {Kind::kToolMissing, ": ? not found in PATH. Install package ?", nullptr,
         "The program {0} isn't installed, or isn't in the run's search path",
         "Install package {1}, or add the program's folder to PATH"},
        {Kind::kToolMissing, "the pins of * can't be read from '*'", nullptr,
         "The chip database of {0} isn't in {1}", "Install package fpga-icestorm-chipdb"},
        {Kind::kToolMissing, "the program, or one that it needs, was not found", nullptr,
         "The program of the step, or one that it needs, isn't installed",
         "Check that the step's program is in the run's search path"},
        {Kind::kToolVersion, "told no checksum of its placement", nullptr,
         "The nextpnr-ice40 is too old: it tells no checksum of its placement",
         "Install nextpnr-ice40 0.4 or newer"},
        {Kind::kToolVersion, "unrecognised option '*'", nullptr,
         "The tool doesn't know the option {0}: it is too old, or another version than ours",
         kOtherVersion},
        {Kind::kToolVersion, "Unknown option or option in arguments", nullptr,
         "The tool doesn't know an option that the step uses: it is too old, or another version "
         "than ours",
         kOtherVersion},
        {Kind::kToolVersion, "No such command: ?", nullptr,
         "The tool doesn't know the command {0}: it is too old, or another version than ours",
         kOtherVersion},
        {Kind::kOption, ": * and * exclude each other", nullptr,
         "The options {0} and {1} exclude each other", "Choose one of the two options"},
        {Kind::kOption, ": --*: * not in {*}", nullptr, "The option {0} can't have the value {1}",
         "Choose one of {2}"},
        {Kind::kOption, ": --*: Value * not in range *. Call", nullptr,
         "The option {0} can't have the value {1}", "Choose a value from {2}"},
        {Kind::kOption, ": *. Call it with --help for its options", nullptr,
         "The step's program refuses its options: {0}",
         "Correct the options of the run or of its strategy"},
        {Kind::kOption, "not a valid", nullptr, "An option has a value that the tool can't take",
         "Correct the option's value"},
        {Kind::kOption, "-abc9", nullptr, "The tool refuses options that exclude each other",
         "Choose one of the two options"},
        {Kind::kOutOfMemory, "killed by signal", "std::bad_alloc", "The memory ran out",
         kFreeMemory},
        {Kind::kOutOfMemory, "std::bad_alloc", nullptr, "The memory ran out", kFreeMemory},
        {Kind::kKilled, "killed by signal 9", nullptr,
         "The tool was killed: somebody stopped it, or the memory ran out", kFreeMemory},
        {Kind::kCrashed, ": ? was killed by signal ?", nullptr, "{0} crashed (signal {1})", kOther},
        {Kind::kCrashed, "? was killed by signal ?", nullptr, "{0} crashed (signal {1})", kOther},
        {Kind::kStopped, "stopped by signal ?", nullptr, "The step was stopped (signal {0})",
         "Launch the run again when it may go on"},
        {Kind::kStopped, "a stop was requested", nullptr, "The step was stopped on request",
         "Launch the run again when it may go on"},
        {Kind::kLost, "its run was launched anew", nullptr,
         "The step ended because its run was launched anew", "Look at the newer launch"},
        {Kind::kLost, "its run directory is gone", nullptr, "The run's directory went away",
         "Launch the run again"},
        {Kind::kKilled, "its wrapper was killed", nullptr,
         "The step's wrapper was killed, and the step with it", "Launch the run again"},
        {Kind::kKilled, "its wrapper got signal ?", nullptr, "The run was told to end (signal {0})",
         "Launch the run again"},
        {Kind::kCrashed, "killed by signal ?", nullptr, "The step's program crashed (signal {0})",
         kOther},
    };
}

}  // namespace

const std::vector<FailureRule>& failureRules() {
    static const std::vector<FailureRule> kRules = [] {
        std::vector<FailureRule> all;
        for (const auto& part : {sourceRules(), netlistRules(), constraintRules(), fitRules(),
                                 fileRules(), toolRules()})
            all.insert(all.end(), part.begin(), part.end());
        return all;
    }();
    return kRules;
}

const std::vector<FailureKindName>& failureKindNames() {
    static const std::vector<FailureKindName> kNames{
        {Kind::kUnknown, "unknown"},
        {Kind::kSyntax, "syntax"},
        {Kind::kConstraintSyntax, "constraints syntax"},
        {Kind::kUnknownModule, "unknown module"},
        {Kind::kUnknownTop, "unknown top"},
        {Kind::kNoSuchPort, "no such port"},
        {Kind::kUndeclared, "undeclared"},
        {Kind::kDefinedTwice, "defined twice"},
        {Kind::kUndriven, "undriven"},
        {Kind::kMultipleDrivers, "multiple drivers"},
        {Kind::kCombinationalLoop, "combinational loop"},
        {Kind::kUnsupported, "unsupported"},
        {Kind::kOptimisedAway, "optimised away"},
        {Kind::kInclude, "include file"},
        {Kind::kMemoryFile, "memory file"},
        {Kind::kInputFile, "input file"},
        {Kind::kDamaged, "damaged file"},
        {Kind::kChanged, "changed input"},
        {Kind::kNoSuchPin, "no such pin"},
        {Kind::kPinTwice, "pin used twice"},
        {Kind::kPortTwice, "port constrained twice"},
        {Kind::kPortWithoutPin, "port without pin"},
        {Kind::kNoTopPort, "no such top port"},
        {Kind::kDevice, "no such device"},
        {Kind::kLogicFull, "logic doesn't fit"},
        {Kind::kRamFull, "block RAM doesn't fit"},
        {Kind::kIoFull, "ports don't fit"},
        {Kind::kGlobalsFull, "global nets don't fit"},
        {Kind::kDspFull, "multipliers don't fit"},
        {Kind::kSpramFull, "large RAM doesn't fit"},
        {Kind::kPllFull, "PLL doesn't fit"},
        {Kind::kFull, "doesn't fit"},
        {Kind::kPinUse, "pin cell"},
        {Kind::kUnroutable, "unroutable"},
        {Kind::kGoalMissed, "goal missed"},
        {Kind::kUnknownClock, "unknown clock"},
        {Kind::kOption, "option refused"},
        {Kind::kToolMissing, "tool missing"},
        {Kind::kToolVersion, "tool version"},
        {Kind::kKilled, "killed"},
        {Kind::kOutOfMemory, "out of memory"},
        {Kind::kCrashed, "crashed"},
        {Kind::kDiskFull, "disk full"},
        {Kind::kUnwritable, "unwritable"},
        {Kind::kStopped, "stopped"},
        {Kind::kLost, "lost"},
    };
    return kNames;
}

}  // namespace workbench
