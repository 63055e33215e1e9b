// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrInstance.h"

#include <cstddef>
#include <cstdlib>

#include "environment/messages/messageCatalogue.h"

namespace {

/// "@36-66@%s" in its two pieces.
struct Format {
    std::string id;
    std::string kinds;
};

Format splitFormat(const std::string& format) {
    if (format.empty() || format.front() != '@')
        return {"", format};
    const std::size_t end = format.find('@', 1);
    if (end == std::string::npos)
        return {"", format};
    return {format.substr(1, end - 1), format.substr(end + 1)};
}

/// The arguments as a format tells them: "%s%d".
std::string kindsOf(const HSTVector<ComMsgMgrArg>& args) {
    std::string kinds;
    for (const ComMsgMgrArg& arg : args) {
        kinds += '%';
        kinds += static_cast<char>(arg.getKind());
    }
    return kinds;
}

std::string joined(const HSTVector<std::string>& args, std::size_t first) {
    std::string text;
    for (std::size_t i = first; i < args.size(); ++i)
        text += (i == first ? "" : ", ") + args[i];
    return text;
}

/// Writes `arg` number `number` (from 1); a question mark when it is missing.
void appendArg(std::string& text, std::size_t number, const HSTVector<std::string>& args) {
    text += number >= 1 && number <= args.size() ? args[number - 1] : "?";
}

/// The catalogue's text with its places filled. An argument is taken as it is:
/// braces in it stay.
std::string filled(const std::string& pattern, const HSTVector<std::string>& args) {
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const std::size_t end = pattern[i] == '{' ? pattern.find('}', i) : std::string::npos;
        if (end == std::string::npos) {
            text += pattern[i];
            continue;
        }
        appendArg(text, std::strtoul(pattern.c_str() + i + 1, nullptr, 10), args);
        i = end;
    }
    return text;
}

std::string filledText(const messageCatalogue::Entry& entry, const HSTVector<std::string>& args) {
    std::string text = filled(entry.text, args);
    const std::size_t shown = std::char_traits<char>::length(entry.kinds) / 2;
    if (args.size() > shown)
        text += " (" + joined(args, shown) + ")";
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

/// For an id that has no text: what there is.
std::string bareText(const std::string& id, const HSTVector<std::string>& args) {
    const std::string name = id.empty() ? "Message" : "Message " + id;
    return args.empty() ? name : name + ": " + joined(args, 0);
}

std::string orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace

ComMsgMgrInstance::ComMsgMgrInstance(const char* domain, ComMsgMgr::MsgMask mask,
                                     const char* format, const HSTVector<ComMsgMgrArg>& args)
    : m_domain(orEmpty(domain)), m_mask(mask) {
    const Format pieces = splitFormat(orEmpty(format));
    m_id = pieces.id;
    m_args.reserve(args.size());
    for (const ComMsgMgrArg& arg : args)
        m_args.push_back(arg.getText());
    const messageCatalogue::Entry* entry = messageCatalogue::find(m_id);
    m_text = entry == nullptr ? bareText(m_id, m_args) : filledText(*entry, m_args);
    m_isAsCatalogued = entry != nullptr && m_domain == entry->domain && m_mask == entry->mask &&
                       pieces.kinds == entry->kinds && pieces.kinds == kindsOf(args);
}

std::string ComMsgMgrInstance::getDisplayText() const {
    const std::string severity = getSeverityName();
    return m_id.empty() ? severity + " " + m_text : severity + " [" + m_id + "] " + m_text;
}
