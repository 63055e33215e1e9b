// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/MessageRecorder.h"

#include <algorithm>
#include <mutex>

#include <gtest/gtest.h>

#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/messages/ComMsgMgrSink.h"

namespace test {

namespace {

std::string summaryOf(const ComMsgMgrInstance& message) {
    std::string args;
    for (const std::string& arg : message.getArgs())
        args += (args.empty() ? "" : ", ") + arg;
    return message.getDomain() + " " + message.getSeverityName() + " " + message.getId() + "(" +
           args + ")";
}

}  // namespace

class MessageRecorder::Sink : public ComMsgMgrSink {
public:
    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) override {
        if (!message.isAsCatalogued())
            ADD_FAILURE_AT(origin.file, origin.line)
                << "not as the catalogue has it: " << summaryOf(message);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back({message.getId(), message.getDomain(), message.getMask(),
                              message.getArgs(), message.getText(), origin.ordinal,
                              summaryOf(message)});
    }

    std::vector<RecordedMessage> messages() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_messages;
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.clear();
    }

private:
    std::mutex m_mutex;
    std::vector<RecordedMessage> m_messages;
};

MessageRecorder::MessageRecorder() : m_sink(std::make_shared<Sink>()) {
    ComMsgMgr::addSink(m_sink);
}

MessageRecorder::~MessageRecorder() {
    ComMsgMgr::removeSink(m_sink);
}

std::vector<RecordedMessage> MessageRecorder::messages() const {
    return m_sink->messages();
}

std::vector<std::string> MessageRecorder::ids() const {
    std::vector<std::string> ids;
    for (const RecordedMessage& message : messages())
        ids.push_back(message.id);
    return ids;
}

std::vector<std::string> MessageRecorder::texts() const {
    std::vector<std::string> texts;
    for (const RecordedMessage& message : messages())
        texts.push_back(message.text);
    return texts;
}

std::vector<std::string> MessageRecorder::summaries() const {
    std::vector<std::string> summaries;
    for (const RecordedMessage& message : messages())
        summaries.push_back(message.summary);
    return summaries;
}

bool MessageRecorder::has(const std::string& id) const {
    const std::vector<std::string> all = ids();
    return std::find(all.begin(), all.end(), id) != all.end();
}

void MessageRecorder::clear() {
    m_sink->clear();
}

}  // namespace test
