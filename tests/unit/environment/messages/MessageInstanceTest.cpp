// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/ComMsgMgrInstance.h"

#include <climits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXError.h"

namespace {

using Args = HSTVector<ComMsgMgrArg>;

ComMsgMgrInstance unmakeable(const std::string& folder) {
    return ComMsgMgrInstance("runs", ComMsgMgr::kError, "@36-66@%s", folder);
}

const char kUnmakeableText[] =
    "The run directory /r/impl_1 can't be made; the run keeps the directory it had. Check that "
    "its parent is a folder that you may write to and that the disk has room.";

TEST(MessageInstanceTest, TakesItsTextFromTheCatalogue) {
    EXPECT_EQ(unmakeable("/r/impl_1").getText(), kUnmakeableText);
}

TEST(MessageInstanceTest, KnowsWhatItWasMadeOf) {
    const ComMsgMgrInstance message = unmakeable("/r/impl_1");
    EXPECT_EQ(message.getId(), "36-66");
    EXPECT_EQ(message.getDomain(), "runs");
    EXPECT_EQ(message.getMask(), ComMsgMgr::kError);
    EXPECT_EQ(message.getArgs(), std::vector<std::string>{"/r/impl_1"});
    EXPECT_TRUE(message.isAsCatalogued());
}

TEST(MessageInstanceTest, ShowsSeverityAndIdInFrontOfTheText) {
    EXPECT_EQ(unmakeable("/r/impl_1").getDisplayText(),
              std::string("ERROR [36-66] ") + kUnmakeableText);
}

TEST(MessageInstanceTest, IsTheSameWhenAFunctionMakesIt) {
    const ComMsgMgrInstance message = ComMsgMgrInstance::createInstance::eval(
        "project", ComMsgMgr::kError, "@1-126@%s%d%s", "a.psg", 7, "no end tag");
    EXPECT_EQ(message.getText(), "a.psg, line 7: no end tag. Correct the file there, or put a good "
                                 "copy in its place, and read it again.");
    EXPECT_TRUE(message.isAsCatalogued());
}

TEST(MessageInstanceTest, GivesAnErrorItsTextAndId) {
    const HEXError error(unmakeable("/r/impl_1"));
    EXPECT_STREQ(error.what(), kUnmakeableText);
    EXPECT_EQ(error.getMsgId(), "36-66");
}

TEST(MessageInstanceTest, WritesWholeNumbersOfEverySizeInDecimal) {
    const ComMsgMgrInstance message("runs", ComMsgMgr::kWarning, "@36-390@%s%d%d", "drc",
                                    static_cast<signed char>(-56), LONG_MIN);
    EXPECT_EQ(message.getArgs(),
              (std::vector<std::string>{"drc", "-56", std::to_string(LONG_MIN)}));
    EXPECT_TRUE(message.isAsCatalogued());
}

TEST(MessageInstanceTest, TakesANullTextAsEmpty) {
    const char* const none = nullptr;
    const ComMsgMgrInstance message("runs", ComMsgMgr::kInfo, "@36-381@%s", none);
    EXPECT_EQ(message.getText(), "Run scripts are taken from .");
}

TEST(MessageInstanceTest, LeavesBracesOfAnArgumentAsTheyAre) {
    const ComMsgMgrInstance message("runs", ComMsgMgr::kInfo, "@36-381@%s", "{1} {x} %s @1-2@");
    EXPECT_EQ(message.getText(), "Run scripts are taken from {1} {x} %s @1-2@.");
}

TEST(MessageInstanceTest, EndsWithoutABlankWhenTheLastArgumentIsEmpty) {
    const ComMsgMgrInstance message("runs", ComMsgMgr::kInfo, "@36-46@%s%s%s%s", "OPTIONS",
                                    "effort", "impl_1", "");
    EXPECT_EQ(message.getText(), "Option effort of OPTIONS is left out of run impl_1.");
}

/// A message that doesn't fit the catalogue, and the text that it gives.
struct MisfitCase {
    const char* name;
    const char* domain;
    ComMsgMgr::MsgMask mask;
    const char* format;
    Args args;
    const char* text;
};

std::ostream& operator<<(std::ostream& os, const MisfitCase& row) {
    return os << row.name;
}

class MessageMisfitTable : public ::testing::TestWithParam<MisfitCase> {};

TEST_P(MessageMisfitTable, GivesAReadableText) {
    const MisfitCase& row = GetParam();
    const ComMsgMgrInstance message(row.domain, row.mask, row.format, row.args);
    EXPECT_EQ(message.getText(), row.text);
    EXPECT_FALSE(message.isAsCatalogued());
}

const ComMsgMgrArg kPath("f.txt");
const ComMsgMgrArg kExtra("more");
const ComMsgMgrArg kSeven(7);

INSTANTIATE_TEST_SUITE_P(
    Misfits, MessageMisfitTable,
    ::testing::Values(
        MisfitCase{"ArgumentMissing",
                   "runs",
                   ComMsgMgr::kInfo,
                   "@36-381@%s",
                   {},
                   "Run scripts are taken from ?."},
        MisfitCase{"ArgumentTooMany",
                   "runs",
                   ComMsgMgr::kInfo,
                   "@36-381@%s",
                   {kPath, kExtra, kSeven},
                   "Run scripts are taken from f.txt. (more, 7)"},
        MisfitCase{"NumberForText",
                   "runs",
                   ComMsgMgr::kInfo,
                   "@36-381@%s",
                   {kSeven},
                   "Run scripts are taken from 7."},
        MisfitCase{"FormatOfAnotherKind",
                   "runs",
                   ComMsgMgr::kInfo,
                   "@36-381@%d",
                   {kPath},
                   "Run scripts are taken from f.txt."},
        MisfitCase{"OtherDomain",
                   "project",
                   ComMsgMgr::kInfo,
                   "@36-381@%s",
                   {kPath},
                   "Run scripts are taken from f.txt."},
        MisfitCase{"OtherSeverity",
                   "runs",
                   ComMsgMgr::kError,
                   "@36-381@%s",
                   {kPath},
                   "Run scripts are taken from f.txt."},
        MisfitCase{"NoDomain",
                   nullptr,
                   ComMsgMgr::kInfo,
                   "@36-381@%s",
                   {kPath},
                   "Run scripts are taken from f.txt."},
        MisfitCase{"UnknownId",
                   "runs",
                   ComMsgMgr::kInfo,
                   "@99-1@%s%d",
                   {kPath, kSeven},
                   "Message 99-1: f.txt, 7"},
        MisfitCase{"UnknownIdBare", "runs", ComMsgMgr::kInfo, "@99-1@", {}, "Message 99-1"},
        MisfitCase{"NoId", "runs", ComMsgMgr::kInfo, "%s", {kPath}, "Message: f.txt"},
        MisfitCase{"IdWithoutEnd", "runs", ComMsgMgr::kInfo, "@36-381", {kPath}, "Message: f.txt"},
        MisfitCase{"NoFormat", "runs", ComMsgMgr::kInfo, nullptr, {}, "Message"}),
    [](const auto& row) { return std::string(row.param.name); });

struct SeverityCase {
    ComMsgMgr::MsgMask mask;
    int value;
    const char* name;
};

std::ostream& operator<<(std::ostream& os, const SeverityCase& row) {
    return os << row.name;
}

class MessageSeverityTable : public ::testing::TestWithParam<SeverityCase> {};

TEST_P(MessageSeverityTable, HasItsValueAndName) {
    EXPECT_EQ(static_cast<int>(GetParam().mask), GetParam().value);
    EXPECT_STREQ(ComMsgMgr::getSeverityName(GetParam().mask), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Severities, MessageSeverityTable,
                         ::testing::Values(SeverityCase{ComMsgMgr::kInfo, 0x4000000, "INFO"},
                                           SeverityCase{ComMsgMgr::kWarning, 0x8000000, "WARNING"},
                                           SeverityCase{ComMsgMgr::kCriticalWarning, 0x10000000,
                                                        "CRITICAL WARNING"},
                                           SeverityCase{ComMsgMgr::kError, 0x20000000, "ERROR"}));

/// A message as the library sends it.
struct SentCase {
    const char* domain;
    ComMsgMgr::MsgMask mask;
    const char* format;
};

std::ostream& operator<<(std::ostream& os, const SentCase& row) {
    return os << row.format;
}

class MessageCatalogueTable : public ::testing::TestWithParam<SentCase> {};

/// A text for each %s, a number for each %d.
Args argsFor(const std::string& format) {
    Args args;
    for (std::size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at + 1))
        args.push_back(format[at + 1] == 'd' ? ComMsgMgrArg(4711) : ComMsgMgrArg("some-word"));
    return args;
}

TEST_P(MessageCatalogueTable, HasATextThatShowsEachArgument) {
    const SentCase& row = GetParam();
    const Args args = argsFor(row.format);
    const ComMsgMgrInstance message(row.domain, row.mask, row.format, args);
    EXPECT_TRUE(message.isAsCatalogued());
    std::size_t shown = 0;
    for (const char* word : {"some-word", "4711"})
        for (std::size_t at = message.getText().find(word); at != std::string::npos;
             at = message.getText().find(word, at + 1))
            ++shown;
    EXPECT_GE(shown, args.size()) << message.getText();
    EXPECT_EQ(message.getText().find('?'), std::string::npos) << message.getText();
}

INSTANTIATE_TEST_SUITE_P(
    Runs, MessageCatalogueTable,
    ::testing::Values(SentCase{"runs", ComMsgMgr::kCriticalWarning, "@36-16@%s"},
                      SentCase{"runs", ComMsgMgr::kInfo, "@36-46@%s%s%s%s"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-66@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-136@%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-137@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-343@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-377@%s"},
                      SentCase{"runs", ComMsgMgr::kInfo, "@36-381@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-382@%s"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-383@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-525@%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-526@%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-546@%s%s%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-547@%s%s%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-548@%s%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-549@%s%s%s"},
                      SentCase{"runs", ComMsgMgr::kInfo, "@36-555@%s"},
                      SentCase{"runs", ComMsgMgr::kInfo, "@36-556@%s"},
                      SentCase{"runs", ComMsgMgr::kInfo, "@36-557@%s"}));

INSTANTIATE_TEST_SUITE_P(
    Reports, MessageCatalogueTable,
    ::testing::Values(SentCase{"runs", ComMsgMgr::kError, "@36-367@%s"},
                      SentCase{"runs", ComMsgMgr::kCriticalWarning, "@36-368@%s%s"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-369@"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-370@%s%s"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-371@%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-372@%s"},
                      SentCase{"runs", ComMsgMgr::kError, "@36-376@"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-380@%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-388@%s%s%s%d%d"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-389@%s%s%d%d"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-390@%s%d%d"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-393@%s%s"},
                      SentCase{"runs", ComMsgMgr::kWarning, "@36-394@%s%s%s"}));

INSTANTIATE_TEST_SUITE_P(XmlFiles, MessageCatalogueTable,
                         ::testing::Values(SentCase{"project", ComMsgMgr::kError, "@1-126@%s%d%s"},
                                           SentCase{"project", ComMsgMgr::kError, "@1-202@%s"},
                                           SentCase{"project", ComMsgMgr::kError, "@1-508@%s%s"}));

}  // namespace
