// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/observers/HUTGuiEventListener.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Event = HUTGuiEvent::GuiEventBase;

/// Writes down the names of the events that it hears.
class Listener : public HUTGuiEventListener {
public:
    explicit Listener(
        const std::string& name, std::function<void()> action = [] {})
        : HUTGuiEventListener(name), m_action(std::move(action)) {}

    const std::vector<std::string>& heard() const { return m_heard; }

protected:
    void handleEvent_(const Event* event) override {
        m_heard.push_back(event->getName());
        m_action();
    }

private:
    std::function<void()> m_action;
    std::vector<std::string> m_heard;
};

void fire(const std::string& name) {
    HUTGuiEvent::fire(Event(name));
}

TEST(HUTGuiEventListenerTest, HasItsNameAndNoEventsAtFirst) {
    const Listener listener("run1");
    EXPECT_EQ(listener.getListenerName(), "run1");
    EXPECT_THAT(listener.getEvents(), IsEmpty());
}

TEST(HUTGuiEventListenerTest, HearsTheEventsThatItAsksFor) {
    Listener listener("run1");
    listener.addEvent("sources");
    fire("sources");
    fire("options");
    fire("sources");
    EXPECT_THAT(listener.heard(), ElementsAre("sources", "sources"));
}

TEST(HUTGuiEventListenerTest, HearsAnEventOnceThoughAskedForTwice) {
    Listener listener("run1");
    listener.addEvent("sources");
    listener.addEvent("sources");
    EXPECT_THAT(listener.getEvents(), ElementsAre("sources"));
    fire("sources");
    EXPECT_THAT(listener.heard(), ElementsAre("sources"));
}

TEST(HUTGuiEventListenerTest, HearsSeveralEventsAsTheyCome) {
    Listener listener("run1");
    listener.addEvent("sources");
    listener.addEvent("options");
    fire("options");
    fire("sources");
    EXPECT_THAT(listener.heard(), ElementsAre("options", "sources"));
}

TEST(HUTGuiEventListenerTest, HearsNothingAfterRemovingAllEvents) {
    Listener listener("run1");
    listener.addEvent("sources");
    listener.removeAllEvents();
    listener.removeAllEvents();
    fire("sources");
    EXPECT_THAT(listener.heard(), IsEmpty());
    EXPECT_THAT(listener.getEvents(), IsEmpty());
}

TEST(HUTGuiEventListenerTest, MayComeBack) {
    Listener listener("run1");
    listener.addEvent("sources");
    listener.removeAllEvents();
    listener.addEvent("sources");
    fire("sources");
    EXPECT_THAT(listener.heard(), ElementsAre("sources"));
}

TEST(HUTGuiEventListenerTest, IsToldInOrderOfRegistration) {
    std::vector<std::string> order;
    Listener second("second", [&] { order.emplace_back("second"); });
    Listener first("first", [&] { order.emplace_back("first"); });
    first.addEvent("sources");
    second.addEvent("sources");
    fire("sources");
    EXPECT_THAT(order, ElementsAre("first", "second"));
}

TEST(HUTGuiEventListenerTest, IsForgottenWhenItGoes) {
    Listener stays("stays");
    stays.addEvent("sources");
    {
        Listener goes("goes");
        goes.addEvent("sources");
    }
    fire("sources");
    EXPECT_THAT(stays.heard(), ElementsAre("sources"));
}

TEST(HUTGuiEventListenerTest, MayBeDeletedByAnEarlierOneWhileItWaits) {
    auto later = std::make_unique<Listener>("later");
    Listener earlier("earlier", [&] { later.reset(); });
    earlier.addEvent("sources");
    later->addEvent("sources");
    fire("sources");
    EXPECT_EQ(later, nullptr);
    EXPECT_THAT(earlier.heard(), ElementsAre("sources"));
}

TEST(HUTGuiEventListenerTest, MayLeaveWhileItIsTold) {
    Listener* self = nullptr;
    Listener leaving("leaving", [&] { self->removeAllEvents(); });
    self = &leaving;
    leaving.addEvent("sources");
    fire("sources");
    fire("sources");
    EXPECT_THAT(leaving.heard(), ElementsAre("sources"));
}

}  // namespace
