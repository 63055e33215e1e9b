// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <limits>
#include <string>
#include <vector>

#include "environment/errors/HXMLException.h"

namespace xml {
class Document;
class Element;
}  // namespace xml

/// The formats of report files as tables, and the check of a document by one.
namespace xpreport {

/// What the value of an attribute may be.
enum class ValueKind { kText, kUnsignedInt, kSignedByte };

struct AttributeRule {
    const char* name;
    ValueKind kind;
    bool isRequired;
};

struct ElementRule;

/// A child element, and how often it may come in its place.
struct ChildRule {
    const ElementRule* element;
    int least;
    int most;
};

constexpr int kAnyNumber = std::numeric_limits<int>::max();

/// An element: its attributes, and its children in their order. Attributes
/// beyond these are passed over.
struct ElementRule {
    const char* name;
    std::vector<AttributeRule> attributes;
    std::vector<ChildRule> children;
    /// Whether it may hold characters other than blanks and line ends.
    bool hasText;
};

/// Checks the whole document, from the root down.
/// @throws HXMLReadException at the line of the first element that breaks the
/// rules.
void checkDocument(const xml::Document& document, const ElementRule& root);

/// The value of a number attribute of a document that was checked; 0 when the
/// attribute isn't there.
long long numberOf(const xml::Element& element, const char* attribute);

/// A file can't be read; the text is that of the message about it.
class ReadFailure final : public HXMLException {
public:
    /// `line` is 0 when the reason belongs to no line.
    ReadFailure(const std::string& path, int line, const std::string& reason);
    ReadFailure(const ReadFailure&) = default;
    ReadFailure& operator=(const ReadFailure&) = default;
    ~ReadFailure() override;

    int getLine() const noexcept { return m_line; }
    const std::string& getReason() const noexcept { return m_reason; }

private:
    int m_line;
    std::string m_reason;
};

/// Tells standard output why the file can't be read, and throws the same.
/// @throws ReadFailure always.
[[noreturn]] void failRead(const std::string& path, int line, const std::string& reason);

}  // namespace xpreport
