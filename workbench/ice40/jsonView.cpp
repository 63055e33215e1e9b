// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/jsonView.h"

namespace ice40 {

bool viewJson(std::string_view text, JsonObject& root) {
    thread_local simdjson::dom::parser s_parser;
    return s_parser.parse(text.data(), text.size()).get(root) == simdjson::SUCCESS;
}

bool findMember(const JsonObject& object, std::string_view name, JsonValue& value) {
    bool isThere = false;
    for (const simdjson::dom::key_value_pair member : object) {
        if (member.key != name)
            continue;
        value = member.value;
        isThere = true;
    }
    return isThere;
}

}  // namespace ice40
