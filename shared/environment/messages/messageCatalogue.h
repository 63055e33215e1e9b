// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include "environment/messages/ComMsgMgr.h"

/// The texts of data/messages, as they are built into the library.
namespace messageCatalogue {

struct Entry {
    const char* id;
    const char* domain;
    ComMsgMgr::MsgMask mask;
    /// "%s" or "%d" for each argument.
    const char* kinds;
    /// The text, with "{1}" for the first argument.
    const char* text;
};

/// All messages in the order of their ids as texts.
extern const Entry kEntries[];
extern const std::size_t kEntryCount;

/// The entry of `id`, or null.
const Entry* find(const std::string& id);

}  // namespace messageCatalogue
