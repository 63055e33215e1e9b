// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What a document must keep before the parser sees it. The bounds make the
/// cost of any file linear in its size, and its memory a small multiple.
namespace xml {

constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;
constexpr std::size_t kMaxAttributeBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxElements = 150000;
constexpr std::size_t kMaxAttributes = 300000;
/// The parser compares each attribute of an element with each other, and looks
/// for a prefix among all namespaces that were declared around it.
constexpr std::size_t kMaxAttributesOfElement = 1024;
constexpr std::size_t kMaxNamespaces = 64;

/// The whole content of the regular file `path`.
/// @throws HXMLReadException it can't be read, or is too large.
std::string readFile(const std::string& path);

/// The bytes of a document of a size that is read, in UTF-8, without characters that XML
/// can't hold. `fileName` stands for it in errors, here and below.
/// @throws HXMLReadException it is no such document.
std::string decode(std::string content, const std::string& fileName);

/// A document in UTF-8, within the bounds on its elements and attributes, without a
/// DOCTYPE.
struct Source {
    std::string text;
    /// The line on which each element's tag begins, in document order.
    std::vector<int> elementLines;
};

/// Takes what decode() gives apart far enough to know the bounds.
/// @throws HXMLReadException it is no such document.
Source checkSource(std::string text, const std::string& fileName);

}  // namespace xml
