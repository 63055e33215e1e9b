// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::kDone;
using test::kNotStarted;
using test::kRunning;
using test::RunFixture;
using test::StepTraits;

/// A launched run in which "shared" is virtual.
class CanAddReportTest : public RunFixture {
protected:
    CanAddReportTest() : RunFixture(steps()) { launch(); }

    bool can(const std::string& id) const { return m_run->canAddReport(step(id)); }
    void expectEndsOnceRun(const std::string& id) const {
        EXPECT_TRUE(can(id));
        m_run->setCode(id, kRunning);
        EXPECT_FALSE(can(id));
        m_run->setCode(id, kDone);
        EXPECT_FALSE(can(id));
        m_run->setCode(id, kNotStarted);
        EXPECT_TRUE(can(id));
    }

    static std::vector<StepTraits> steps() {
        StepTraits shared = StepTraits::of("shared");
        shared.isVirtual = true;
        return {StepTraits::of("place_design"),       shared,
                StepTraits::of("route_design"),       StepTraits::of("write_bitstream"),
                StepTraits::of("write_device_image"), StepTraits::of("program")};
    }
};

TEST_F(CanAddReportTest, IsFalseForNoStep) {
    EXPECT_FALSE(m_run->canAddReport(nullptr));
}

TEST_F(CanAddReportTest, IsTrueForAUsableStepWhateverRan) {
    m_run->setCode("place_design", kDone);
    m_run->setCode("route_design", kRunning);
    m_dir.mark(".route_design.begin.rst");
    EXPECT_TRUE(can("place_design"));
    EXPECT_TRUE(can("route_design"));
}

TEST_F(CanAddReportTest, EndsForTheBitstreamOnceItsStepRan) {
    expectEndsOnceRun("write_bitstream");
}

TEST_F(CanAddReportTest, EndsForTheDeviceImageOnceItsStepRan) {
    m_run->setStrategyCopyFlag_(true);
    const HAXPStrategy strategy(m_flow.get());
    m_run->applyStrategy(&strategy);
    expectEndsOnceRun("write_device_image");
}

TEST_F(CanAddReportTest, IsTrueForADisabledStepUntilALaterOneBegan) {
    m_run->setEnabled("place_design", false);
    EXPECT_TRUE(can("place_design"));
    m_dir.mark(".route_design.begin.rst");
    EXPECT_FALSE(can("place_design"));
}

TEST_F(CanAddReportTest, IsTrueForAVirtualStepUntilALaterOneBegan) {
    m_dir.mark(".place_design.begin.rst");
    EXPECT_TRUE(can("shared"));
    m_dir.mark(".write_bitstream.begin.rst");
    EXPECT_FALSE(can("shared"));
}

TEST_F(CanAddReportTest, LooksAtLaterStepsForADisabledBitstreamToo) {
    m_run->setCode("write_bitstream", kDone);
    m_run->setEnabled("write_bitstream", false);
    EXPECT_TRUE(can("write_bitstream"));
    m_dir.mark(".program.begin.rst");
    EXPECT_FALSE(can("write_bitstream"));
}

}  // namespace
