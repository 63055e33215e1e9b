// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/messageCatalogue.h"

#include <algorithm>
#include <cstring>

namespace messageCatalogue {

const Entry* find(const std::string& id) {
    const Entry* end = kEntries + kEntryCount;
    const Entry* entry =
        std::lower_bound(kEntries, end, id.c_str(), [](const Entry& left, const char* right) {
            return std::strcmp(left.id, right) < 0;
        });
    return entry != end && id == entry->id ? entry : nullptr;
}

}  // namespace messageCatalogue
