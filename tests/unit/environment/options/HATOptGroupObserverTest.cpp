// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/options/HATOptGroupObserver.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/options/HATAttrObj.h"
#include "tests/support/thrownText.h"
#include "tests/unit/environment/options/optionFixture.h"

namespace {

using test::CountingObserver;
using test::thrownText;
using ::testing::ElementsAre;

/// Does what it is given when it hears of a change.
class ActingObserver : public HATOptGroupObserver {
public:
    explicit ActingObserver(std::function<void(HATOptGroup*)> action)
        : m_action(std::move(action)) {}

protected:
    void optionsChangedCallback_(HATOptGroup* group) override { m_action(group); }

private:
    std::function<void(HATOptGroup*)> m_action;
};

/// One observer attached to the group.
class HATOptGroupObserverTest : public test::OptionFixture {
protected:
    HATOptGroupObserverTest() { m_group.attach(&m_observer); }

    void change() {
        m_group.setIntVal(m_options.seed, m_group.getIntVal(m_options.seed) + 1, true);
    }

    CountingObserver m_observer;
};

TEST_F(HATOptGroupObserverTest, IsCalledOnceWithTheGroup) {
    change();
    EXPECT_EQ(m_observer.calls(), 1);
    EXPECT_EQ(m_observer.lastGroup(), &m_group);
}

TEST_F(HATOptGroupObserverTest, HearsOfEveryKind) {
    m_group.setBoolVal(m_options.fast, true, true);
    m_group.setIntVal(m_options.seed, 2, true);
    m_group.setLongVal(m_options.memory, 2, true);
    m_group.setStrVal(m_options.top, "cpu", true);
    m_group.setStrListVal(m_options.passes, {"a"}, true);
    m_group.setEnumVal(m_options.mode, "Area", true);
    m_group.setFileVal(m_options.hook, "/x", true);
    EXPECT_EQ(m_observer.calls(), 7);
}

TEST_F(HATOptGroupObserverTest, HearsNothingOfAValueThatStaysAsItIs) {
    m_group.setIntVal(m_options.seed, 1, true);
    m_group.setIntVal(m_options.seed, 5, true);
    m_group.setIntVal(m_options.seed, 5, true);
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, HearsOfAReturnToTheDefault) {
    m_group.setIntVal(m_options.seed, 5, true);
    m_group.setIntVal(m_options.seed, 1, true);
    EXPECT_EQ(m_observer.calls(), 2);
}

TEST_F(HATOptGroupObserverTest, HearsOfAnUnsetValueOnlyWhenItWasSet) {
    m_group.unset(m_options.seed, true);
    EXPECT_EQ(m_observer.calls(), 0);
    change();
    m_group.unset(m_options.seed, true);
    EXPECT_EQ(m_observer.calls(), 2);
}

TEST_F(HATOptGroupObserverTest, HearsNothingWithoutNotify) {
    m_group.setIntVal(m_options.seed, 5, false);
    m_group.unset(m_options.seed, false);
    EXPECT_EQ(m_observer.calls(), 0);
}

TEST_F(HATOptGroupObserverTest, HearsNothingOfARefusedValue) {
    m_group.setEnumVal(m_options.mode, "Other", true);
    m_group.setStrVal(m_options.memory, "much", true);
    EXPECT_EQ(m_observer.calls(), 0);
}

TEST_F(HATOptGroupObserverTest, HearsNothingOfADefaultThatChanges) {
    m_options.seed->setIntDefault(5);
    EXPECT_EQ(m_observer.calls(), 0);
}

TEST_F(HATOptGroupObserverTest, FindsTheNewValueStored) {
    int seen = 0;
    ActingObserver reader([&](HATOptGroup* group) { seen = group->getIntVal(m_options.seed); });
    m_group.attach(&reader);
    m_group.setIntVal(m_options.seed, 5, true);
    EXPECT_EQ(seen, 5);
}

TEST_F(HATOptGroupObserverTest, IsCalledOnceThoughAttachedTwice) {
    m_group.attach(&m_observer);
    change();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, MayBeOneOfSeveralInOrderOfAttachment) {
    std::vector<std::string> heard;
    ActingObserver first([&](HATOptGroup*) { heard.emplace_back("first"); });
    ActingObserver second([&](HATOptGroup*) { heard.emplace_back("second"); });
    m_group.attach(&first);
    m_group.attach(&second);
    change();
    EXPECT_THAT(heard, ElementsAre("first", "second"));
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, MayHearOfSeveralGroups) {
    HATOptGroup other(&m_options.spec);
    other.attach(&m_observer);
    change();
    other.setIntVal(m_options.seed, 9, true);
    EXPECT_EQ(m_observer.calls(), 2);
    EXPECT_EQ(m_observer.lastGroup(), &other);
}

TEST_F(HATOptGroupObserverTest, IsIgnoredWhenNull) {
    m_group.attach(nullptr);
    m_group.detach(nullptr);
    change();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, HearsNothingAfterDetach) {
    m_group.detach(&m_observer);
    m_group.detach(&m_observer);
    change();
    EXPECT_EQ(m_observer.calls(), 0);
}

TEST_F(HATOptGroupObserverTest, MayGoBeforeTheGroup) {
    {
        CountingObserver shortLived;
        m_group.attach(&shortLived);
    }
    change();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, MayOutliveTheGroup) {
    auto group = std::make_unique<HATOptGroup>(&m_options.spec);
    group->attach(&m_observer);
    group.reset();
    change();
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, PassesWhatItThrowsAfterAllWereTold) {
    ActingObserver failing([](HATOptGroup*) { throw std::runtime_error("disk full"); });
    CountingObserver last;
    m_group.attach(&failing);
    m_group.attach(&last);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { m_group.setIntVal(m_options.seed, 5, true); }),
              "disk full");
    EXPECT_EQ(last.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, LeavesTheValueWhenItThrows) {
    ActingObserver failing([](HATOptGroup*) { throw std::runtime_error("disk full"); });
    m_group.attach(&failing);
    EXPECT_THROW(m_group.setIntVal(m_options.seed, 5, true), std::runtime_error);
    EXPECT_EQ(m_group.getIntVal(m_options.seed), 5);
}

