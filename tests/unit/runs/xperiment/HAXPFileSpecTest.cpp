// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFileSpec.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/drain.h"

namespace {

constexpr const char* kLower = "01234567-89ab-cdef-0123-456789abcdef";
constexpr const char* kUpper = "01234567-89AB-CDEF-0123-456789ABCDEF";

TEST(FileTypeTest, IsNilAndEmptyAtFirst) {
    const HAXPFileType type;
    EXPECT_TRUE(type.getUuid().is_nil());
    EXPECT_EQ(type.getUniversalId(), "");
    EXPECT_EQ(type.getName(), "");
    EXPECT_EQ(type.getHash(), 0U);
}

TEST(FileTypeTest, KeepsTheUniversalIdAsGiven) {
    const HAXPFileType type(kUpper, "Report");
    EXPECT_EQ(type.getUniversalId(), kUpper);
    EXPECT_EQ(type.getName(), "Report");
    EXPECT_EQ(type.getUuid(), HAXPFileType(kLower, "").getUuid());
}

TEST(FileTypeTest, TakesAnEmptyUniversalIdForNil) {
    const HAXPFileType type("", "Report");
    EXPECT_TRUE(type.getUuid().is_nil());
    EXPECT_EQ(type.getName(), "Report");
}

TEST(FileTypeTest, RefusesWhatIsNoUuid) {
    try {
        const HAXPFileType type("zz", "Report");
        FAIL() << "zz was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "invalid uuid string");
    }
}

TEST(FileTypeTest, DrawsAnIdOfItsOwnWhenBuiltFromAName) {
    const HAXPFileType type("Report");
    EXPECT_EQ(type.getName(), "Report");
    EXPECT_FALSE(type.getUuid().is_nil());
    EXPECT_EQ(HAXPFileType(type.getUniversalId(), "").getUuid(), type.getUuid());
    EXPECT_FALSE(type == HAXPFileType("Report"));
}

TEST(FileTypeTest, CopiesAllOfIt) {
    const HAXPFileType type(kUpper, "Report");
    HAXPFileType assigned;
    assigned = type;
    for (const HAXPFileType& copy : {HAXPFileType(type), assigned}) {
        EXPECT_EQ(copy.getUuid(), type.getUuid());
        EXPECT_EQ(copy.getUniversalId(), kUpper);
        EXPECT_EQ(copy.getName(), "Report");
    }
}

TEST(FileTypeTest, EqualsOneWithTheSameIdInOtherCase) {
    const HAXPFileType lower(kLower, "a");
    const HAXPFileType upper(kUpper, "b");
    EXPECT_TRUE(lower == upper);
    EXPECT_FALSE(lower != upper);
    EXPECT_EQ(lower.getHash(), upper.getHash());
}

TEST(FileTypeTest, DiffersFromTheSameUuidInAnotherForm) {
    EXPECT_FALSE(HAXPFileType(kLower, "") == HAXPFileType("0123456789abcdef0123456789abcdef", ""));
}

TEST(FileTypeTest, HashesTheUpperCaseIdToThirtyTwoBits) {
    std::uint32_t expected = 0;
    for (const char c : std::string(kUpper))
        expected = expected * 5 + static_cast<unsigned char>(c);
    EXPECT_EQ(HAXPFileType(kLower, "").getHash(), expected);
    EXPECT_EQ(HAXPFileType("00000000000000000000000000000000", "").getHash(), 1142635008U);
}

TEST(FileTypeTest, IsOrderedByHash) {
    const HAXPFileType low("00000000000000000000000000000000", "");
    const HAXPFileType high("00000000000000000000000000000001", "");
    ASSERT_EQ(high.getHash(), low.getHash() + 1);
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
    EXPECT_TRUE(high > low);
    EXPECT_FALSE(low > high);
}

TEST(FileTypeTest, IsNeitherLessNorGreaterThanAnotherEmptyOne) {
    const HAXPFileType first;
    const HAXPFileType second("", "name");
    EXPECT_FALSE(first < second);
    EXPECT_FALSE(first > second);
    EXPECT_TRUE(first == second);
}

TEST(FileSpecTest, HasItsDefaults) {
    const HAXPFileSpec spec("timing");
    EXPECT_EQ(spec.getName(), "timing");
    EXPECT_EQ(spec.getDescription(), "");
    EXPECT_EQ(spec.getId(), -1);
    EXPECT_FALSE(spec.checkLowerCase());
    EXPECT_EQ(spec.fileTypeCount(), 0);
    EXPECT_EQ(spec.fileTypeCountUniversal(), 0);
}

TEST(FileSpecTest, KeepsWhatIsSet) {
    HAXPFileSpec spec("timing");
    spec.setDescription("Timing of the routed design");
    spec.setId(4);
    spec.setLowerCaseCheck(true);
    EXPECT_EQ(spec.getDescription(), "Timing of the routed design");
    EXPECT_EQ(spec.getId(), 4);
    EXPECT_TRUE(spec.checkLowerCase());
}

TEST(FileSpecTest, KeepsFileTypesInOrderWithDuplicates) {
    HAXPFileSpec spec("timing");
    spec.addFileType(HAXPTypes::FILE_ROUTE_DRC);
    spec.addFileType(HAXPTypes::FILE_OPT_DRC);
    spec.addFileType(HAXPTypes::FILE_ROUTE_DRC);
    const std::vector<HAXPTypes::FileType> expected = {
        HAXPTypes::FILE_ROUTE_DRC, HAXPTypes::FILE_OPT_DRC, HAXPTypes::FILE_ROUTE_DRC};
    EXPECT_EQ(spec.fileTypeCount(), 3);
    EXPECT_EQ(test::drain(spec.createFileTypeIter()), expected);
    EXPECT_EQ(spec.getFileTypes(), expected);
}

TEST(FileSpecTest, HasAnEmptyIteratorAndRangeAtFirst) {
    const HAXPFileSpec spec("timing");
    EXPECT_TRUE(test::drain(spec.createFileTypeIter()).empty());
    const auto range = spec.createUniversalFileTypeRange();
    EXPECT_TRUE(range.first == range.second);
}

TEST(FileSpecTest, TakesAUniversalTypeOnce) {
    HAXPFileSpec spec("timing");
    const HAXPFileType type(kLower, "Report");
    spec.addFileType(type);
    spec.addFileType(type);
    EXPECT_EQ(spec.fileTypeCountUniversal(), 1);
    EXPECT_EQ(spec.fileTypeCount(), 0);
}

TEST(FileSpecTest, KeepsTheFirstOfTwoUniversalTypesWithOneHash) {
    HAXPFileSpec spec("timing");
    // One more before the last counts as much as five less at the end.
    const HAXPFileType first("01234567-89ab-cdef-0123-456789abcd16", "first");
    const HAXPFileType second("01234567-89ab-cdef-0123-456789abcd21", "second");
    ASSERT_EQ(first.getHash(), second.getHash());
    ASSERT_FALSE(first == second);
    spec.addFileType(first);
    spec.addFileType(second);
    ASSERT_EQ(spec.fileTypeCountUniversal(), 1);
    EXPECT_EQ(spec.createUniversalFileTypeRange().first->getName(), "first");
}

TEST(FileSpecTest, GivesUniversalTypesInOrderOfTheirHashes) {
    HAXPFileSpec spec("timing");
    for (const char* id : {"00000000000000000000000000000003", "00000000000000000000000000000001",
                           "00000000000000000000000000000002"})
        spec.addFileType(HAXPFileType(id, std::string(1, id[31])));
    std::string names;
    const auto range = spec.createUniversalFileTypeRange();
    for (auto at = range.first; at != range.second; ++at)
        names += at->getName();
    EXPECT_EQ(names, "123");
}

}  // namespace
