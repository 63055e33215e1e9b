// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/xml/HXMLParserBase.h"
#include "environment/xml/HXMLWriterBase.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"

namespace test {

/// A parser that writes down its events, and does what a test asks for at
/// each start of an element.
class EventLog : public HXMLParserBase {
public:
    using HXMLParserBase::getRootElement;
    using HXMLParserBase::noteDropped_;
    using HXMLParserBase::refuse_;

    using Action = std::function<void(const std::string& name, const CSL::XML::CAttributeList&)>;

    std::vector<std::string> events;
    Action onStart;
    /// Elements that the parser takes itself; the others it leaves to the base.
    std::set<std::string> taken = {"Strategy", "Step"};

protected:
    void startDoc_() override { events.emplace_back("document"); }
    void endDoc_() override { events.emplace_back("end of document"); }

    void startElem_(const std::string& name, const CSL::XML::CAttributeList& attributes) override {
        std::string event = "<" + name;
        for (std::size_t i = 0; i < attributes.getLength(); ++i)
            event += " " + attributes.getName(i) + "=" + attributes.getValue(i);
        events.push_back(event + ">");
        if (onStart)
            onStart(name, attributes);
        if (taken.count(name) == 0)
            HXMLParserBase::startElem_(name, attributes);
    }

    void endElem_(const std::string& name) override { events.push_back("</" + name + ">"); }
    void chars_(const std::string& text) override { events.push_back("text " + text); }
    void whitespace_(const std::string&) override { events.emplace_back("layout"); }
};

/// A file "doc.xml" in a folder of its own. Messages are recorded.
class XmlTest : public ::testing::Test {
protected:
    std::string path() const { return m_dir.path("doc.xml"); }

    void write(const std::string& content) const { m_dir.mark("doc.xml", content); }
    std::string content() const { return m_dir.read("doc.xml"); }

    /// What is wrong with a document, behind the path; empty when it is read.
    std::string errorOf(const std::string& document) {
        write(document);
        EventLog parser;
        try {
            parser.parse(path(), false);
        } catch (const std::exception& error) {
            return std::string(error.what()).substr(path().size());
        }
        return {};
    }

    RunDir m_dir;
    MessageRecorder m_messages;
};

}  // namespace test
