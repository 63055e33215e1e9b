// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/routeStep.h"

int main(int argc, char** argv) {
    return ice40::routeMain(argc, argv);
}
