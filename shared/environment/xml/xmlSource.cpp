// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/xmlSource.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "environment/files/HUTFileUtils.h"
#include "environment/strings/HI18N.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlText.h"

namespace xml {

namespace {

constexpr std::size_t npos = std::string::npos;
constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";

bool startsWith(std::string_view text, std::string_view prefix, std::size_t at = 0) {
    return text.substr(at, prefix.size()) == prefix;
}

// Encodings ---------------------------------------------------------------

unsigned unitAt(const std::string& content, std::size_t at, bool bigEndian) {
    const auto first = static_cast<unsigned char>(content[at]);
    const auto second = static_cast<unsigned char>(content[at + 1]);
    return bigEndian ? first << 8u | second : second << 8u | first;
}

bool isHighSurrogate(unsigned unit) {
    return (unit & 0xFC00u) == 0xD800u;
}

bool isLowSurrogate(unsigned unit) {
    return (unit & 0xFC00u) == 0xDC00u;
}

/// False when a surrogate stands alone or half a unit is left over.
bool utf16ToUtf8(const std::string& content, bool bigEndian, std::string& utf8) {
    std::wstring points;
    points.reserve(content.size() / 2);
    std::size_t at = 0;
    while (at + 1 < content.size()) {
        unsigned unit = unitAt(content, at, bigEndian);
        at += 2;
        if (isLowSurrogate(unit))
            return false;
        if (isHighSurrogate(unit)) {
            const unsigned low = at + 1 < content.size() ? unitAt(content, at, bigEndian) : 0;
            if (!isLowSurrogate(low))
                return false;
            unit = 0x10000u + ((unit & 0x3FFu) << 10u | (low & 0x3FFu));
            at += 2;
        }
        points.push_back(static_cast<wchar_t>(unit));
    }
    utf8 = HI18N::convert(points);
    return at == content.size();
}

std::string latin1ToUtf8(const std::string& content) {
    std::string utf8;
    utf8.reserve(content.size() + content.size() / 8);
    for (const char c : content) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
            utf8.push_back(static_cast<char>(0xC0u | byte >> 6u));
        utf8.push_back(static_cast<char>(byte >= 0x80 ? 0x80u | (byte & 0x3Fu) : byte));
    }
    return utf8;
}

/// The encoding that the XML declaration names, in upper case; empty when it
/// names none.
std::string declaredEncoding(const std::string& text) {
    if (!startsWith(text, "<?xml"))
        return {};
    const std::string declaration = text.substr(0, text.find("?>"));
    const std::size_t name = declaration.find("encoding");
    const std::size_t open = name == npos ? npos : declaration.find_first_of("\"'", name);
    if (open == npos)
        return {};
    const std::size_t close = declaration.find(declaration[open], open + 1);
    std::string encoding = declaration.substr(open + 1, close - open - 1);
    std::transform(encoding.begin(), encoding.end(), encoding.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return encoding;
}

bool isUtf16(const std::string& content, bool& bigEndian) {
    using namespace std::string_view_literals;
    bigEndian = startsWith(content, "\xFE\xFF") || startsWith(content, "\0<\0?"sv);
    return bigEndian || startsWith(content, "\xFF\xFE") || startsWith(content, "<\0?\0"sv);
}

/// Takes a document in any encoding that we read to UTF-8 without a mark.
std::string toUtf8(std::string content, const std::string& fileName) {
    bool bigEndian = false;
    if (isUtf16(content, bigEndian)) {
        std::string utf8;
        if (!utf16ToUtf8(content, bigEndian, utf8))
            throw HXMLReadException(fileName, 0, "the file isn't valid UTF-16");
        return startsWith(utf8, kUtf8Mark) ? utf8.substr(3) : utf8;
    }
    if (startsWith(content, kUtf8Mark))
        return content.substr(3);
    const std::string encoding = declaredEncoding(content);
    if (encoding == "ISO-8859-1")
        return latin1ToUtf8(content);
    if (encoding.empty() || encoding == "UTF-8" || encoding == "US-ASCII" || encoding == "ASCII")
        return content;
    throw HXMLReadException(
        fileName, 1, "the encoding \"" + encoding + "\" isn't supported; save the file as UTF-8");
}

// Bounds ------------------------------------------------------------------

std::size_t countOf(std::string_view word, std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != npos; at = text.find(word, at + word.size()))
        ++count;
    return count;
}

/// The characters that mean something inside a tag.
struct TagCharacters {
    constexpr TagCharacters() {
        for (const char c : {'<', '>', '=', '"', '\''})
            isOne[static_cast<unsigned char>(c)] = true;
    }
    bool isOne[256] = {};
};
constexpr TagCharacters kTagCharacters;

/// Walks over the markup of a document, from '<' to '<'. It reads just enough
/// to tell tags from comments and texts; whether the document is well-formed is
/// the parser's to say. But the parser goes on behind an error, so whatever
/// would let the two disagree on where a tag begins is refused here.
class MarkupWalk {
public:
    MarkupWalk(Source& source, const std::string& fileName)
        : m_text(source.text), m_lines(source.elementLines), m_fileName(fileName),
          m_hasNamespaces(m_text.find(kNamespace) != npos) {
        constexpr std::size_t kUsualElement = 32;
        m_lines.reserve(m_text.size() / kUsualElement);
    }

