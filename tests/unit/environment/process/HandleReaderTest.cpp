// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "environment/process/HUTProcHandleXMLParser.h"
#include "environment/process/HUTProcessHandle.h"
#include "tests/support/RunDir.h"

namespace {

const std::string kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string kIdentity =
    "Host=\"node7\" Owner=\"jane\" Uid=\"1000\" Pid=\"4242\" Pgid=\"4243\" StartTicks=\"918273\" "
    "BootId=\"6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11\" PidNamespace=\"4026531836\"";

std::string record(const std::string& identity, const std::string& command = "/bin/place") {
    return kHead + "<ProcessHandle Version=\"1\" Minor=\"0\">\n  <Process " + identity +
           "/>\n  <Command>" + command + "</Command>\n</ProcessHandle>\n";
}

/// The handle that is filled from the file "marker".
class HandleReaderTest : public ::testing::Test {
protected:
    bool read(const std::string& content) {
        m_dir.mark("marker", content);
        return HUTProcHandleXMLParser().parsePH(m_dir.path("marker"), &m_handle);
    }

    void expectNothing(const std::string& content) {
        EXPECT_FALSE(read(content)) << content;
        EXPECT_FALSE(m_handle.isComplete()) << content;
        EXPECT_FALSE(m_handle.isPartialComplete()) << content;
    }

    std::string host() const {
        std::string text;
        m_handle.getHostname(text);
        return text;
    }

    std::string command() const {
        std::string text;
        m_handle.getCommand(text);
        return text;
    }

