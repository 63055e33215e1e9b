// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/HXMLParserBase.h"

#include <cstddef>
#include <utility>

#include "environment/containers/HSTSList.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/strings/HUTConvert.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/optGroupFormat.h"
#include "environment/xml/xmlReader.h"
#include "environment/xml/xmlSource.h"

using CSL::XML::CAttributeList;

struct HXMLParserBase::Data {
    /// The version of a file, or the one expected.
    struct FormatVersion {
        int major = 0;
        int minor = 0;

        std::string text() const { return std::to_string(major) + "." + std::to_string(minor); }
    };

    // What the derived class asked for.
    std::string expectedRoot;
    FormatVersion expected;
    bool checksVersion = false;

    // Where the parse stands.
    std::string path;
    std::string root;
    CAttributeList rootAttributes;
    FormatVersion found;
    int line = 0;
    std::size_t depth = 0;
    bool dropped = false;

    // The group that is being read, null outside of one, and the depth of its
    // element.
    HATOptGroup* group = nullptr;
    std::size_t groupDepth = 0;
    // The list option whose items come, null outside of one, and those so far.
    const HATAttrSpec* list = nullptr;
    HSTSList<std::string> items;

    void begin(const std::string& newPath);
    void beginOption(const CAttributeList& attributes);
    void endOption();
    void leaveGroup();
};

void HXMLParserBase::Data::begin(const std::string& newPath) {
    path = newPath;
    root.clear();
    rootAttributes.clear();
    found = {};
    line = 0;
    depth = 0;
    dropped = false;
    leaveGroup();
}

void HXMLParserBase::Data::beginOption(const CAttributeList& attributes) {
    const std::string& id = attributes.getValue(xml::kIdAttr);
    const HATAttrSpec* const spec = group->getAttrSpecForDbId(id);
    if (spec == nullptr) {
        dropped = true;
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                 "@12-61@%s%d%s%s", path, line, id, group->getOptGrpId());
        return;
    }
    if (xml::isList(*spec)) {
        list = spec;
        items.clear();
        return;
    }
    const std::string* const value = attributes.find(xml::kValueAttr);
    if (value != nullptr && xml::textToValue(*value, *group, *spec))
        return;
    dropped = true;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                             "@12-62@%s%d%s%s", path, line, value == nullptr ? "" : *value, id);
}

void HXMLParserBase::Data::endOption() {
    if (list == nullptr)
        return;
    const HATAttrSpec* const spec = std::exchange(list, nullptr);
    group->setStrListVal(spec, std::exchange(items, {}), true);
}

void HXMLParserBase::Data::leaveGroup() {
    group = nullptr;
    list = nullptr;
    items.clear();
}

/// Hands the events to the handlers, and keeps the state that they ask for.
class HXMLParserBase::Events : public xml::Events {
public:
    explicit Events(HXMLParserBase& parser) : m_parser(parser), m_data(*parser.m_data) {}

    void startElement(const std::string& name, const CAttributeList& attributes,
                      int line) override {
        m_data.line = line;
        if (++m_data.depth == 1)
            root_(name, attributes);
        if (m_data.group != nullptr && m_data.depth == m_data.groupDepth + 1)
            m_data.endOption();
        m_parser.startElem_(name, attributes);
    }

    void endElement(const std::string& name, int line) override {
        m_data.line = line;
        m_parser.endElem_(name);
        if (m_data.depth == m_data.groupDepth)
            m_parser.doneOptGroup();
        --m_data.depth;
    }

    void text(const std::string& text, bool isLayout, int line) override {
        m_data.line = line;
        if (isLayout)
            m_parser.whitespace_(text);
        else
            m_parser.chars_(text);
    }

private:
    void root_(const std::string& name, const CAttributeList& attributes) {
        m_data.root = name;
        m_data.rootAttributes = attributes;
        HUTConvert::stringToInteger(attributes.getValue("Version"), m_data.found.major);
        HUTConvert::stringToInteger(attributes.getValue("Minor"), m_data.found.minor);
        if (m_data.checksVersion)
            m_parser.validateVersion_();
    }

    HXMLParserBase& m_parser;
    Data& m_data;
};

HXMLParserBase::HXMLParserBase() : m_data(std::make_unique<Data>()) {}

HXMLParserBase::~HXMLParserBase() = default;

bool HXMLParserBase::parse(const std::string& path, bool sendErrors) {
    m_data->begin(path);
    try {
        read_();
        return true;
    } catch (bool result) {
        return result;
    } catch (const HXMLReadException& error) {
        if (!sendErrors)
            throw;
        readError_(error.getFileName(), error.getLine(), error.getReason());
        return false;
    }
}

void HXMLParserBase::read_() {
    /// A group isn't kept beyond the parse, however that ends.
    struct LeaveGroup {
        Data& data;
        ~LeaveGroup() { data.leaveGroup(); }
    } const guard{*m_data};
    std::string content = xml::readFile(m_data->path);
    startDoc_();
    Events events(*this);
    xml::parse(std::move(content), m_data->path, events);
    endDoc_();
}

const std::string& HXMLParserBase::getFileName() const {
    return m_data->path;
}

int HXMLParserBase::getLine() const {
    return m_data->line;
}

int HXMLParserBase::getFileMajor() const {
    return m_data->found.major;
}

int HXMLParserBase::getFileMinor() const {
    return m_data->found.minor;
}

bool HXMLParserBase::hasDropped() const {
    return m_data->dropped;
}

void HXMLParserBase::setVersionCheck(const std::string& rootElement, int major, int minor) {
    m_data->expectedRoot = rootElement;
    m_data->expected = {major, minor};
    m_data->checksVersion = true;
}

void HXMLParserBase::validateVersion_() {
    const Data& data = *m_data;
    if (data.root != data.expectedRoot)
        refuse_("the file is a \"" + data.root + "\" file; expected was \"" + data.expectedRoot +
                "\"");
    int major = 0;
    if (!HUTConvert::stringToInteger(data.rootAttributes.getValue("Version"), major))
        refuse_("the attribute \"Version\" of \"" + data.root + "\" isn't a number");
    if (major != data.expected.major)
        refuse_("the file has format version " + data.found.text() + "; version " +
                data.expected.text() + " can be read");
    if (data.found.minor > data.expected.minor)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                 "@12-60@%s%s%s", data.path, data.found.text(),
                                 data.expected.text());
}

void HXMLParserBase::reOptGroup(const CAttributeList&, HATOptGroup* group) {
    doneOptGroup();
    m_data->group = group;
    m_data->groupDepth = m_data->depth;
}

void HXMLParserBase::doneOptGroup() {
    if (m_data->group != nullptr)
        m_data->endOption();
    m_data->leaveGroup();
}

void HXMLParserBase::startElem_(const std::string& name, const CAttributeList& attributes) {
    Data& data = *m_data;
    const std::size_t below = data.group == nullptr ? 0 : data.depth - data.groupDepth;
    if (below == 1 && xml::isNamed(name, xml::kOptionElem))
        data.beginOption(attributes);
    else if (below == 2 && xml::isNamed(name, xml::kItemElem) && data.list != nullptr)
        data.items.push_back(attributes.getValue(xml::kValueAttr));
    else
        noteDropped_();
}

const std::string& HXMLParserBase::getRootElement() const {
    return m_data->root;
}

void HXMLParserBase::noteDropped_() {
    m_data->dropped = true;
}

void HXMLParserBase::refuse_(const std::string& reason) const {
    throw HXMLReadException(m_data->path, m_data->line, reason);
}
