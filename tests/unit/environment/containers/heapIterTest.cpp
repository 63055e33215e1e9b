// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/containers/heapIter.h"

#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/containers/HSTSList.h"
#include "environment/containers/HSTVector.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// All that an iterator gives; the iterator goes with it.
template <class T> std::vector<T> drain(HSTFwdIter<T>* ownedIter) {
    const std::unique_ptr<HSTFwdIter<T>> iter(ownedIter);
    std::vector<T> elements;
    while (iter->hasNext())
        elements.push_back(iter->next());
    return elements;
}

struct Base {
    virtual ~Base() = default;
};
struct Derived : Base {};

TEST(HeapIterTest, GivesTheElementsInOrder) {
    const HSTVector<int> numbers = {3, 1, 2};
    EXPECT_THAT(drain(containers::heapIter<int>(numbers)), ElementsAre(3, 1, 2));
}

TEST(HeapIterTest, WalksAListAsItWalksAVector) {
    const HSTSList<std::string> names = {"b", "a"};
    EXPECT_THAT(drain(containers::heapIter<std::string>(names)), ElementsAre("b", "a"));
}

TEST(HeapIterTest, HasNoElementWhenTheContainerIsEmpty) {
    const std::vector<int> none;
    const std::unique_ptr<HSTFwdIter<int>> iter(containers::heapIter<int>(none));
    ASSERT_NE(iter, nullptr);
    EXPECT_FALSE(iter->hasNext());
}

TEST(HeapIterTest, HasNoElementLeftBehindTheLast) {
    const std::vector<int> one = {1};
    const std::unique_ptr<HSTFwdIter<int>> iter(containers::heapIter<int>(one));
    EXPECT_TRUE(iter->hasNext());
    EXPECT_TRUE(iter->hasNext()) << "asking moves nothing";
    EXPECT_EQ(iter->next(), 1);
    EXPECT_FALSE(iter->hasNext());
}

TEST(HeapIterTest, MayBeDroppedHalfWay) {
    const std::vector<int> numbers = {1, 2, 3};
    const std::unique_ptr<HSTFwdIter<int>> iter(containers::heapIter<int>(numbers));
    EXPECT_EQ(iter->next(), 1);
}

TEST(HeapIterTest, WalksInPlace) {
    std::vector<int> numbers = {1, 2};
    const std::unique_ptr<HSTFwdIter<int>> iter(containers::heapIter<int>(numbers));
    EXPECT_EQ(iter->next(), 1);
    numbers[1] = 7;
    EXPECT_EQ(iter->next(), 7);
}

TEST(HeapIterTest, GivesDerivedObjectsAsTheirBase) {
    Derived object;
    const std::vector<Derived*> objects = {&object};
    EXPECT_THAT(drain(containers::heapIter<const Base*>(objects)), ElementsAre(&object));
}

TEST(HeapIterTest, GivesWhatSmartPointersPointTo) {
    std::vector<std::unique_ptr<Derived>> owned;
    owned.push_back(std::make_unique<Derived>());
    owned.push_back(std::make_unique<Derived>());
    EXPECT_THAT(drain(containers::heapIterOfOwned<Derived*>(owned)),
                ElementsAre(owned[0].get(), owned[1].get()));
}

TEST(HeapIterTest, OfOwnedObjectsIsEmptyWithThem) {
    const std::list<std::unique_ptr<Derived>> none;
    EXPECT_THAT(drain(containers::heapIterOfOwned<Derived*>(none)), IsEmpty());
}

TEST(HeapIterTest, OfACopyOutlivesTheContainer) {
    auto numbers = std::make_unique<std::vector<int>>(std::vector<int>{1, 2});
    HSTFwdIter<int>* iter = containers::heapIterOfCopy<int>(*numbers);
    numbers.reset();
    EXPECT_THAT(drain(iter), ElementsAre(1, 2));
}

TEST(HeapIterTest, OfACopyMissesWhatIsAddedMeanwhile) {
    std::list<std::string> names = {"a"};
    HSTFwdIter<std::string>* iter = containers::heapIterOfCopy<std::string>(names);
    names.emplace_back("b");
    EXPECT_THAT(drain(iter), ElementsAre("a"));
}

TEST(HeapIterTest, OfAnEmptyCopyHasNoElement) {
    EXPECT_THAT(drain(containers::heapIterOfCopy<int>(std::vector<int>())), IsEmpty());
}

TEST(HeapKeyIterTest, GivesTheKeysInTheOrderOfTheTable) {
    const std::map<std::string, int> table = {{"b", 2}, {"a", 1}};
    const std::unique_ptr<HSTFwdKeyIter<std::string>> keys(
        containers::heapKeyIter<std::string>(table));
    EXPECT_EQ(keys->next(), "a");
    EXPECT_EQ(keys->next(), "b");
    EXPECT_FALSE(keys->hasNext());
}

TEST(HeapKeyIterTest, HasNoKeyForAnEmptyTable) {
    const std::map<std::string, int> none;
    const std::unique_ptr<HSTFwdKeyIter<std::string>> keys(
        containers::heapKeyIter<std::string>(none));
    EXPECT_FALSE(keys->hasNext());
}

TEST(HeapKeyValIterTest, GivesTheEntriesInTheOrderOfTheTable) {
    Derived object;
    const std::map<std::string, Derived*> table = {{"b", &object}, {"a", nullptr}};
    const std::unique_ptr<HSTKeyValIter<std::string, Base*>> entries(
        containers::heapKeyValIter<std::string, Base*>(table));
    EXPECT_THAT(entries->next(), Pair("a", nullptr));
    EXPECT_THAT(entries->next(), Pair("b", &object));
    EXPECT_FALSE(entries->hasNext());
}

TEST(HeapKeyValIterTest, HasNoEntryForAnEmptyTable) {
    const std::map<int, int> none;
    const std::unique_ptr<HSTKeyValIter<int, int>> entries(
        containers::heapKeyValIter<int, int>(none));
    EXPECT_FALSE(entries->hasNext());
}

}  // namespace
