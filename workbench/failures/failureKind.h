// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

namespace workbench {

/// What went wrong, for those who sort failures. failureKindText() has the words.
enum class FailureKind {
    kUnknown,  ///< the table doesn't know the tool's words
    kSyntax,
    kConstraintSyntax,
    kUnknownModule,
    kUnknownTop,
    kNoSuchPort,  ///< an instance connects a port that its module lacks
    kUndeclared,
    kDefinedTwice,
    kUndriven,
    kMultipleDrivers,
    kCombinationalLoop,
    kUnsupported,  ///< Verilog that no hardware can be made of
    kOptimisedAway,
    kInclude,
    kMemoryFile,
    kInputFile,  ///< a source, netlist or constraints file can't be read
    kDamaged,    ///< a file of an earlier step can't be used
    kChanged,    ///< an input changed between two steps
    kNoSuchPin,
    kPinTwice,
    kPortTwice,
    kPortWithoutPin,
    kNoTopPort,  ///< constraints name a port that the design lacks
    kDevice,     ///< no such device or package
    kLogicFull,
    kRamFull,
    kIoFull,
    kGlobalsFull,
    kDspFull,
    kSpramFull,
    kPllFull,
    kFull,  ///< another resource of the device
    kPinUse,
    kUnroutable,
    kGoalMissed,
    kUnknownClock,  ///< a clock goal is for a net that the design lacks
    kOption,
    kToolMissing,
    kToolVersion,  ///< too old, or too new for what the step asks of it
    kKilled,
    kOutOfMemory,
    kCrashed,
    kDiskFull,
    kUnwritable,
    kStopped,
    kLost
};

}  // namespace workbench
