// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "environment/errors/HXMLException.h"
#include "environment/options/HATEnumRange.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/options/optionFixture.h"
#include "tests/unit/environment/xml/xmlFixture.h"

namespace {

using test::addOption;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Texts = HSTSList<std::string>;

/// Groups written as the steps of a file, and read into other ones.
class OptGroupFormatTest : public test::XmlTest {
protected:
    OptGroupFormatTest() {
        m_parser.onStart = [this](const std::string& name,
                                  const CSL::XML::CAttributeList& attributes) {
            if (name == "Step")
                m_parser.reOptGroup(attributes, &m_read);
        };
    }

    void save(bool writeAll = false, const HATOptGroup* attrs = nullptr) {
        HXMLWriterBase writer(path());
        writer.wrStartTag("Strategy");
        writer.wrOptGroup("Step", &m_group, writeAll, attrs);
        writer.wrEndTag("Strategy");
        writer.closeDoc();
    }

    /// The children of the root.
    std::string saved() const {
        const std::string text = content();
        const std::size_t begin = text.find("<Strategy>\n") + 11;
        return text.substr(begin, text.find("</Strategy>") - begin);
    }

    bool load() { return m_parser.parse(path(), true); }

    bool loadStep(const std::string& children) {
        write("<Strategy>\n<Step Id=\"place_design\">\n" + children + "</Step>\n</Strategy>\n");
        return load();
    }

    test::PlaceOptions m_options;
    HATOptGroup m_group{&m_options.spec};
    HATOptGroup m_read{&m_options.spec};
    test::EventLog m_parser;
};

// Writing --------------------------------------------------------------------

TEST_F(OptGroupFormatTest, WritesNoOptionAtItsDefault) {
    m_group.setIntVal(m_options.seed, 1, true);
    save();
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\"/>\n");
}

TEST_F(OptGroupFormatTest, WritesWhatDiffersFromTheDefault) {
    m_group.setBoolVal(m_options.fast, true, true);
    m_group.setIntVal(m_options.seed, -7, true);
    m_group.setLongVal(m_options.memory, 5000000000, true);
    m_group.setStrVal(m_options.top, "a \"b\"", true);
    m_group.setStrListVal(m_options.passes, Texts{"one", "two words"}, true);
    m_group.setEnumVal(m_options.mode, "Speed", true);
    m_group.setFileVal(m_options.hook, "/tmp/a b.tcl", true);
    save();
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\">\n"
                       "    <Option Id=\"fast\" Value=\"1\"/>\n"
                       "    <Option Id=\"seed\" Value=\"-7\"/>\n"
                       "    <Option Id=\"memory\" Value=\"5000000000\"/>\n"
                       "    <Option Id=\"top\" Value=\"a &quot;b&quot;\"/>\n"
                       "    <Option Id=\"passes\">\n"
                       "      <Item Value=\"one\"/>\n"
                       "      <Item Value=\"two words\"/>\n"
                       "    </Option>\n"
                       "    <Option Id=\"mode\" Value=\"1\"/>\n"
                       "    <Option Id=\"hook\" Value=\"/tmp/a b.tcl\"/>\n"
                       "  </Step>\n");
}

TEST_F(OptGroupFormatTest, WritesWhatIsAlwaysWritten) {
    m_options.seed->setAlwaysWrite(true);
    save();
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\">\n"
                       "    <Option Id=\"seed\" Value=\"1\"/>\n"
                       "  </Step>\n");
}

TEST_F(OptGroupFormatTest, ComparesWithThePlainDefault) {
    m_options.seed->setIntAltDefault(5);
    m_group.setIntVal(m_options.seed, 5, true);
    save();
    EXPECT_THAT(saved(), HasSubstr("<Option Id=\"seed\" Value=\"5\"/>"));
}