    void run() {
        while ((m_at = m_text.find('<', m_at)) != npos)
            markup_();
    }

private:
    static constexpr char kNamespace[] = "xmlns";

    bool is_(std::string_view prefix) const { return startsWith(m_text, prefix, m_at); }

    void markup_() {
        const char kind = m_at + 1 < m_text.size() ? m_text[m_at + 1] : '\0';
        if (kind == '!' && is_("<!--"))
            skipTo_("-->", "a comment has no end");
        else if (kind == '!' && is_("<![CDATA["))
            skipTo_("]]>", "a CDATA section has no end");
        else if (kind == '!' && is_("<!DOCTYPE"))
            refuse_(line_(), "a DOCTYPE isn't allowed in this file");
        else if (kind == '?')
            instruction_();
        else if (kind == '/')
            m_at += 2;
        else
            startTag_();
    }

    void skipTo_(const char* end, const char* complaint) {
        const std::size_t found = m_text.find(end, m_at);
        if (found == npos)
            refuse_(line_(), complaint);
        m_at = found;
    }

    void instruction_() {
        const std::size_t begin = m_at;
        skipTo_("?>", "a processing instruction has no end");
        if (m_text.find('<', begin + 1) < m_at)
            refuse_(line_(), "a processing instruction holds '<'");
    }

    void startTag_() {
        const int begin = line_();
        const std::size_t tag = m_at;
        m_lines.push_back(begin);
        const std::size_t attributes = skipTag_(begin);
        m_attributes += attributes;
        if (m_hasNamespaces)
            m_namespaces += countOf(kNamespace, std::string_view(m_text).substr(tag, m_at - tag));
        if (m_lines.size() > kMaxElements)
            refuse_(begin, fmt::format("more than {} elements", kMaxElements));
        if (attributes > kMaxAttributesOfElement)
            refuse_(begin,
                    fmt::format("more than {} attributes in one element", kMaxAttributesOfElement));
        if (m_attributes > kMaxAttributes)
            refuse_(begin, fmt::format("more than {} attributes", kMaxAttributes));
        if (m_namespaces > kMaxNamespaces)
            refuse_(begin, fmt::format("more than {} namespaces", kMaxNamespaces));
    }

    /// Moves behind the tag; gives how many attributes it has.
    std::size_t skipTag_(int begin) {
        std::size_t attributes = 0;
        char quote = 0;
        for (++m_at; m_at < m_text.size(); ++m_at) {
            const char c = m_text[m_at];
            if (!kTagCharacters.isOne[static_cast<unsigned char>(c)])
                continue;
            if (c == '<')
                refuse_(begin, "'<' inside a tag");
            if (quote != 0)
                quote = c == quote ? '\0' : quote;
            else if (c == '"' || c == '\'')
                quote = c;
            else if (c == '>')
                return attributes;
            else if (c == '=')
                ++attributes;
        }
        refuse_(begin, "a tag has no end");
    }

    /// The line of m_at; calls come in rising order.
    int line_() {
        const char* const text = m_text.data();
        m_line += static_cast<int>(std::count(text + m_counted, text + m_at, '\n'));
        m_counted = m_at;
        return m_line;
    }

    [[noreturn]] void refuse_(int line, const std::string& reason) const {
        throw HXMLReadException(m_fileName, line, reason);
    }

    const std::string& m_text;
    std::vector<int>& m_lines;
    const std::string& m_fileName;
    std::size_t m_at = 0;
    std::size_t m_counted = 0;
    int m_line = 1;
    std::size_t m_attributes = 0;
    std::size_t m_namespaces = 0;
    bool m_hasNamespaces;
};

void checkCharacters(const std::string& text, const std::string& fileName) {
    const std::size_t bad = findInvalid(text);
    if (bad == npos)
        return;
    const auto lines = std::count(text.data(), text.data() + bad, '\n');
    throw HXMLReadException(fileName, 1 + static_cast<int>(lines),
                            describeInvalid(text, bad) + " isn't allowed in XML");
}

void checkSize(std::size_t bytes, const std::string& fileName) {
    if (bytes == 0)
        throw HXMLReadException(fileName, 0, "the file is empty");
    if (bytes > kMaxFileBytes)
        throw HXMLReadException(fileName, 0,
                                fmt::format("larger than {} MB", kMaxFileBytes >> 20u));
}

}  // namespace

std::string readFile(const std::string& path) {
    std::string content;
    std::string reason;
    if (HUTFileUtils::readFile(path, kMaxFileBytes, content, reason))
        return content;
    const std::string prefix = path + ": ";
    throw HXMLReadException(path, 0,
                            startsWith(reason, prefix) ? reason.substr(prefix.size()) : reason);
}

std::string decode(std::string content, const std::string& fileName) {
    checkSize(content.size(), fileName);
    std::string text = toUtf8(std::move(content), fileName);
    checkCharacters(text, fileName);
    return text;
}

Source checkSource(std::string text, const std::string& fileName) {
    Source source;
    source.text = std::move(text);
    MarkupWalk(source, fileName).run();
    return source;
}

}  // namespace xml
