// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/calendarTime.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr char kFormat[] = "%Y-%m-%d %H:%M:%S";
constexpr std::time_t kTime = 1795297706;

/// The clock on the wall is five hours behind that of the world, as long as it lives.
class FarZone {
public:
    FarZone() {
        if (const char* before = std::getenv("TZ"))
            m_before = before;
        set_("XST5");
    }
    ~FarZone() { set_(m_before); }

    FarZone(const FarZone&) = delete;
    FarZone& operator=(const FarZone&) = delete;

private:
    static void set_(const std::string& zone) {
        zone.empty() ? unsetenv("TZ") : setenv("TZ", zone.c_str(), 1);
        tzset();
    }

    std::string m_before;
};

TEST(CalendarTimeTest, TellsAMomentByTheClockOnTheWallAndByThatOfTheWorld) {
    const FarZone zone;
    EXPECT_EQ(workbench::utcTime(kTime, kFormat), "2026-11-21 21:48:26");
    EXPECT_EQ(workbench::localTime(kTime, kFormat), "2026-11-21 16:48:26");
    EXPECT_EQ(workbench::localTime(kTime, "%Y-%m-%d"), "2026-11-21");
    EXPECT_EQ(workbench::utcTime(0, "%Y-%m-%dT%H:%M:%SZ"), "1970-01-01T00:00:00Z");
}

TEST(CalendarTimeTest, IsEmptyForATimeThatNoCalendarHas) {
    EXPECT_EQ(workbench::utcTime(std::numeric_limits<std::time_t>::max(), kFormat), "");
    EXPECT_EQ(workbench::localTime(std::numeric_limits<std::time_t>::min(), kFormat), "");
}

}  // namespace
