# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The prompt of `xp tcl`: with line editing where tclreadline can be loaded, plain otherwise.
# The event loop runs while it waits, so that launches go on and callbacks are called.

namespace eval ::xperiment::prompt {
    variable line ""
    variable isOver 0
}

# Reads commands until the input ends. `historyFile` keeps the lines typed; {} for none.
proc ::xperiment::prompt::start {historyFile} {
    if {[wantsEditing] && $historyFile ne "" && ![catch {package require tclreadline}]} {
        edit $historyFile
    } else {
        plain
    }
}

# Line editing writes escapes, so it is for terminals that know them.
proc ::xperiment::prompt::wantsEditing {} {
    global env tcl_interactive
    expr {$tcl_interactive && [info exists env(TERM)] && $env(TERM) ni {"" dumb}}
}

proc ::xperiment::prompt::edit {historyFile} {
    file mkdir [file dirname $historyFile]
    namespace eval ::tclreadline {
        proc prompt1 {} {return "xp% "}
    }
    package require tclreadline
    # Completers stand in a namespace of the same name as that of their commands.
    namespace eval ::tclreadline::xperiment {}
    foreach ensemble {project flow run strategy report launch} {
        proc ::tclreadline::xperiment::complete($ensemble) {text start end line pos mod} {
            set typed [string range $line 0 [expr {$end - 1}]]
            return [::tclreadline::TryFromList $text [::xperiment::complete $typed]]
        }
    }
    set ::tclreadline::autosave 1
    ::tclreadline::Loop $historyFile
}

proc ::xperiment::prompt::plain {} {
    variable isOver
    listen
    show
    vwait ::xperiment::prompt::isOver
}

proc ::xperiment::prompt::listen {} {
    fileevent stdin readable ::xperiment::prompt::readLine
}

# A prompt is for people.
proc ::xperiment::prompt::show {} {
    global tcl_interactive
    variable line
    if {$tcl_interactive} {
        puts -nonewline [expr {$line eq "" ? "xp% " : "> "}]
        flush stdout
    }
}

proc ::xperiment::prompt::readLine {} {
    variable line
    variable isOver
    if {[gets stdin text] < 0} {
        if {[eof stdin]} {
            fileevent stdin readable {}
            # What isn't finished is told by its own error.
            evaluate $line
            set isOver 1
        }
        return
    }
    append line $text \n
    if {[info complete $line]} {
        # A command may enter the event loop: the next line waits for it.
        fileevent stdin readable {}
        evaluate $line
        listen
    }
    show
}

proc ::xperiment::prompt::evaluate {command} {
    global tcl_interactive
    variable line
    set line ""
    if {[catch {uplevel #0 $command} result]} {
        puts stderr $result
    } elseif {$tcl_interactive && $result ne ""} {
        puts $result
    }
}
