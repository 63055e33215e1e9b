// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/failures/netlistPlaces.h"

#include <string>

#include <gtest/gtest.h>

using namespace workbench;

namespace {

const std::string kNetlist = R"({"modules":{"t":{
  "netnames":{"q":{"attributes":{"src":"t.v:3.9-3.10"}},"bare":{}},
  "cells":{"m":{"attributes":{"src":"t.v:7.3-8.20|u.v:1.1-1.2"}},"x_y":{"attributes":{"src":"t.v:9.1-9.2"}}}}}})";

std::string placeOf(const std::string& name, const std::string& netlist = kNetlist) {
    SourcePlace place{"none", 0};
    if (!findNetlistPlace(netlist, name, place)) {
        EXPECT_EQ(place.file, "none");
        return {};
    }
    return place.file + ":" + std::to_string(place.line);
}

TEST(NetlistPlacesTest, FindANet) {
    EXPECT_EQ(placeOf("q"), "t.v:3");
}

TEST(NetlistPlacesTest, FindACell) {
    EXPECT_EQ(placeOf("m"), "t.v:7");
}

TEST(NetlistPlacesTest, FindWhatPlaceAndRouteRenamed) {
    EXPECT_EQ(placeOf("m_DSP"), "t.v:7");
    EXPECT_EQ(placeOf("q$SB_IO_OUT"), "t.v:3");
    EXPECT_EQ(placeOf("x_y_LC"), "t.v:9");
}

TEST(NetlistPlacesTest, DontFindWhatIsntThere) {
    EXPECT_EQ(placeOf("z"), "");
    EXPECT_EQ(placeOf("bare"), "");
    EXPECT_EQ(placeOf(""), "");
}

TEST(NetlistPlacesTest, OfADamagedNetlistAreNone) {
    for (std::size_t length = 0; length < kNetlist.size(); ++length)
        EXPECT_EQ(placeOf("q", kNetlist.substr(0, length)), "");
    EXPECT_EQ(placeOf("q", "[]"), "");
    EXPECT_EQ(placeOf("q", R"({"modules":{"t":{"netnames":[1,2],"cells":"x"},"u":7}})"), "");
}

}  // namespace
