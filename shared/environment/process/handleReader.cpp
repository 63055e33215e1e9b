// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/handleReader.h"

#include <memory>

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include "environment/process/HUTProcessHandle.h"

namespace process {

namespace {

constexpr unsigned long long kVersion = 1;
constexpr unsigned long long kMostPid = 4294967295ULL;
constexpr unsigned long long kMostTicks = ~0ULL;
constexpr unsigned long long kMostTime = 9223372036854775807ULL;
constexpr int kMostDepth = 64;

/// Which attributes were there, as bits.
enum Seen : unsigned {
    kHost = 1U << 0U,
    kOwner = 1U << 1U,
    kUid = 1U << 2U,
    kPid = 1U << 3U,
    kGroup = 1U << 4U,
    kTicks = 1U << 5U,
    kBoot = 1U << 6U,
    kTime = 1U << 7U,
};

/// What a record has to tell on a host that knows process ids, and on one
/// where its writer can't learn them.
constexpr unsigned kAlways = kHost | kOwner;
constexpr unsigned kWithPid = kUid | kPid | kGroup | kTicks | kBoot;

/// A whole number without sign or blanks, at most `most`.
bool readNumber(const std::string& text, unsigned long long most, unsigned long long& number) {
    constexpr std::string::size_type kMostDigits = 20;
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    unsigned long long value = 0;
    for (const char c : text) {
        const auto digit = static_cast<unsigned long long>(c - '0');
        if (value > (most - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    number = value;
    return true;
}

bool isUuid(const std::string& text) {
    static const std::string kForm = "hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh";
    bool fits = text.size() == kForm.size();
    for (std::string::size_type i = 0; fits && i < kForm.size(); ++i) {
        const bool isDigit =
            (text[i] >= '0' && text[i] <= '9') || (text[i] >= 'a' && text[i] <= 'f');
        fits = kForm[i] == 'h' ? isDigit : text[i] == kForm[i];
    }
    return fits;
}

/// Follows the elements of one file.
class Reader {
public:
    explicit Reader(HUTProcessHandle& record) : m_record(record) {}

    /// False when the file isn't a process handle.
    bool start(const std::string& name) {
        ++m_depth;
        if (m_depth == 1)
            return name == "ProcessHandle";
        if (m_depth == 2)
            return enter_(name);
        return m_depth <= kMostDepth;
    }

    bool attribute(const std::string& name, const std::string& value) {
        if (m_depth == 1)
            return rootAttribute_(name, value);
        return m_depth > 2 || m_part != Part::kProcess || processAttribute_(name, value);
    }

    /// All attributes of the element have come.
    bool startIsDone() const { return m_depth > 1 || m_hasVersion; }

    void text(const std::string& text) {
        if (m_depth == 2 && m_part == Part::kCommand)
            m_command += text;
    }

    void end() {
        if (m_depth == 2 && m_part == Part::kCommand)
            m_record.setCommand(m_command);
        // Only now: a start tag that was cut short comes with what is left of it.
        if (m_depth == 2 && m_part == Part::kProcess)
            m_processIsWhole = true;
        --m_depth;
        m_isOver = m_depth == 0;
    }

    bool hasProcess() const { return m_processIsWhole; }

    bool isComplete() const {
        const bool tellsProcess = (m_seen & kWithPid) == kWithPid || (m_seen & kTime) != 0;
        return m_isOver && m_hasCommand && (m_seen & kAlways) == kAlways && tellsProcess;
    }

private:
    enum class Part { kOther, kProcess, kCommand };

    /// Each part stands once.
    bool enter_(const std::string& name) {
        m_part = name == "Process"   ? Part::kProcess
                 : name == "Command" ? Part::kCommand
                                     : Part::kOther;
        if (m_part == Part::kOther)
            return true;
        bool& seen = m_part == Part::kProcess ? m_hasProcess : m_hasCommand;
        const bool again = seen;
        seen = true;
        return !again;
    }

    bool rootAttribute_(const std::string& name, const std::string& value) {
        unsigned long long number = 0;
        if (name == "Version") {
            m_hasVersion = true;
            return readNumber(value, kVersion, number) && number == kVersion;
        }
        if (name == "Launch") {
            m_record.setLaunch(value);
            return true;
        }
        return name != "Minor" || readNumber(value, kMostTime, number);
    }

    bool processAttribute_(const std::string& name, const std::string& value) {
        if (name == "Host")
            m_record.setHostname(value);
        else if (name == "Owner")
            m_record.setUser(value);
        else if (name == "BootId")
            m_record.setBootId(value);
        else
            return numberAttribute_(name, value);
        note_(name == "Host" ? kHost : name == "Owner" ? kOwner : kBoot);
        return name == "BootId" ? isUuid(value) : !value.empty();
    }

    bool numberAttribute_(const std::string& name, const std::string& value) {
        unsigned long long number = 0;
        if (name == "Uid") {
            note_(kUid);
            const bool good = readNumber(value, kMostPid, number);
            m_record.setUid(static_cast<long>(number));
            return good;
        }
        if (name == "Pid" || name == "Pgid") {
            note_(name == "Pid" ? kPid : kGroup);
            const bool good = readNumber(value, kMostPid, number) && number > 1;
            name == "Pid" ? m_record.setPid(static_cast<long>(number))
                          : m_record.setGroup(static_cast<long>(number));
            return good;
        }
        if (name == "StartTicks") {
            note_(kTicks);
            const bool good = readNumber(value, kMostTicks, number);
            m_record.setStartTicks(number);
            return good;
        }
        if (name == "StartTime") {
            note_(kTime);
            const bool good = readNumber(value, kMostTime, number);
            m_record.setStartTime(static_cast<long>(number));
            return good;
        }
        if (name == "PidNamespace") {
            m_record.setPidNamespace(value);
            return readNumber(value, kMostTime, number);
        }
        return true;
    }

    void note_(unsigned seen) { m_seen |= seen; }

    HUTProcessHandle& m_record;
    std::string m_command;
    unsigned m_seen = 0;
    int m_depth = 0;
    bool m_hasVersion = false;
    bool m_hasProcess = false;
    bool m_hasCommand = false;
    bool m_processIsWhole = false;
    Part m_part = Part::kOther;
    bool m_isOver = false;
};

/// What the parser's calls get: the reader, and the way to stop.
struct Session {
    explicit Session(HUTProcessHandle& record) : reader(record) {}

    /// Runs `work`; nothing that it throws passes through the parser.
    template <class Work> void guard(Work work) noexcept {
        bool good = false;
        try {
            good = !refused && work();
        } catch (...) {
        }
        if (!good)
            refuse();
    }

    void refuse() noexcept {
        refused = true;
        xmlStopParser(parser);
    }

    Reader reader;
    xmlParserCtxtPtr parser = nullptr;
    bool refused = false;
};

std::string textOf(const xmlChar* begin, const xmlChar* end) {
    return {reinterpret_cast<const char*>(begin), reinterpret_cast<const char*>(end)};
}

std::string textOf(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

extern "C" {

static void onStart(void* data, const xmlChar* name, const xmlChar*, const xmlChar* uri, int,
                    const xmlChar**, int count, int, const xmlChar** attributes) {
    auto* session = static_cast<Session*>(data);
    session->guard([&] {
        Reader& reader = session->reader;
        bool good = reader.start(uri == nullptr ? textOf(name) : std::string());
        constexpr int kFields = 5;  // name, prefix, uri, begin and end of the value
        for (int i = 0; good && i < count * kFields; i += kFields)
            good = reader.attribute(textOf(attributes[i]),
                                    textOf(attributes[i + 3], attributes[i + 4]));
        return good && reader.startIsDone();
    });
}

static void onEnd(void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* session = static_cast<Session*>(data);
    session->guard([session] {
        session->reader.end();
        return true;
    });
}

static void onText(void* data, const xmlChar* text, int size) {
    auto* session = static_cast<Session*>(data);
    session->guard([&] {
        session->reader.text(textOf(text, text + size));
        return true;
    });
}

static void onDoctype(void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
    static_cast<Session*>(data)->refuse();
}

}  // extern "C"

struct FreeParser {
    void operator()(xmlParserCtxtPtr parser) const {
        if (parser->myDoc != nullptr)
            xmlFreeDoc(parser->myDoc);
        xmlFreeParserCtxt(parser);
    }
};

xmlSAXHandler makeHandler() {
    xmlSAXHandler handler = {};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = onStart;
    handler.endElementNs = onEnd;
    handler.characters = onText;
    handler.cdataBlock = onText;
    handler.internalSubset = onDoctype;
    return handler;
}

}  // namespace

bool readHandle(const std::string& content, HUTProcessHandle& record) {
    xmlInitParser();
    const std::unique_ptr<xmlParserCtxt, FreeParser> parser(
        xmlCreateMemoryParserCtxt(content.data(), static_cast<int>(content.size())));
    if (!parser)
        return false;
    Session session(record);
    session.parser = parser.get();
    *parser->sax = makeHandler();
    parser->userData = &session;
    xmlCtxtUseOptions(parser.get(),
                      XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    xmlParseDocument(parser.get());
    if (session.refused || !session.reader.hasProcess())
        return false;
    record.setComplete(parser->wellFormed != 0 && session.reader.isComplete());
    return true;
}

}  // namespace process
