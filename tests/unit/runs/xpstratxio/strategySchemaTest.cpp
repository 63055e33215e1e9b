// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include "tests/unit/runs/xpstratxio/strategyFixture.h"

namespace {

void ignore(void*, const char*, ...) {}

/// Checks files against the installed schema.
class StrategySchemaTest : public test::StrategyFileTest {
protected:
    bool isValid() const {
        const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> reader(
            xmlSchemaNewParserCtxt(XPERIMENT_SCHEMAS "/strategy.xsd"), xmlSchemaFreeParserCtxt);
        const std::unique_ptr<xmlSchema, decltype(&xmlSchemaFree)> schema(
            xmlSchemaParse(reader.get()), xmlSchemaFree);
        const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> check(
            xmlSchemaNewValidCtxt(schema.get()), xmlSchemaFreeValidCtxt);
        const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
            xmlReadFile(path().c_str(), nullptr, XML_PARSE_NONET), xmlFreeDoc);
        if (schema == nullptr || document == nullptr)
            throw std::logic_error("schema or file can't be read");
        xmlSchemaSetValidErrors(check.get(), ignore, ignore, nullptr);
        return xmlSchemaValidateDoc(check.get(), document.get()) == 0;
    }

    bool isValid(const std::string& content) const {
        m_dir.mark("kept.psg", content);
        return isValid();
    }
};

TEST_F(StrategySchemaTest, AcceptsWhatIsWritten) {
    HAXPStrategy strategy(m_flow);
    strategy.setName("Quick");
    save(strategy);
    EXPECT_TRUE(isValid());
    strategy.setDescription("Little effort");
    test::setInt(strategy.getOptions("synth"), "CountInt", 7);
    HATOptGroup* const options = strategy.getOptions("place");
    HSTSList<std::string> words;
    words.push_back("a b");
    words.push_back("c");
    options->setStrListVal(options->getAttrSpecForDbId("WordsList"), words, true);
    save(strategy);
    EXPECT_TRUE(isValid());
}

TEST_F(StrategySchemaTest, RefusesWhatNoReaderTakes) {
    EXPECT_TRUE(isValid(fileWith("")));
    EXPECT_FALSE(isValid(fileOf("")));
    EXPECT_FALSE(isValid(fileOf("<StratHandle Name=\"Quick\" Flow=\"\"/>")));
    EXPECT_FALSE(isValid(fileOf("<StratHandle Name=\"Quick\"/>")));
    EXPECT_FALSE(isValid(fileWith("<Step/>")));
    EXPECT_FALSE(isValid(fileWith("<Stop Id=\"synth\"/>")));
    EXPECT_FALSE(isValid("<Strategy Version=\"2\" Minor=\"2\"/>"));
    EXPECT_FALSE(isValid("<Strategy Version=\"1\" Minor=\"2\"><Tool Major=\"x\" Minor=\"2\"/>"
                         "<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/></Strategy>"));
}

}  // namespace