TEST_F(HATOptGroupObserverTest, LetsTheFirstOfTwoExceptionsPass) {
    ActingObserver first([](HATOptGroup*) { throw std::runtime_error("first"); });
    ActingObserver second([](HATOptGroup*) { throw std::runtime_error("second"); });
    m_group.attach(&first);
    m_group.attach(&second);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { change(); }), "first");
}

TEST_F(HATOptGroupObserverTest, MayDetachALaterOneWhileItIsTold) {
    CountingObserver later;
    ActingObserver detaching([&](HATOptGroup* group) { group->detach(&later); });
    m_group.attach(&detaching);
    m_group.attach(&later);
    change();
    EXPECT_EQ(later.calls(), 0);
}

TEST_F(HATOptGroupObserverTest, MayAttachAnotherWhileItIsTold) {
    CountingObserver late;
    ActingObserver attaching([&](HATOptGroup* group) { group->attach(&late); });
    m_group.attach(&attaching);
    change();
    EXPECT_EQ(late.calls(), 0);
    change();
    EXPECT_EQ(late.calls(), 1);
}

TEST_F(HATOptGroupObserverTest, MaySetAnotherValueWhileItIsTold) {
    ActingObserver setting(
        [&](HATOptGroup* group) { group->setBoolVal(m_options.fast, true, true); });
    m_group.attach(&setting);
    change();
    EXPECT_TRUE(m_group.getBoolVal(m_options.fast));
    EXPECT_EQ(m_observer.calls(), 2);
}

TEST_F(HATOptGroupObserverTest, IsAttachedToNothingWhenCopied) {
    CountingObserver twin(m_observer);
    change();
    EXPECT_EQ(twin.calls(), 0);
    twin = m_observer;
    change();
    EXPECT_EQ(twin.calls(), 1) << "the count that was assigned, and no call more";
    EXPECT_EQ(m_observer.calls(), 2);
}

TEST_F(HATOptGroupObserverTest, IsCalledThroughItsPublicOperation) {
    m_observer.optionsChangedCallback(&m_group);
    EXPECT_EQ(m_observer.calls(), 1);
}

TEST(HATOptGroupObserverHookTest, DoesNothingUnlessOverridden) {
    class Plain : public HATOptGroupObserver {};
    test::PlaceOptions options;
    HATOptGroup group(&options.spec);
    Plain plain;
    group.attach(&plain);
    EXPECT_NO_THROW(group.setIntVal(options.seed, 5, true));
}

TEST(HATAttrObjTest, LetsWhatDerivesFromItGoThroughIt) {
    static bool gone = false;
    class Derived : public HATAttrObj {
    public:
        ~Derived() override { gone = true; }
    };
    std::unique_ptr<HATAttrObj>(new Derived).reset();
    EXPECT_TRUE(gone);
}

}  // namespace
