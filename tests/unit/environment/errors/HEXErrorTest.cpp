// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/errors/HEXError.h"

#include <cerrno>
#include <exception>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "environment/errors/HCTThreadException.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXAll.h"
#include "environment/errors/HEXDataException.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HTCErrors.h"
#include "environment/errors/HXMLException.h"
#include "environment/messages/ComMsgMgrInstance.h"

namespace {

/// A message whose id no catalogue has.
ComMsgMgrInstance message() {
    return ComMsgMgrInstance("environment", ComMsgMgr::kError, "@99-1@%s", "run1");
}

/// Every class that is built from one text or from a message.
template <class Exception> class HEXErrorClassTest : public ::testing::Test {};

struct ClassNames {
    template <class Exception> static std::string GetName(int) {
        return ::testing::internal::GetTypeName<Exception>();
    }
};

using Classes = ::testing::Types<HEXAll, HEXError, HEXAlgException, HEXDataException,
                                 HEXFileNotFoundException, HEXUserException, HXMLException>;
TYPED_TEST_SUITE(HEXErrorClassTest, Classes, ClassNames);

TYPED_TEST(HEXErrorClassTest, CarriesItsText) {
    const TypeParam error("no such run \"a\" 100%s");
    EXPECT_STREQ(error.what(), "no such run \"a\" 100%s");
    EXPECT_EQ(error.getMsgId(), "");
}

TYPED_TEST(HEXErrorClassTest, CarriesTextAndIdOfAMessage) {
    const TypeParam error(message());
    EXPECT_EQ(error.what(), message().getText());
    EXPECT_EQ(error.getMsgId(), "99-1");
}

TYPED_TEST(HEXErrorClassTest, IsCaughtAsTheRootAndAsAStandardException) {
    EXPECT_THROW(throw TypeParam("x"), HEXAll);
    EXPECT_THROW(throw TypeParam("x"), std::exception);
}

TYPED_TEST(HEXErrorClassTest, KeepsItsTextWhenCopied) {
    TypeParam copy("before");
    {
        const TypeParam original("a text that is kept");
        copy = original;
    }
    EXPECT_STREQ(copy.what(), "a text that is kept");
}

TYPED_TEST(HEXErrorClassTest, IsNotMadeFromATextByAccident) {
    EXPECT_FALSE((std::is_convertible_v<std::string, TypeParam>));
}

TYPED_TEST(HEXErrorClassTest, PrintsItsTextAndALineEndToStandardError) {
    const TypeParam error("disk full: 100%");
    ::testing::internal::CaptureStderr();
    error.print();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "disk full: 100%\n");
}

TEST(HEXErrorTest, IsTheBaseOfEveryOtherClass) {
    EXPECT_TRUE((std::is_base_of_v<HEXAll, HEXError>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HEXAlgException>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HEXDataException>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HEXFileNotFoundException>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HEXUserException>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HXMLException>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HTCErrors::error>));
    EXPECT_TRUE((std::is_base_of_v<HEXError, HCTThreadException>));
}

TEST(HTCErrorsTest, CarriesATextAndTclsErrorCode) {
    const HTCErrors::error error("no run \"a\"", "XP RUN NOTFOUND");
    EXPECT_STREQ(error.what(), "no run \"a\"");
    EXPECT_EQ(error.getErrorCode(), "XP RUN NOTFOUND");
}

TEST(HTCErrorsTest, CarriesAMessageAndTclsErrorCode) {
    const HTCErrors::error error(message(), "");
    EXPECT_EQ(error.what(), message().getText());
    EXPECT_EQ(error.getMsgId(), "99-1");
    EXPECT_EQ(error.getErrorCode(), "");
}

TEST(HCTThreadExceptionTest, CarriesTheErrorNumberAndWhatWasTried) {
    const HCTThreadException error("Mutex lock", EDEADLK);
    EXPECT_EQ(error.getErrorNumber(), EDEADLK);
    EXPECT_EQ(std::string(error.what()).rfind("Mutex lock failed: ", 0), 0U) << error.what();
}

}  // namespace
