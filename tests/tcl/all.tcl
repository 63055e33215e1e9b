# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Runs all files of tests in this process. Ends with 1 when a test failed.

package require Tcl 8.6
# What a sanitizer is loaded by is for this process alone.
unset -nocomplain env(LD_PRELOAD)
# First: tcltest brings back the environment that it finds, and the package adds to PATH.
package require xperiment
package require tcltest 2.5

set ::tests [file dirname [file normalize [info script]]]
set ::failed 0

proc ::tcltest::cleanupTestsHook {} {
    if {$::tcltest::numTests(Failed) > 0} {
        set ::failed 1
    }
}

file mkdir tmp
::tcltest::configure -singleproc 1 -testdir $::tests -tmpdir [file join [pwd] tmp] -verbose {body error}
source [file join $::tests common.tcl]
::tcltest::runAllTests
exit $::failed
