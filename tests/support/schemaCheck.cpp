// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// schema_check FILE SCHEMA [lines]
// Whether the JSON in FILE, "-" for standard input, keeps the schema (draft 7). With "lines"
// each line of it is a document of its own. Tells what breaks it; ends with 1 then, and with 2
// when one of them can't be read.
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace {

using Json = nlohmann::json;
using Adapter = valijson::adapters::NlohmannJsonAdapter;

std::string readAll(std::istream& in) {
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string readFile(const std::string& path) {
    if (path == "-")
        return readAll(std::cin);
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + " can't be read");
    return readAll(file);
}

Json parse(const std::string& text, const std::string& path) {
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded())
        throw std::runtime_error(path + " is no JSON");
    return json;
}

bool keeps(const Json& document, const valijson::Schema& schema) {
    valijson::Validator validator;
    valijson::ValidationResults results;
    if (validator.validate(schema, Adapter(document), &results))
        return true;
    for (const auto& error : results) {
        for (const std::string& part : error.context)
            std::cerr << part;
        std::cerr << ": " << error.description << "\n";
    }
    return false;
}

bool keepsAll(const std::string& path, const valijson::Schema& schema, bool isLines) {
    const std::string text = readFile(path);
    if (!isLines)
        return keeps(parse(text, path), schema);
    bool ok = true;
    std::size_t start = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         start = end + 1, end = text.find('\n', start))
        ok = keeps(parse(text.substr(start, end - start), path), schema) && ok;
    if (start < text.size())
        throw std::runtime_error(path + ": the last line has no end");
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc < 3 || argc > 4 || (argc == 4 && std::string(argv[3]) != "lines"))
            throw std::runtime_error("usage: schema_check FILE SCHEMA [lines]");
        const Json schemaText = parse(readFile(argv[2]), argv[2]);
        valijson::Schema schema;
        valijson::SchemaParser(valijson::SchemaParser::kDraft7)
            .populateSchema(Adapter(schemaText), schema);
        return keepsAll(argv[1], schema, argc == 4) ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "schema_check: " << error.what() << "\n";
        return 2;
    }
}
