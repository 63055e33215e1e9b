// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/observers/HUTDirtyObserver.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "environment/observers/HUTDirtyNotifier.h"
#include "tests/support/thrownText.h"

namespace {

using test::thrownText;

class Observer : public HUTDirtyObserver {
public:
    explicit Observer(std::function<void()> action = [] {}) : m_action(std::move(action)) {}
    ~Observer() noexcept override {}

    using HUTDirtyObserver::setDirtyCallbackAndFireEvent_;
    int calls() const { return m_calls; }

protected:
    void setDirtyCallback_() override {
        ++m_calls;
        m_action();
    }

private:
    std::function<void()> m_action;
    int m_calls = 0;
};

class Notifier : public HUTDirtyNotifier {};

/// A notifier with one observer.
class HUTDirtyNotifierTest : public ::testing::Test {
protected:
    HUTDirtyNotifierTest() { m_notifier.attachDirtyObserver(&m_observer); }

    Observer m_observer;
    Notifier m_notifier;
};

TEST(HUTDirtyObserverTest, CallsItsHookEveryTime) {
    Observer observer;
    observer.setDirty();
    observer.setDirty();
    EXPECT_EQ(observer.calls(), 2);
}

TEST(HUTDirtyObserverTest, CallsItsHookForTheOneThatFiresAnEventToo) {
    Observer observer;
    observer.setDirtyCallbackAndFireEvent_(true);
    observer.setDirtyCallbackAndFireEvent_(false);
    EXPECT_EQ(observer.calls(), 2);
}

TEST(HUTDirtyObserverTest, DoesNothingWithoutAnOverride) {
    class Plain : public HUTDirtyObserver {};
    Plain plain;
    EXPECT_NO_THROW(plain.setDirty());
}

TEST_F(HUTDirtyNotifierTest, MakesItsObserverDirtyEveryTime) {
    m_notifier.setDirty();
    m_notifier.setDirty();
    EXPECT_EQ(m_observer.calls(), 2);
}

TEST_F(HUTDirtyNotifierTest, TellsAnObserverOnceThoughAttachedTwice) {
    m_notifier.attachDirtyObserver(&m_observer);
    m_notifier.setDirty();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HUTDirtyNotifierTest, IgnoresNullAndStrangers) {
    Observer stranger;
    m_notifier.attachDirtyObserver(nullptr);
    m_notifier.detachDirtyObserver(nullptr);
    m_notifier.detachDirtyObserver(&stranger);
    m_notifier.setDirty();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HUTDirtyNotifierTest, TellsADetachedObserverNoLonger) {
    m_notifier.detachDirtyObserver(&m_observer);
    m_notifier.setDirty();
    EXPECT_EQ(m_observer.calls(), 0);
}

TEST_F(HUTDirtyNotifierTest, LetsAnObserverDetachALaterOne) {
    Observer later;
    Observer detaching([&] { m_notifier.detachDirtyObserver(&later); });
    m_notifier.attachDirtyObserver(&detaching);
    m_notifier.attachDirtyObserver(&later);
    m_notifier.setDirty();
    EXPECT_EQ(later.calls(), 0);
}

TEST_F(HUTDirtyNotifierTest, PassesWhatAnObserverThrowsAfterAllWereTold) {
    Observer failing([] { throw std::runtime_error("disk full"); });
    Observer last;
    m_notifier.attachDirtyObserver(&failing);
    m_notifier.attachDirtyObserver(&last);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { m_notifier.setDirty(); }), "disk full");
    EXPECT_EQ(last.calls(), 1);
}

}  // namespace