    test::RunDir m_dir;
    HUTProcessHandle m_handle;
};

TEST_F(HandleReaderTest, GivesTheWholeRecord) {
    EXPECT_TRUE(read(record(kIdentity)));
    EXPECT_TRUE(m_handle.isComplete());
    EXPECT_TRUE(m_handle.isPartialComplete());
    std::string text;
    EXPECT_EQ(host(), "node7");
    m_handle.getUser(text);
    EXPECT_EQ(text, "jane");
    EXPECT_EQ(m_handle.getUid(), 1000);
    EXPECT_EQ(m_handle.getPid(), 4242);
    EXPECT_EQ(m_handle.getGroup(), 4243);
    EXPECT_EQ(m_handle.getStartTicks(), 918273U);
    m_handle.getBootId(text);
    EXPECT_EQ(text, "6d1f0a52-88c4-4b0e-9d1e-0f6c2b7a4e11");
    m_handle.getPidNamespace(text);
    EXPECT_EQ(text, "4026531836");
    EXPECT_EQ(command(), "/bin/place");
}

TEST_F(HandleReaderTest, GivesTheLaunchOfTheProcess) {
    std::string launch = "before";
    EXPECT_TRUE(read(record(kIdentity)));
    m_handle.getLaunch(launch);
    EXPECT_EQ(launch, "");
    EXPECT_TRUE(read(kHead + "<ProcessHandle Version=\"1\" Minor=\"1\" Launch=\"a-1\"><Process " +
                     kIdentity + "/><Command>place</Command></ProcessHandle>"));
    m_handle.getLaunch(launch);
    EXPECT_EQ(launch, "a-1");
}

TEST_F(HandleReaderTest, ReadsNothingOfAFileOfAGigabyte) {
    // The disk holds its beginning alone.
    m_dir.mark("marker", record(kIdentity));
    ASSERT_EQ(::truncate(m_dir.path("marker").c_str(), off_t{1} << 30), 0);
    EXPECT_FALSE(HUTProcHandleXMLParser().parsePH(m_dir.path("marker"), &m_handle));
    EXPECT_FALSE(m_handle.isPartialComplete());
}

TEST_F(HandleReaderTest, NotesTheFolderOfTheFile) {
    EXPECT_TRUE(read(record(kIdentity)));
    std::string folder;
    m_handle.getFolder(folder);
    EXPECT_EQ(folder, m_dir.path());
}

TEST_F(HandleReaderTest, CountsEachAttempt) {
    HUTProcHandleXMLParser parser;
    parser.parsePH(m_dir.path("missing"), &m_handle);
    EXPECT_EQ(m_handle.parseAttemptsCount(), 1);
    read("");
    EXPECT_EQ(m_handle.parseAttemptsCount(), 2);
    read(record(kIdentity));
    EXPECT_EQ(m_handle.parseAttemptsCount(), 3);
}

TEST_F(HandleReaderTest, ReadsReferencesAndSections) {
    EXPECT_TRUE(read(record("Host=\"a&amp;b&lt;&quot;&#65;\" Owner=\"j\" StartTime=\"5\"",
                            "x &amp; &lt;y&gt; &#10;<![CDATA[<z>]]>&#xe4;")));
    EXPECT_EQ(host(), "a&b<\"A");
    EXPECT_EQ(command(), "x & <y> \n<z>\xc3\xa4");
}

TEST_F(HandleReaderTest, IsCompleteWithoutAPidWhereTheWriterCanNotKnowIt) {
    EXPECT_TRUE(read(record("Host=\"pc\" Owner=\"jane\" StartTime=\"1000000001\"")));
    EXPECT_TRUE(m_handle.isComplete());
    EXPECT_FALSE(m_handle.isPartialComplete());
    EXPECT_EQ(m_handle.getStartTime(), 1000000001);
}

TEST_F(HandleReaderTest, IsCompleteWithoutTheNamespaceOfAnOlderHost) {
    EXPECT_TRUE(read(record(kIdentity.substr(0, kIdentity.find(" PidNamespace")))));
}

TEST_F(HandleReaderTest, PassesOverWhatALaterVersionAdds) {
    EXPECT_TRUE(read(kHead +
                     "<ProcessHandle Version=\"1\" Minor=\"9\" X=\"y\"><New><Pid/></New>"
                     "<Process " +
                     kIdentity +
                     " Z=\"1\"><Deep/></Process>"
                     "<Command>c<b>d</b></Command></ProcessHandle>"));
    EXPECT_EQ(m_handle.getPid(), 4242);
}

TEST_F(HandleReaderTest, StaysPartialWhenSomethingIsMissing) {
    EXPECT_FALSE(read(record("Host=\"node7\" Pid=\"4242\"")));
    EXPECT_TRUE(m_handle.isPartialComplete());
    EXPECT_FALSE(m_handle.isComplete());
    EXPECT_FALSE(read(kHead + "<ProcessHandle Version=\"1\" Minor=\"0\"><Process " + kIdentity +
                      "/></ProcessHandle>"));
    EXPECT_TRUE(m_handle.isPartialComplete());
    EXPECT_FALSE(m_handle.isComplete());
}

TEST_F(HandleReaderTest, KeepsWhatItKnowsWhenALaterFileIsBad) {
    EXPECT_TRUE(read(record(kIdentity)));
    EXPECT_FALSE(read("<broken"));
    EXPECT_TRUE(m_handle.isComplete());
    EXPECT_EQ(m_handle.getPid(), 4242);
}

TEST_F(HandleReaderTest, IsNeverCompleteWhenTheFileIsCut) {
    const std::string whole = record(kIdentity);
    const std::string::size_type end = whole.size() - 1;  // the last line end is free
    const std::string::size_type known = whole.find("/>") + 2;
    for (std::string::size_type size = 0; size < end; ++size) {
        m_handle.reset();
        EXPECT_FALSE(read(whole.substr(0, size))) << size;
        EXPECT_FALSE(m_handle.isComplete()) << size;
        // A tag is whole or not there: never is a cut number taken for the pid.
        EXPECT_TRUE(m_handle.getPid() == 0 || (m_handle.getPid() == 4242 && size >= known)) << size;
    }
    EXPECT_TRUE(read(whole.substr(0, end)));
}

TEST_F(HandleReaderTest, KnowsTheProcessThoughTheCommandIsNoText) {
    EXPECT_FALSE(read(record(kIdentity, "bad \xff byte")));
    EXPECT_TRUE(m_handle.isPartialComplete());
    EXPECT_FALSE(m_handle.isComplete());
    EXPECT_EQ(m_handle.getStartTicks(), 918273U);
}

/// A content that is no record.
struct BadCase {
    const char* label;
    std::string content;
};

std::ostream& operator<<(std::ostream& os, const BadCase& row) {
    return os << row.label;
}

class BadHandleTable : public HandleReaderTest, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadHandleTable, TellsNothing) {
    expectNothing(GetParam().content);
}

