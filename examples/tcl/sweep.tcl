# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Sweeps two strategies over some seeds, and prints the best run and why it won.
#
#     xp tcl sweep.tcl DIR ?SEEDS?
#     TCLLIBPATH=/usr/local/lib/tcltk tclsh8.6 sweep.tcl DIR ?SEEDS?
#
# DIR is a folder for the project, made over the design "uart_echo" when there is none yet; SEEDS
# are numbers and ranges, such as 1-6.

package require Tcl 8.6
package require xperiment
namespace import -force xperiment::*

proc openProject {dir} {
    if {[file exists $dir]} {
        project open $dir
        return
    }
    set design [file join [file dirname [file normalize [info script]]] .. uart_echo]
    project new $dir -top uart_echo -sources [list [file join $design uart_echo.v]] \
        -constraints [file join $design uart_echo.pcf]
    run create synth_1 -flow synth
}

proc printBest {best} {
    puts "Best: [join [dict get $best best] {, }]"
    foreach step [dict get $best why] {
        foreach side {left dropped} {
            foreach one [dict get $step $side] {
                puts [format "  %-28s %-8s %s %s" [dict get $step rule] $side \
                    [dict get $one run] [dict get $one value]]
            }
        }
    }
}

lassign $argv dir seeds
if {$dir eq ""} {
    puts stderr "usage: sweep.tcl DIR ?SEEDS?"
    exit 2
}
if {$seeds eq ""} {
    set seeds 1-3
}

openProject $dir
if {[llength [run list -family night]] == 0} {
    run sweep night -strategies {Default Performance} -seeds $seeds
}
run on done {apply {{run} {puts "$run: [run get $run fmax_mhz] MHz"}}}
run on failed {apply {{run why} {puts stderr "$run: $why"}}}
run launch night
run wait
printBest [run best night -by {fmax max 1%} -then {{luts min}}]
