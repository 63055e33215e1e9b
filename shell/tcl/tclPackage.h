// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

struct Tcl_Interp;

namespace shell::tcl {

extern const char kPackageName[];
/// The name under which Tcl loads it.
extern const char kPrefix[];

/// Makes the commands in the namespace ::xperiment of `interp`, and provides the package. The
/// product must be installed. A second call makes them anew and keeps what is open.
/// @return TCL_OK, or TCL_ERROR with a message as the result: all interpreters with these
/// commands belong to one thread.
int providePackage(Tcl_Interp* interp);

/// Whether `createInterp`, the function of an interpreter's Tcl, is that of the Tcl that this
/// program is linked with.
bool isOwnTcl(const void* createInterp);

}  // namespace shell::tcl
