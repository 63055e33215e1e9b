// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/plainDocument.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "environment/xml/xmlReader.h"
#include "environment/xml/xmlSource.h"
#include "environment/xml/xmlText.h"

namespace xml {

namespace {

using Text = std::string_view;

/// Up to here no bound on elements or attributes can be reached.
constexpr std::size_t kMaxPlainBytes = std::size_t{512} << 10U;
/// Few enough to be compared with each other.
constexpr std::size_t kMaxPlainAttributes = 16;

/// What a character is, as bits.
enum : unsigned char {
    kNameStart = 1,
    kNamePart = 2,
    kBlank = 4,
    kStopsText = 8,
    kStopsValue = 16
};

struct Characters {
    constexpr Characters() {
        for (int c = 'a'; c <= 'z'; ++c)
            of[c] = of[c - 'a' + 'A'] = kNameStart | kNamePart;
        for (int c = '0'; c <= '9'; ++c)
            of[c] = kNamePart;
        at('_') = kNameStart | kNamePart;
        at('-') = at('.') = kNamePart;
        at(' ') = kBlank;
        at('\t') = kBlank | kStopsValue;
        at('\n') = kBlank | kStopsText | kStopsValue;
        at('<') = at('&') = at('\r') = kStopsText | kStopsValue;
        at(']') = kStopsText;
        at('"') = at('\'') = kStopsValue;
    }
    constexpr unsigned char& at(int c) { return of[c]; }

    unsigned char of[256] = {};
};
constexpr Characters kCharacters;

bool is(char c, unsigned char what) {
    return (kCharacters.of[static_cast<unsigned char>(c)] & what) != 0;
}

struct Entity {
    Text reference;
    char character;
};
constexpr std::array<Entity, 5> kEntities = {
    {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}}};

/// The entity at the beginning of `text`, or null.
const Entity* entityAt(Text text) {
    const auto found = std::find_if(kEntities.begin(), kEntities.end(), [&](const Entity& entity) {
        return text.substr(0, entity.reference.size()) == entity.reference;
    });
    return found == kEntities.end() ? nullptr : &*found;
}

/// A text of the document. Its references are put in place when it is told.
struct Piece {
    Text raw;
    bool hasReferences = false;

    Text told(std::string& buffer) const {
        if (!hasReferences)
            return raw;
        buffer.clear();
        for (std::size_t at = 0; at < raw.size();) {
            const Entity* const entity = raw[at] == '&' ? entityAt(raw.substr(at)) : nullptr;
            buffer += entity == nullptr ? raw[at] : entity->character;
            at += entity == nullptr ? 1 : entity->reference.size();
        }
        return buffer;
    }
};

struct Attribute {
    Text name;
    Piece value;
};

/// What will be told. The line of a start is where its tag begins, others are where the
/// parser stands then.
struct Token {
    enum Kind { kStart, kEnd, kText };

    Kind kind;
    Piece text;
    int line;
    /// Of a start: how many of the attributes, in document order, are its own.
    std::size_t attributes;
};

/// Takes a document apart. Every operation is false where the document isn't plain.
class Scan {
public:
    explicit Scan(Text text) : m_text(text) {
        constexpr std::size_t kUsualToken = 24;
        m_tokens.reserve(text.size() / kUsualToken);
        m_attributes.reserve(text.size() / kUsualToken);
    }

    bool run() {
        static constexpr Text kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        take_(kDeclaration);
        skipBlanks_();
        if (m_at == m_text.size() || !startTag_())
            return false;
        while (!m_open.empty()) {
            if (!text_() || !(take_("</") ? endTag_() : startTag_()))
                return false;
        }
        skipBlanks_();
        return m_at == m_text.size();
    }

    const std::vector<Token>& tokens() const { return m_tokens; }
    const std::vector<Attribute>& attributes() const { return m_attributes; }

private:
    bool at_(char c) const { return m_at < m_text.size() && m_text[m_at] == c; }

    bool take_(Text expected) {
        if (m_text.substr(m_at, expected.size()) != expected)
            return false;
        m_at += expected.size();
        return true;
    }

    bool skipBlanks_() {
        const std::size_t begin = m_at;
        for (; m_at < m_text.size() && is(m_text[m_at], kBlank); ++m_at)
            m_line += m_text[m_at] == '\n' ? 1 : 0;
        return m_at != begin;
    }

    Text name_() {
        const std::size_t begin = m_at;
        if (m_at < m_text.size() && is(m_text[m_at], kNameStart))
            while (m_at < m_text.size() && is(m_text[m_at], kNamePart))
                ++m_at;
        return m_text.substr(begin, m_at - begin);
    }

