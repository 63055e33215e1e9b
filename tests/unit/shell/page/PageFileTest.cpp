// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/pageFile.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/thrownText.h"

namespace {

const char kOpen[] = R"(<script type="application/json" id="xp-data">)";
const std::string kFrame = std::string("<p>") + kOpen + "{}</script><script>1</script>";

/// What stands in the page's place for data.
std::string dataIn(const std::string& page) {
    const std::size_t start = page.find(kOpen) + sizeof kOpen - 1;
    return page.substr(start, page.find("</script>", start) - start);
}

TEST(PageFileTest, PutsTheDataInItsPlaceAndKeepsTheRest) {
    EXPECT_EQ(shell::pageWith(kFrame, R"({"a":1})"),
              std::string("<p>") + kOpen + R"({"a":1}</script><script>1</script>)");
}

TEST(PageFileTest, NothingInTheDataEndsItsElement) {
    const nlohmann::json data{{"</script>", "</SCRIPT ><!--<script>"}, {"u", "\u2028\u2029\u2027"}};
    const std::string page = shell::pageWith(kFrame, data.dump());
    EXPECT_EQ(dataIn(page).find('<'), std::string::npos);
    EXPECT_EQ(dataIn(page).find("\u2028"), std::string::npos);
    EXPECT_EQ(dataIn(page).find("\u2029"), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(dataIn(page)), data);
}

TEST(PageFileTest, ATextThatLooksLikeThePlaceIsNone) {
    const nlohmann::json data{{"a", std::string(kOpen) + "{}</script>"}};
    const std::string page = shell::pageWith(kFrame, data.dump());
    EXPECT_EQ(nlohmann::json::parse(dataIn(page)), data);
    EXPECT_EQ(page.find(kOpen), page.rfind(kOpen));
}

TEST(PageFileTest, RefusesAFrameWithoutAPlace) {
    EXPECT_THROW(shell::pageWith("<p></p>", "{}"), shell::CommandError);
}

TEST(PageFileTest, TheFrameIsOfTheInstallation) {
    const test::TestInstallation installation;
    EXPECT_THROW(shell::pageTemplate(), shell::CommandError);
    installation.addFile("html/page.html", "a frame");
    EXPECT_EQ(shell::pageTemplate(), "a frame");
}

}  // namespace
