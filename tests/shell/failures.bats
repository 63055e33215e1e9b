#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# What xp says of each kind of failure: what happened, where, what to try, and at last the tool's
# own words. The cases and the texts are those of tests/golden/failures; UPDATE_GOLDEN=1 takes the
# texts anew.

load xp.bash
load failures.bash

setup_file() { need_tools; }
teardown() {
  end_runs
  ! mountpoint -q proj/runs || umount proj/runs
}

@test "Verilog with a syntax error" { fault syntax; }
@test "a source that ends too early" { fault unended; }
@test "SystemVerilog in a file that is read as Verilog" { fault systemverilog; }
@test "an instance of a module that nobody defines" { fault unknown_module; }
@test "an instance that connects a port that isn't there" { fault unknown_port; }
@test "a top module that isn't there" { fault unknown_top; }
@test "a net that isn't declared" { fault undeclared; }
@test "a macro that isn't defined" { fault undefined_macro; }
@test "a function that isn't defined" { fault undefined_function; }
@test "a module that is defined twice" { fault defined_twice; }
@test "a name that is declared twice" { fault declared_twice; }
@test "an included file that isn't there" { fault include_missing; }
@test "a memory file that isn't there" { fault memory_missing; }
@test "a memory file with a bad address" { fault memory_bad; }
@test "a block that waits for edges and levels" { fault event_list; }
@test "a loop without an end" { fault endless_loop; }
@test "a net without a driver" { fault undriven; }
@test "a design of which nothing is left" { fault optimised_away; }
@test "modules that hold each other crash the synthesis" { fault recursion; }
@test "options that exclude each other" { fault options_exclude; }
@test "tools that are missing" { fault tool_missing; }
@test "a synthesis that is too old" { fault tool_too_old; }
@test "a synthesis that runs out of memory" { fault out_of_memory; }
@test "a synthesis that is killed" { fault killed; }
@test "a disk that is full" { fault disk_full; }
@test "a pin that the package lacks" { fault no_such_pin; }
@test "a pin that is used twice" { fault pin_twice; }
@test "a port that is constrained twice" { fault port_twice; }
@test "a port without a pin" { fault port_without_pin; }
@test "constraints for a port that isn't there" { fault unknown_constraint_port; }
@test "a pin for a whole bus" { fault bus_without_index; }
@test "a command that constraints don't have" { fault unknown_command; }
@test "an option that set_io doesn't have" { fault unknown_io_option; }
@test "a clock goal that is no number" { fault bad_frequency; }
@test "a package that the device doesn't have" { fault unknown_package; }
@test "a netlist that is cut short" { fault netlist_damaged; }
@test "more logic than the device has" { fault logic_full; }
@test "memory on a device without any" { fault no_ram; }
@test "more block RAM than the device has" { fault ram_full; }
@test "more ports than the package has pins" { fault ports_full; }
@test "more global nets than the device has" { fault globals_full; }
@test "a multiplier on a device without any" { fault no_multiplier; }
@test "a large RAM on a device without any" { fault no_large_ram; }
@test "a PLL on a device without any" { fault no_pll; }
@test "a pin cell inside the design" { fault pin_cell_inside; }
@test "a net with two drivers" { fault multiple_drivers; }
@test "a combinational loop" { fault combinational_loop; }
@test "a placer that crashes" { fault placer_crashed; }
@test "a placer that is too old" { fault placer_too_old; }
@test "a goal that is required and missed" { fault goal_missed; }
@test "a packer that is missing in the run" { fault packer_missing; }
@test "a routed design that is damaged" { fault routed_damaged; }
