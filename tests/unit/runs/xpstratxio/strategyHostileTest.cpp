// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstddef>
#include <ostream>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "tests/unit/runs/xpstratxio/strategyFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string times(std::size_t count, const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

class HostileStrategyTest : public test::StrategyFileTest {};

TEST_F(HostileStrategyTest, FileCutAfterAnyByteGivesNoStrategyAndOneMessage) {
    HAXPStrategy strategy(m_flow);
    strategy.setName("Quick");
    strategy.setDescription("one & two");
    test::setInt(strategy.getOptions("synth"), "CountInt", 7);
    save(strategy);
    const std::string whole = content();
    const std::size_t end = whole.rfind('>');
    for (std::size_t size = 0; size <= end; ++size) {
        m_messages.clear();
        EXPECT_FALSE(read(whole.substr(0, size))) << size;
        EXPECT_THAT(m_messages.ids(), ElementsAre("1-126")) << size;
        // The strategy is finished at its end tag, be that cut behind its name.
        EXPECT_EQ(m_parser->strategyCount(), 0) << size;
    }
    EXPECT_TRUE(read(whole.substr(0, end + 1)));
}

TEST_F(HostileStrategyTest, FileWithABadCharacterAnywhereIsRefused) {
    const std::string whole = fileWith("<Step Id=\"synth\" EnableStepBool=\"0\"/>");
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string broken = whole;
        broken[at] = '\x01';
        EXPECT_FALSE(read(broken)) << at;
        EXPECT_EQ(m_parser->strategyCount(), 0) << at;
    }
}

/// A file that no reader should choke on, and what its one message says.
struct HostileCase {
    const char* name;
    std::string content;
    const char* reason;
};

std::ostream& operator<<(std::ostream& os, const HostileCase& row) {
    return os << row.name;
}

class HostileStrategyTable : public HostileStrategyTest,
                             public ::testing::WithParamInterface<HostileCase> {};

TEST_P(HostileStrategyTable, IsRefusedWithOneMessage) {
    EXPECT_FALSE(read(GetParam().content));
    ASSERT_THAT(m_messages.ids(), ElementsAre("1-126"));
    EXPECT_THAT(m_messages.texts().at(0), HasSubstr(GetParam().reason));
    EXPECT_THAT(m_messages.texts().at(0), HasSubstr(path()));
    EXPECT_EQ(m_parser->strategyCount(), 0);
}

const char* const kHandle = "<Strategy Version=\"1\" Minor=\"2\">"
                            "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/>";

INSTANTIATE_TEST_SUITE_P(
    Files, HostileStrategyTable,
    ::testing::Values(
        HostileCase{"Empty", "", "empty"}, HostileCase{"NoXml", "Quick = 1\n", "line 1"},
        HostileCase{"EntityBomb",
                    "<!DOCTYPE a [<!ENTITY x \"xxxx\"><!ENTITY y \"&x;&x;&x;\">]>\n<Strategy/>",
                    "DOCTYPE"},
        HostileCase{"ExternalEntity",
                    "<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><Strategy>&x;"
                    "</Strategy>",
                    "DOCTYPE"},
        HostileCase{"DeepNesting", kHandle + times(10000, "<a>"), "nested deeper"},
        HostileCase{"DeepSteps", kHandle + times(10000, "<Step Id=\"synth\">"), "nested deeper"},
        HostileCase{"LongAttribute",
                    kHandle + ("<Step Id=\"synth\" PreStepTclHook=\"" + std::string(2000000, 'x') +
                               "\"/></Strategy>"),
                    "longer than"},
        HostileCase{"WrongEncoding", "<?xml version=\"1.0\" encoding=\"EBCDIC-US\"?>\n<Strategy/>",
                    "EBCDIC"},
        HostileCase{"NoUtf8", kHandle + std::string("<Step Id=\"\xFF\"/></Strategy>"), "UTF-8"},
        HostileCase{"TwoAttributesOfOneName",
                    "<Strategy Version=\"1\" Version=\"1\" Minor=\"2\"></Strategy>", "Version"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(HostileStrategyTest, FileInUtf16IsRead) {
    const std::string plain = fileWith("");
    std::string wide("\xFF\xFE", 2);
    for (const char c : plain)
        wide += std::string{c, '\0'};
    EXPECT_TRUE(read(wide));
    EXPECT_EQ(one().getName(), "Quick");
}

TEST_F(HostileStrategyTest, FileThatIsTooLargeIsRefused) {
    EXPECT_FALSE(read(fileWith("<!--" + std::string(17000000, 'x') + "-->")));
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(HostileStrategyTest, FileThatIsMissingIsRefused) {
    EXPECT_FALSE(read());
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(HostileStrategyTest, FolderOfTheNameIsRefused) {
    m_dir.folder("kept.psg");
    EXPECT_FALSE(read());
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(HostileStrategyTest, PipeOfTheNameIsRefusedAtOnce) {
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    EXPECT_FALSE(read());
    EXPECT_THAT(m_messages.ids(), ElementsAre("1-126"));
}

TEST_F(HostileStrategyTest, ElementsInEachOthersPlacesDoNoHarm) {
    const char* const parts[] = {"<Strategy>",
                                 "</Strategy>",
                                 "<StratHandle Name=\"Quick\" Flow=\"kept_flow\">",
                                 "</StratHandle>",
                                 "<Desc>",
                                 "</Desc>",
                                 "<Step Id=\"synth\">",
                                 "</Step>",
                                 "<Option Id=\"WordsList\">",
                                 "</Option>",
                                 "<Item Value=\"a\"/>"};
    constexpr std::size_t kKinds = 5;
    // Each kind of element inside of each, three deep, with an item inside.
    for (std::size_t i = 0; i < kKinds * kKinds * kKinds; ++i) {
        const std::size_t a = i % kKinds * 2;
        const std::size_t b = i / kKinds % kKinds * 2;
        const std::size_t c = i / kKinds / kKinds * 2;
        const std::string nested = std::string(parts[a]) + parts[b] + parts[c] + "text" +
                                   parts[10] + parts[c + 1] + parts[b + 1] + parts[a + 1];
        EXPECT_TRUE(read(fileOf(nested + nested))) << nested;
        for (const HAXPStrategy* strategy : test::drain(m_parser->createStrategyIter()))
            EXPECT_EQ(strategy->stepCount(), 2) << nested;
    }
}

TEST_F(HostileStrategyTest, NestedStrategyTakesThePlaceOfTheOuter) {
    const std::string handle = "<StratHandle Name=\"Inner\" Flow=\"kept_flow\"/>";
    EXPECT_TRUE(read(fileWith("<Strategy>" + handle + "</Strategy><Step Id=\"synth\"/>")));
    EXPECT_EQ(one().getName(), "Inner");
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

}  // namespace
