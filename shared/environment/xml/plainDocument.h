// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

namespace xml {

class Events;

/// Reads a document that is as plain as those that we write: tags, attributes and text
/// with the entities of XML itself. Thousands of small files are read at start, and the
/// library takes several times as long for such a one.
///
/// False, with nothing told to `events`, when the document has anything else (a comment,
/// a namespace, a carriage return, a name beyond ASCII, a tab in a value), when it is
/// large or deep, and when it isn't well-formed: the library then reads it and finds the
/// words for what is wrong. What is read here gives the events that it would give.
///
/// `text` is UTF-8 and holds only characters that XML allows.
ENVIRONMENT_API bool readPlain(const std::string& text, Events& events);

}  // namespace xml
