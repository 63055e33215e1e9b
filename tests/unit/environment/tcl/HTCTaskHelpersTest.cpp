// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/tcl/HTCTaskHelpers.h"

#include <memory>
#include <ostream>

#include <gtest/gtest.h>

#include <tcl.h>

#include "environment/errors/HEXDataException.h"

namespace {

struct DeleteInterp {
    void operator()(Tcl_Interp* interp) const { Tcl_DeleteInterp(interp); }
};

/// A path, and the word by which a script names it.
struct PathCase {
    const char* name;
    std::string path;
    std::string word;
};

std::ostream& operator<<(std::ostream& os, const PathCase& row) {
    return os << row.name;
}

class ExportedPath : public ::testing::TestWithParam<PathCase> {
protected:
    std::string eval(const std::string& script) {
        const int code = Tcl_EvalEx(m_interp.get(), script.c_str(), -1, TCL_EVAL_GLOBAL);
        return (code == TCL_OK ? "" : "error: ") + std::string(Tcl_GetStringResult(m_interp.get()));
    }

    const std::string m_word = HTCTaskHelpers::exportPathForTcl(GetParam().path);
    std::unique_ptr<Tcl_Interp, DeleteInterp> m_interp{Tcl_CreateInterp()};
};

TEST_P(ExportedPath, IsTheWord) {
    EXPECT_EQ(m_word, GetParam().word);
}

TEST_P(ExportedPath, ReadsBackAsThePath) {
    EXPECT_EQ(eval("set path " + m_word), GetParam().path);
}

TEST_P(ExportedPath, IsOneWordAmongOthers) {
    eval("proc report {args} {llength $args}; set x secret");
    EXPECT_EQ(eval("report -file " + m_word + " -append"), "3");
    EXPECT_EQ(eval("lindex {-file " + m_word + " -append} 1"), GetParam().path);
}

TEST_P(ExportedPath, StaysOnOneLine) {
    EXPECT_EQ(m_word.find_first_of("\r\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExportedPath,
    ::testing::Values(
        PathCase{"Plain", "/a/b-c_1.2+x/r.rpt", "/a/b-c_1.2+x/r.rpt"},
        PathCase{"Relative", "impl_1_timing.rpt", "impl_1_timing.rpt"}, PathCase{"Empty", "", "{}"},
        PathCase{"Blank", "/my runs/r.rpt", "{/my runs/r.rpt}"},
        PathCase{"Backslash", "C:\\new\\x", "{C:\\new\\x}"},
        PathCase{"BackslashAtTheEnd", "a b\\", "a\\ b\\\\"}, PathCase{"Dollar", "/$x/r", "{/$x/r}"},
        PathCase{"Command", "/[exit 1]/r", "{/[exit 1]/r}"}, PathCase{"Braces", "/{a}/r", "/{a}/r"},
        PathCase{"BracesAtTheBeginning", "{a}/r", "{{a}/r}"},
        PathCase{"OpenBrace", "/a{b c", "/a\\{b\\ c"}, PathCase{"CloseBrace", "}{", "\\}\\{"},
        PathCase{"Quote", "\"a b\"", "{\"a b\"}"}, PathCase{"Semicolon", "a;exit", "{a;exit}"},
        PathCase{"Comment", "#a", "{#a}"}, PathCase{"LineEnd", "a\nb", "a\\nb"},
        PathCase{"CarriageReturn", "a\r", "a\\r"},
        PathCase{"BackslashBeforeLineEnd", "a\\\nb", "a\\\\\\nb"}, PathCase{"Tab", "a\tb", "a\\tb"},
        PathCase{"Expansion", "{*}a", "{{*}a}"},
        PathCase{"NonAscii", "/Gr\xC3\xBC\xC3\x9F/\xE6\xBC\xA2",
                 "/Gr\xC3\xBC\xC3\x9F/\xE6\xBC\xA2"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HTCTaskHelpersTest, RefusesAZeroByte) {
    EXPECT_THROW(HTCTaskHelpers::exportPathForTcl(std::string("a\0b", 3)), HEXDataException);
}

}  // namespace