std::string withRoot(const std::string& root) {
    return "<" + root + "><Process " + kIdentity + "/><Command>c</Command></" +
           root.substr(0, root.find(' ')) + ">";
}

std::string withDoctype(const std::string& doctype) {
    std::string content = record(kIdentity);
    content.insert(kHead.size(), doctype + "\n");
    return content;
}

std::string with(const std::string& name, const std::string& value) {
    std::string identity = kIdentity;
    const std::string::size_type at = identity.find(" " + name + "=\"") + name.size() + 3;
    identity.replace(at, identity.find('"', at) - at, value);
    return record(identity);
}

INSTANTIATE_TEST_SUITE_P(
    Contents, BadHandleTable,
    ::testing::Values(
        BadCase{"Empty", ""}, BadCase{"Blank", "\n \n"}, BadCase{"Text", "4242\n"},
        BadCase{"Bytes", std::string("\x00\xff\xfe\x01", 4)},
        BadCase{"OtherRoot", withRoot("Process Version=\"1\" Minor=\"0\"")},
        BadCase{"OtherNamespace", withRoot("ProcessHandle xmlns=\"urn:x\" Version=\"1\"")},
        BadCase{"NoVersion", withRoot("ProcessHandle Minor=\"0\"")},
        BadCase{"LaterVersion", withRoot("ProcessHandle Version=\"2\" Minor=\"0\"")},
        BadCase{"VersionZero", withRoot("ProcessHandle Version=\"0\" Minor=\"0\"")},
        BadCase{"VersionText", withRoot("ProcessHandle Version=\"one\" Minor=\"0\"")},
        BadCase{"MinorText", withRoot("ProcessHandle Version=\"1\" Minor=\"x\"")},
        BadCase{"NoProcess", kHead + "<ProcessHandle Version=\"1\" Minor=\"0\"/>"},
        BadCase{"TwoProcesses", record(kIdentity + "/><Process Host=\"x\" Pid=\"7\"")},
        BadCase{"Doctype", withDoctype("<!DOCTYPE ProcessHandle>")},
        BadCase{"ExternalDoctype", withDoctype("<!DOCTYPE ProcessHandle SYSTEM \"/etc/passwd\">")},
        BadCase{"Entities", withDoctype("<!DOCTYPE ProcessHandle [<!ENTITY a \"node7\">]>")},
        BadCase{"PidText", with("Pid", "12x")}, BadCase{"PidEmpty", with("Pid", "")},
        BadCase{"PidNegative", with("Pid", "-1")}, BadCase{"PidZero", with("Pid", "0")},
        BadCase{"PidOne", with("Pid", "1")}, BadCase{"PidHuge", with("Pid", "4294967296")},
        BadCase{"PidBlank", with("Pid", " 42")}, BadCase{"GroupOne", with("Pgid", "1")},
        BadCase{"TicksHuge", with("StartTicks", "18446744073709551616")},
        BadCase{"UidNegative", with("Uid", "-1")},
        BadCase{"BootIdText", with("BootId", "'; reboot; '")},
        BadCase{"NamespaceText", with("PidNamespace", "1;2")},
        BadCase{"Huge", record(kIdentity, std::string(70000, 'x'))}),
    [](const auto& row) { return std::string(row.param.label); });

TEST_F(HandleReaderTest, StopsAtElementsNestedTooDeep) {
    std::string deep;
    for (int level = 0; level < 100; ++level)
        deep += "<a>";
    EXPECT_FALSE(read(kHead + "<ProcessHandle Version=\"1\" Minor=\"0\">" + deep));
    EXPECT_FALSE(m_handle.isPartialComplete());
}

TEST_F(HandleReaderTest, DoesNotWaitForAPipe) {
    ASSERT_EQ(::mkfifo(m_dir.path("marker").c_str(), 0600), 0);
    EXPECT_FALSE(HUTProcHandleXMLParser().parsePH(m_dir.path("marker"), &m_handle));
    EXPECT_EQ(m_handle.parseAttemptsCount(), 1);
}

TEST_F(HandleReaderTest, DoesNotReadAFolder) {
    EXPECT_FALSE(HUTProcHandleXMLParser().parsePH(m_dir.path(), &m_handle));
}

}  // namespace
