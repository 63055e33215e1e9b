// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// Has no test: headers are precompiled for a program, and this is one.