TEST_F(OptGroupFormatTest, WritesEveryOptionWhenAsked) {
    save(true);
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\">\n"
                       "    <Option Id=\"fast\" Value=\"0\"/>\n"
                       "    <Option Id=\"seed\" Value=\"1\"/>\n"
                       "    <Option Id=\"memory\" Value=\"0\"/>\n"
                       "    <Option Id=\"top\" Value=\"\"/>\n"
                       "    <Option Id=\"passes\"/>\n"
                       "    <Option Id=\"mode\" Value=\"\"/>\n"
                       "    <Option Id=\"hook\" Value=\"\"/>\n"
                       "  </Step>\n");
}

TEST_F(OptGroupFormatTest, WritesTheFirstOfADatabaseId) {
    addOption(m_options.spec, HATAttrTypes::kString, "seed")->setAlwaysWrite(true);
    save();
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\"/>\n");
}

TEST_F(OptGroupFormatTest, WritesAMissingGroupAsAnEmptyElement) {
    HXMLWriterBase writer(path());
    writer.addAttr("Name", "x");
    writer.wrOptGroup("Step", nullptr, true, nullptr);
    writer.closeDoc();
    EXPECT_THAT(content(), HasSubstr("<Step Name=\"x\"/>\n"));
}

TEST_F(OptGroupFormatTest, LeavesTheOldFileWhenAValueCannotBeWritten) {
    write("old");
    m_group.setStrVal(m_options.top, "\x1B[0m", true);
    EXPECT_EQ(thrownText<HXMLException>([&] { save(); }),
              path() + ": can't be written: the value of \"Value\" holds the character U+001B");
    EXPECT_EQ(content(), "old");
}

// Attributes -------------------------------------------------------------------

/// The group of a step's attributes.
class StepAttributesTest : public OptGroupFormatTest {
protected:
    StepAttributesTest() {
        m_attrSpec.setOptGrpId("attributes");
        m_kind->addEnumRange("id1", "Value One", "");
        m_kind->setEnumDefault("Value One");
    }

    HATOptGroupSpec m_attrSpec;
    HATAttrSpec* m_enabled = addOption(m_attrSpec, HATAttrTypes::kBool, "EnableStepBool");
    HATAttrSpec* m_hook = addOption(m_attrSpec, HATAttrTypes::kFile, "PreStepTclHook");
    HATAttrSpec* m_kind = addOption(m_attrSpec, HATAttrTypes::kEnum, "Kind");
    HATAttrSpec* m_reports = addOption(m_attrSpec, HATAttrTypes::kStringList, "REPORTS");
    HATOptGroup m_attrs{&m_attrSpec};
};

TEST_F(StepAttributesTest, StandOnTheElementByDatabaseId) {
    m_attrs.setBoolVal(m_enabled, true, true);
    m_attrs.setFileVal(m_hook, "pre.tcl", true);
    save(false, &m_attrs);
    EXPECT_EQ(saved(), "  <Step Id=\"place_design\" EnableStepBool=\"1\" "
                       "PreStepTclHook=\"pre.tcl\" Kind=\"id1\"/>\n");
}

TEST_F(StepAttributesTest, AreWrittenAtTheirDefaultsToo) {
    save(false, &m_attrs);
    EXPECT_EQ(
        saved(),
        "  <Step Id=\"place_design\" EnableStepBool=\"0\" PreStepTclHook=\"\" Kind=\"id1\"/>\n");
}

TEST_F(StepAttributesTest, HoldAListOnlyWhenItIsNotEmpty) {
    m_attrs.setStrListVal(m_reports, Texts{"report_a", "report_b"}, true);
    save(false, &m_attrs);
    EXPECT_THAT(saved(), HasSubstr(" REPORTS=\"report_a&#10;report_b\"/>"));
}

