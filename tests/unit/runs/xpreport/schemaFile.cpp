// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xpreport/schemaFile.h"

#include <cstdarg>
#include <memory>

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

namespace test::reports {

namespace {

struct Free {
    void operator()(xmlSchemaParserCtxtPtr context) const { xmlSchemaFreeParserCtxt(context); }
    void operator()(xmlSchemaPtr schema) const { xmlSchemaFree(schema); }
    void operator()(xmlSchemaValidCtxtPtr context) const { xmlSchemaFreeValidCtxt(context); }
    void operator()(xmlDocPtr document) const { xmlFreeDoc(document); }
};
template <class T> using Owned = std::unique_ptr<T, Free>;

void beSilent(void*, const char*, ...) {}

}  // namespace

bool isValidBySchema(const std::string& name, const std::string& document) {
    const std::string path = std::string(REPORT_SCHEMAS) + "/" + name;
    const Owned<xmlSchemaParserCtxt> reader(xmlSchemaNewParserCtxt(path.c_str()));
    const Owned<xmlSchema> schema(xmlSchemaParse(reader.get()));
    const Owned<xmlDoc> tree(xmlReadMemory(document.data(), static_cast<int>(document.size()),
                                           "doc.xml", nullptr,
                                           XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (schema == nullptr || tree == nullptr) {
        ADD_FAILURE() << (schema == nullptr ? path : document) << " can't be read";
        return false;
    }
    const Owned<xmlSchemaValidCtxt> check(xmlSchemaNewValidCtxt(schema.get()));
    xmlSchemaSetValidErrors(check.get(), beSilent, beSilent, nullptr);
    return xmlSchemaValidateDoc(check.get(), tree.get()) == 0;
}

}  // namespace test::reports
