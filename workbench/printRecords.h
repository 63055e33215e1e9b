// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/fileFingerprint.h"

namespace xml {
class Document;
class Element;
}  // namespace xml
class HXMLWriterBase;

/// Fingerprints in the project file.
namespace workbench {

/// Adds the attributes of `print` to the tag that `out` begins next. The stamp of one that
/// isn't settled is left out but for size and time, so that the file is read each time.
void writePrint(HXMLWriterBase& out, const FileFingerprint& print);

/// What writePrint() wrote. @throws HXMLException a value that it doesn't write.
FileFingerprint readPrint(const xml::Document& document, const xml::Element& element);

}  // namespace workbench
