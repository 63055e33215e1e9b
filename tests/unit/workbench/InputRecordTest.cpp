// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/inputRecord.h"

#include <gtest/gtest.h>

#include "workbench/DesignInputs.h"

namespace {

using workbench::InputRecord;

DesignInputs someInputs() {
    DesignInputs inputs;
    inputs.sources = {"/d/a.v", "/d/b.v"};
    inputs.top = "top";
    inputs.constraints = "/d/pins.pcf";
    inputs.netlist = "/p/runs/synth_1/top.json";
    inputs.netlistLaunch = 77;
    return inputs;
}

TEST(InputRecordTest, HoldsForSynthesisWhatSynthesisReads) {
    DesignInputs inputs = someInputs();
    inputs.defines = {"N=3"};
    inputs.includeDirs = {"/d/inc"};
    EXPECT_EQ(workbench::recordInputs(inputs, true), (InputRecord{{"top", {"top"}},
                                                                  {"device", {"hx8k"}},
                                                                  {"sources", {"/d/a.v", "/d/b.v"}},
                                                                  {"defines", {"N=3"}},
                                                                  {"includes", {"/d/inc"}}}));
}

TEST(InputRecordTest, HoldsForImplementationWhatImplementationReads) {
    EXPECT_EQ(workbench::recordInputs(someInputs(), false),
              (InputRecord{{"top", {"top"}},
                           {"device", {"hx8k"}},
                           {"package", {"ct256"}},
                           {"frequency", {"12"}},
                           {"constraints", {"/d/pins.pcf"}},
                           {"netlist", {"/p/runs/synth_1/top.json"}},
                           {"synthesis launch", {"77"}}}));
}

TEST(InputRecordTest, LeavesOutWhatIsEmpty) {
    EXPECT_EQ(workbench::recordInputs(DesignInputs(), true), (InputRecord{{"device", {"hx8k"}}}));
}

TEST(InputRecordTest, TellsAnEntryInWords) {
    const InputRecord record = workbench::recordInputs(someInputs(), true);
    EXPECT_EQ(workbench::recordText(record, "sources"), "/d/a.v /d/b.v");
    EXPECT_EQ(workbench::recordText(record, "defines"), "none");
}

TEST(InputRecordTest, KnowsWhichEntriesArePaths) {
    for (const char* name : {"sources", "includes", "constraints", "netlist"})
        EXPECT_TRUE(workbench::isPathInput(name)) << name;
    for (const char* name : {"top", "device", "defines", "frequency", "synthesis launch"})
        EXPECT_FALSE(workbench::isPathInput(name)) << name;
}

}  // namespace
