# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Words for what tests do. Each test has a folder of its own.

namespace import -force ::xperiment::*
namespace import -force ::tcltest::test

set ::blinky [file normalize [file join $::tests .. .. examples blinky]]

proc haveTools {} {
    foreach tool {yosys nextpnr-ice40 icepack icetime} {
        if {[auto_execok $tool] eq ""} {
            return 0
        }
    }
    return 1
}
::tcltest::testConstraint tools [haveTools]

# A folder that isn't there yet.
proc newPlace {} {
    file join [pwd] place[incr ::places]
}

# A project over blinky, open and current.
proc newProject {} {
    project new [newPlace] -top blinky -sources [list [file join $::blinky blinky.v]] \
        -constraints [file join $::blinky blinky.pcf]
}

# The same with a synthesis and an implementation.
proc newRuns {} {
    newProject
    run create synth_1 -flow synth
    run create impl_1 -flow impl
    return
}

proc closeAll {} {
    foreach event {done failed step abandoned} {
        run on $event {}
    }
    foreach dir [project list] {
        catch {run kill {*}[run list -status running]}
        project close $dir
    }
}

# The errorcode of a script that fails, and its message when `pattern` isn't the message's.
proc failure {script {pattern *}} {
    if {![catch {uplevel 1 $script} result options]} {
        return "no error: $result"
    }
    if {![string match $pattern $result]} {
        return "message: $result"
    }
    noteCode [dict get $options -errorcode]
    return [dict get $options -errorcode]
}

# Every code that a test sees must stand in the table.
proc noteCode {code} {
    foreach row [::xperiment::errorcodes] {
        set words [lindex $row 0]
        if {[lrange $code 0 [expr {[llength $words] - 1}]] eq $words} {
            return
        }
    }
    error "the code {$code} isn't in the table of errors"
}