    /// Passes over a reference to an entity.
    bool reference_(Piece& piece) {
        const Entity* const entity = entityAt(m_text.substr(m_at));
        if (entity == nullptr)
            return false;
        m_at += entity->reference.size();
        piece.hasReferences = true;
        return true;
    }

    bool value_(Piece& piece) {
        if (!at_('"') && !at_('\''))
            return false;
        const char quote = m_text[m_at++];
        const std::size_t begin = m_at;
        for (;; ++m_at) {
            while (m_at < m_text.size() && !is(m_text[m_at], kStopsValue))
                ++m_at;
            if (at_('&') && reference_(piece))
                --m_at;
            else if (at_(quote))
                break;
            else if (!at_('"') && !at_('\''))
                return false;
        }
        piece.raw = m_text.substr(begin, m_at++ - begin);
        return true;
    }

    bool attribute_(std::size_t first) {
        Attribute attribute;
        attribute.name = name_();
        if (attribute.name.empty() || attribute.name == "xmlns" || !take_("=") ||
            !value_(attribute.value) || m_attributes.size() - first == kMaxPlainAttributes)
            return false;
        const auto begin = m_attributes.begin() + static_cast<std::ptrdiff_t>(first);
        if (std::any_of(begin, m_attributes.end(),
                        [&](const Attribute& other) { return other.name == attribute.name; }))
            return false;
        m_attributes.push_back(attribute);
        return true;
    }

    bool startTag_() {
        const int line = m_line;
        if (!take_("<") || m_open.size() == kMaxDepth)
            return false;
        const Text name = name_();
        if (name.empty())
            return false;
        const std::size_t first = m_attributes.size();
        while (skipBlanks_() && !at_('/') && !at_('>')) {
            if (!attribute_(first))
                return false;
        }
        flushText_();
        m_tokens.push_back({Token::kStart, {name, false}, line, m_attributes.size() - first});
        m_open.push_back(name);
        return take_(">") || (take_("/>") && close_());
    }

    bool endTag_() {
        if (name_() != m_open.back())
            return false;
        skipBlanks_();
        if (!take_(">"))
            return false;
        flushText_();
        return close_();
    }

    bool close_() {
        m_tokens.push_back({Token::kEnd, {m_open.back(), false}, m_line, 0});
        m_open.pop_back();
        return true;
    }

    /// Moves to the next tag; the text is kept until that was passed.
    bool text_() {
        const std::size_t begin = m_at;
        m_pending = {};
        for (;; ++m_at) {
            while (m_at < m_text.size() && !is(m_text[m_at], kStopsText))
                ++m_at;
            if (at_('<'))
                break;
            if (at_('&') && reference_(m_pending))
                --m_at;
            else if (at_('\n'))
                ++m_line;
            else if (!at_(']') || m_text.substr(m_at, 3) == "]]>")
                return false;
        }
        m_pending.raw = m_text.substr(begin, m_at - begin);
        return true;
    }

    void flushText_() {
        if (!m_pending.raw.empty())
            m_tokens.push_back({Token::kText, m_pending, m_line, 0});
        m_pending = {};
    }

    Text m_text;
    std::size_t m_at = 0;
    int m_line = 1;
    Piece m_pending;
    std::vector<Text> m_open;
    std::vector<Token> m_tokens;
    std::vector<Attribute> m_attributes;
};

void tell(const Scan& scan, Events& events) {
    std::string name;
    std::string text;
    CSL::XML::CAttributeList list;
    const Attribute* attribute = scan.attributes().data();
    const std::vector<Token>& tokens = scan.tokens();
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        const Text told = token.text.told(text);
        if (token.kind == Token::kText) {
            // Between a start and its end stands text of the element, also if it is blank.
            const bool isContent =
                tokens[i - 1].kind == Token::kStart && tokens[i + 1].kind == Token::kEnd;
            if (!token.text.hasReferences)
                text.assign(told);
            events.text(text, !isContent && isLayout(text), token.line);
            continue;
        }
        name.assign(told);
        if (token.kind == Token::kEnd) {
            events.endElement(name, token.line);
            continue;
        }
        list.clear();
        for (const Attribute* const last = attribute + token.attributes; attribute != last;
             ++attribute)
            list.addAttribute(attribute->name, attribute->value.told(text));
        events.startElement(name, list, token.line);
    }
}

}  // namespace

bool readPlain(const std::string& text, Events& events) {
    if (text.size() > kMaxPlainBytes)
        return false;
    Scan scan(text);
    if (!scan.run())
        return false;
    tell(scan, events);
    return true;
}

}  // namespace xml