TEST_F(StepAttributesTest, AreHandedToTheHandler) {
    m_attrs.setFileVal(m_hook, "a \"b\"\n\xC3\xBC.tcl", true);
    save(false, &m_attrs);
    EXPECT_TRUE(load());
    EXPECT_EQ(m_parser.events.at(3), "<Step Id=place_design EnableStepBool=0 "
                                     "PreStepTclHook=a \"b\"\n\xC3\xBC.tcl Kind=id1>");
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(StepAttributesTest, GiveTheirIdWithoutAnOptionsGroup) {
    HXMLWriterBase writer(path());
    writer.wrOptGroup("Step", nullptr, false, &m_attrs);
    writer.closeDoc();
    EXPECT_THAT(content(), HasSubstr("<Step Id=\"attributes\" EnableStepBool=\"0\""));
}

TEST_F(StepAttributesTest, RefuseADatabaseIdThatIsNoName) {
    addOption(m_attrSpec, HATAttrTypes::kString, "two words");
    EXPECT_EQ(thrownText<HXMLException>([&] { save(false, &m_attrs); }),
              path() + ": can't be written: \"two words\" can't be the name of an attribute");
}

// Round trip -------------------------------------------------------------------

/// A text that a string, a file, a list and a database id must keep.
class OptionText : public OptGroupFormatTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(OptionText, ComesBack) {
    const std::string& text = GetParam();
    HATAttrSpec* const odd = addOption(m_options.spec, HATAttrTypes::kString, "odd " + text);
    m_group.setStrVal(m_options.top, text, true);
    m_group.setFileVal(m_options.hook, text, true);
    m_group.setStrListVal(m_options.passes, Texts{text, "", text + text}, true);
    m_group.setStrVal(odd, text, true);
    save();
    ASSERT_TRUE(load());
    EXPECT_EQ(m_read.getStrVal(m_options.top), text);
    EXPECT_EQ(m_read.getFileVal(m_options.hook), text);
    EXPECT_EQ(m_read.getStrListVal(m_options.passes), (Texts{text, "", text + text}));
    EXPECT_EQ(m_read.getStrVal(odd), text);
    EXPECT_FALSE(m_read != m_group);
    EXPECT_FALSE(m_parser.hasDropped());
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, OptionText,
                         ::testing::Values("plain", "two words", " blanks around ", "a \"b\" 'c'",
                                           "<Option Id=\"x\"/>", "]]>", "&amp;amp;", "one\ntwo",
                                           "one\r\ntwo\r", "\ttab\t", "\n",
                                           "Gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2 \xF0\x9F\x98\x80",
                                           "$PATH `x` \\ {} [] %s"));

TEST_F(OptGroupFormatTest, BringsBackEveryKind) {
    m_group.setBoolVal(m_options.fast, true, true);
    m_group.setIntVal(m_options.seed, std::numeric_limits<int>::min(), true);
    m_group.setLongVal(m_options.memory, std::numeric_limits<long>::max(), true);
    m_group.setEnumVal(m_options.mode, "Speed", true);
    save();
    ASSERT_TRUE(load());
    EXPECT_TRUE(m_read.getBoolVal(m_options.fast));
    EXPECT_EQ(m_read.getIntVal(m_options.seed), std::numeric_limits<int>::min());
    EXPECT_EQ(m_read.getLongVal(m_options.memory), std::numeric_limits<long>::max());
    EXPECT_EQ(m_read.getEnumVal(m_options.mode)->getVal(), "Speed");
}

TEST_F(OptGroupFormatTest, BringsBackTheKindsThatHoldPlainText) {
    for (const HATAttrTypes::AttrType type :
         {HATAttrTypes::kReal, HATAttrTypes::kColor, HATAttrTypes::kDate, HATAttrTypes::kIntList,
          HATAttrTypes::kRealList, HATAttrTypes::kDirectory}) {
        HATAttrSpec* const spec = addOption(m_options.spec, type, HATAttrTypes::getTypeName(type));
        HATOptGroup group(&m_options.spec);
        group.setStrVal(spec, "1.5", true);
        HXMLWriterBase writer(path());
        writer.wrOptGroup("Step", &group, false, nullptr);
        writer.closeDoc();
        ASSERT_TRUE(load());
        EXPECT_EQ(m_read.getStrVal(spec), "1.5") << spec->getName();
    }
}

TEST_F(OptGroupFormatTest, BringsBackEveryOptionOfAWholeGroup) {
    m_group.setStrVal(m_options.top, "cpu", true);
    save(true);
    m_read.setStrListVal(m_options.passes, Texts{"gone"}, true);
    m_read.setBoolVal(m_options.fast, true, true);
    ASSERT_TRUE(load());
    EXPECT_EQ(m_read.getStrVal(m_options.top), "cpu");
    EXPECT_TRUE(m_read.getStrListVal(m_options.passes).empty());
    EXPECT_FALSE(m_read.getBoolVal(m_options.fast));
}

TEST_F(OptGroupFormatTest, BringsBackAnEnumWithoutRanges) {
    HATAttrSpec* const open = addOption(m_options.spec, HATAttrTypes::kEnum, "open");
    m_group.setEnumVal(open, "anything", true);
    save();
    ASSERT_TRUE(load());
    EXPECT_EQ(m_read.getStrVal(open), "anything");
}

// Reading ----------------------------------------------------------------------

TEST_F(OptGroupFormatTest, KeepsTheValueOfAnOptionThatTheFileDoesNotHave) {
    m_read.setIntVal(m_options.seed, 9, true);
    EXPECT_TRUE(loadStep("<Option Id=\"top\" Value=\"cpu\"/>"));
    EXPECT_EQ(m_read.getIntVal(m_options.seed), 9);
    EXPECT_EQ(m_read.getStrVal(m_options.top), "cpu");
}

TEST_F(OptGroupFormatTest, PassesOverAnOptionThatTheGroupDoesNotKnow) {
    EXPECT_TRUE(loadStep("<Option Id=\"turbo\" Value=\"1\"/>\n<Option Value=\"1\"/>"));
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("environment WARNING 12-61(" + path() + ", 3, turbo, place_design)",
                            "environment WARNING 12-61(" + path() + ", 4, , place_design)"));
    EXPECT_TRUE(m_parser.hasDropped());
    EXPECT_FALSE(m_read != m_group);
}

/// An option and a value that it can't hold.
struct BadValueCase {
    const char* name;
    const char* option;
    const char* attributes;
    const char* shown;
};

std::ostream& operator<<(std::ostream& os, const BadValueCase& row) {
    return os << row.name;
}

class BadOptionValue : public OptGroupFormatTest,
                       public ::testing::WithParamInterface<BadValueCase> {};

TEST_P(BadOptionValue, IsPassedOver) {
    const BadValueCase& row = GetParam();
    EXPECT_TRUE(
        loadStep(std::string("<Option Id=\"") + row.option + "\" " + row.attributes + "/>"));
    EXPECT_THAT(m_messages.summaries(), ElementsAre("environment WARNING 12-62(" + path() +
                                                    ", 3, " + row.shown + ", " + row.option + ")"));
    EXPECT_TRUE(m_parser.hasDropped());
    EXPECT_FALSE(m_read != m_group);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadOptionValue,
    ::testing::Values(BadValueCase{"BoolText", "fast", "Value=\"yes\"", "yes"},
                      BadValueCase{"BoolEmpty", "fast", "Value=\"\"", ""},
                      BadValueCase{"IntText", "seed", "Value=\"seven\"", "seven"},
                      BadValueCase{"IntTail", "seed", "Value=\"7 \"", "7 "},
                      BadValueCase{"IntTooLarge", "seed", "Value=\"2147483648\"", "2147483648"},
                      BadValueCase{"LongText", "memory", "Value=\"1e9\"", "1e9"},
                      BadValueCase{"LongTooLarge", "memory", "Value=\"9223372036854775808\"",
                                   "9223372036854775808"},
                      BadValueCase{"EnumValueForId", "mode", "Value=\"Speed\"", "Speed"},
                      BadValueCase{"NoValue", "top", "", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(OptGroupFormatTest, TakesTheWordsTrueAndFalse) {
    EXPECT_TRUE(loadStep("<Option Id=\"fast\" Value=\"true\"/>"));
    EXPECT_TRUE(m_read.getBoolVal(m_options.fast));
    EXPECT_TRUE(loadStep("<Option Id=\"fast\" Value=\"false\"/>"));
    EXPECT_FALSE(m_read.getBoolVal(m_options.fast));
}

TEST_F(OptGroupFormatTest, PassesOverOtherElements) {
    EXPECT_TRUE(loadStep("<Note><Option Id=\"fast\" Value=\"1\"/></Note><Item Value=\"x\"/>"
                         "<Option Id=\"seed\" Value=\"3\"><Item Value=\"4\"/></Option>"));
    EXPECT_FALSE(m_read.getBoolVal(m_options.fast));
    EXPECT_EQ(m_read.getIntVal(m_options.seed), 3);
    EXPECT_TRUE(m_parser.hasDropped());
}

TEST_F(OptGroupFormatTest, GathersTheItemsOfOneListAtATime) {
    HATAttrSpec* const more = addOption(m_options.spec, HATAttrTypes::kStringList, "more");
    EXPECT_TRUE(loadStep("<Option Id=\"passes\"><Item Value=\"a\"/><Item/></Option>"
                         "<Note><Item Value=\"b\"/></Note>"
                         "<Option Id=\"more\"><Item Value=\"c\"/></Option>"));
    EXPECT_EQ(m_read.getStrListVal(m_options.passes), (Texts{"a", ""}));
    EXPECT_EQ(m_read.getStrListVal(more), (Texts{"c"}));
}

TEST_F(OptGroupFormatTest, EndsTheGroupWithItsElement) {
    write("<Strategy><Step Id=\"place_design\"><Option Id=\"seed\" Value=\"3\"/></Step>"
          "<Other><Option Id=\"seed\" Value=\"4\"/></Other></Strategy>");
    EXPECT_TRUE(load());
    EXPECT_EQ(m_read.getIntVal(m_options.seed), 3);
    EXPECT_TRUE(m_parser.hasDropped());
}

TEST_F(OptGroupFormatTest, EndsTheGroupWhenAsked) {
    m_parser.onStart = [this](const std::string& name, const auto& attributes) {
        if (name == "Step")
            m_parser.reOptGroup(attributes, &m_read);
        if (name == "Note")
            m_parser.doneOptGroup();
    };
    EXPECT_TRUE(loadStep("<Option Id=\"passes\"><Item Value=\"a\"/></Option>"
                         "<Note/><Option Id=\"seed\" Value=\"4\"/>"));
    EXPECT_EQ(m_read.getStrListVal(m_options.passes), (Texts{"a"}));
    EXPECT_EQ(m_read.getIntVal(m_options.seed), 1);
    m_parser.doneOptGroup();
}

TEST_F(OptGroupFormatTest, PassesOverTheChildrenWithoutAGroup) {
    m_parser.onStart = [this](const std::string& name, const auto& attributes) {
        if (name == "Step")
            m_parser.reOptGroup(attributes, nullptr);
    };
    EXPECT_TRUE(loadStep("<Option Id=\"passes\"><Item Value=\"a\"/></Option>"
                         "<Option Id=\"turbo\" Value=\"4\"/>"));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
    EXPECT_TRUE(m_parser.hasDropped());
}

TEST_F(OptGroupFormatTest, TellsTheObserversOfTheGroup) {
    test::CountingObserver observer;
    m_read.attach(&observer);
    EXPECT_TRUE(loadStep("<Option Id=\"seed\" Value=\"3\"/><Option Id=\"fast\" Value=\"0\"/>"
                         "<Option Id=\"passes\"><Item Value=\"a\"/><Item Value=\"b\"/></Option>"));
    EXPECT_EQ(observer.calls(), 2);
}

TEST_F(OptGroupFormatTest, KeepsNoGroupBeyondADocumentThatFails) {
    EXPECT_FALSE(loadStep("<Option Id=\"passes\"><Item Value=\"a\"/>"));
    m_parser.onStart = nullptr;
    EXPECT_TRUE(loadStep("<Option Id=\"passes\"><Item Value=\"a\"/></Option>"));
    EXPECT_TRUE(m_read.getStrListVal(m_options.passes).empty());
}

TEST_F(OptGroupFormatTest, SurvivesAFileCutAnywhere) {
    m_group.setStrListVal(m_options.passes, Texts{"a", "b"}, true);
    m_group.setStrVal(m_options.top, "x", true);
    save();
    const std::string whole = content();
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
        write(whole.substr(0, length));
        EXPECT_FALSE(load()) << length;
    }
}

}  // namespace
