#!/usr/bin/env python3
"""Runs the message tools over small trees, good and bad.

usage: check_messages_test.py TOOLS [unittest arguments]
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOLS = pathlib.Path(sys.argv.pop(1)).resolve()
GOOD = "7-1 | error | %s%d | {1} fails {2} times.\n"
CALL = 'ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@7-1@%s%d", name, 3);\n'


class Tree(unittest.TestCase):
    """A folder with a catalogue and one source file."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self.folder.name)
        self.write("data/messages/runs.msg", GOOD)
        self.write("shared/a.cpp", CALL)

    def tearDown(self):
        self.folder.cleanup()

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def tool(self, name, *args):
        command = [sys.executable, "-B", str(TOOLS / name), *args]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def check(self, *args):
        return self.tool("check_messages.py", str(self.root), *args)

    def expect_errors(self, *errors):
        """The check fails, with these lines; names of files are relative to the tree."""
        result = self.check("--quiet")
        said = result.stderr.replace(str(self.root) + "/", "").splitlines()
        self.assertEqual(said, list(errors))
        self.assertEqual(result.stdout, "")
        self.assertEqual(result.returncode, 1)

    def expect_good(self):
        result = self.check("--quiet")
        self.assertEqual((result.returncode, result.stderr, result.stdout), (0, "", ""))


class SentMessages(Tree):
    def test_a_message_as_catalogued_is_good(self):
        self.expect_good()

    def test_the_call_may_run_over_lines_and_hold_calls(self):
        self.write("shared/a.cpp", 'throw HEXError(ComMsgMgrInstance(\n    "runs", ComMsgMgr::kError,\n'
                                   '    "@7-1@%s%d", text(a, "x, )", \',\'), // one, two\n    count(b, {1, 2})));\n')
        self.expect_good()

    def test_comments_send_nothing(self):
        self.write("shared/b.cpp", '// eval("runs", ComMsgMgr::kInfo, "@9-9@%s")\n/* "@9-8@"\n "@9-7@" */\n')
        self.expect_good()

    def test_a_slash_in_a_literal_is_no_comment(self):
        self.write("shared/b.cpp", 'f("//"); g("@9-9@");\n')
        self.expect_errors("shared/b.cpp:1: 9-9 is sent, but has no text in data/messages")

    def test_an_id_without_a_text_is_an_error(self):
        self.write("workbench/b.cpp", "\n" + CALL.replace("7-1", "7-2"))
        self.expect_errors("workbench/b.cpp:2: 7-2 is sent, but has no text in data/messages")

    def test_arguments_of_another_kind_are_an_error(self):
        self.write("shared/a.cpp", CALL.replace("%s%d", "%s%s"))
        self.expect_errors("shared/a.cpp:1: 7-1 is sent with '%s%s', but has '%s%d' at data/messages/runs.msg:1")

    def test_too_few_arguments_in_the_call_are_an_error(self):
        self.write("shared/a.cpp", CALL.replace(", 3)", ")"))
        self.expect_errors("shared/a.cpp:1: 7-1 is sent with 1 argument(s) for '%s%d'")

    def test_too_many_arguments_in_the_call_are_an_error(self):
        self.write("shell/a.cpp", CALL.replace(", 3)", ", 3, 4)"))
        self.expect_errors("shell/a.cpp:1: 7-1 is sent with 3 argument(s) for '%s%d'")

    def test_another_severity_is_an_error(self):
        self.write("shared/a.cpp", CALL.replace("kError", "kWarning"))
        self.expect_errors("shared/a.cpp:1: 7-1 is sent as kWarning, but is kError at data/messages/runs.msg:1")

    def test_another_domain_is_an_error(self):
        self.write("shared/a.cpp", CALL.replace('"runs"', '"project"'))
        self.expect_errors("shared/a.cpp:1: 7-1 is sent in domain 'project', but stands in runs.msg")

    def test_a_format_that_is_none_is_an_error(self):
        self.write("shared/b.cpp", 'f("@7-1%s");\n')
        self.expect_errors('shared/b.cpp:1: "@7-1%s" isn\'t of the form "@36-66@%s%d"')

    def test_a_format_away_from_its_call_is_told(self):
        self.write("shared/b.cpp", 'report(domain, "@7-1@%s%d");\n')
        self.expect_good()
        self.assertIn("shared/b.cpp:1: 7-1: domain and severity aren't beside the format",
                      self.check().stdout)


class Catalogue(Tree):
    def test_a_text_that_nobody_sends_is_an_error(self):
        self.write("data/messages/runs.msg", GOOD + "7-2 | info | | Done.\n")
        self.expect_errors("data/messages/runs.msg:2: 7-2 is sent nowhere; remove it, "
                           "or list it in data/messages/reserved.txt")

    def test_a_reserved_text_need_not_be_sent(self):
        self.write("data/messages/runs.msg", GOOD + "7-2 | info | | Done.\n")
        self.write("data/messages/reserved.txt", "# later\n7-2\n")
        self.expect_good()
        self.assertIn("reserved.txt:2: 7-2 is reserved", self.check().stdout)

    def test_a_reserved_text_that_is_sent_is_told(self):
        self.write("data/messages/reserved.txt", "7-1\n")
        self.expect_good()
        self.assertIn("reserved.txt:1: 7-1 is sent by now; take it off the list", self.check().stdout)

    def test_a_reserved_id_without_a_text_is_an_error(self):
        self.write("data/messages/reserved.txt", "7-3\nx\n7-3\n")
        self.expect_errors("data/messages/reserved.txt:2: 'x' is no id such as 36-66",
                           "data/messages/reserved.txt:3: 7-3 is listed twice",
                           "data/messages/reserved.txt:1: 7-3 is reserved, but has no text")

    def test_an_id_twice_is_an_error(self):
        self.write("data/messages/runs.msg", GOOD + GOOD)
        self.expect_errors("data/messages/runs.msg:2: 7-1 has a text already, at data/messages/runs.msg:1")

    def test_ids_of_one_number_stand_in_one_file(self):
        self.write("data/messages/tcl.msg", "7-2 | info | | Done.\n")
        self.expect_errors("data/messages/tcl.msg:1: 7-2: ids 7-... belong to runs.msg",
                           "data/messages/tcl.msg:1: 7-2 is sent nowhere; remove it, "
                           "or list it in data/messages/reserved.txt")

    def test_a_text_shows_its_arguments_and_no_others(self):
        self.write("data/messages/runs.msg", "7-1 | error | %s%d | {1} fails {3} times.\n")
        self.expect_errors("data/messages/runs.msg:1: 7-1 shows {3}, but has 2 argument(s)",
                           "data/messages/runs.msg:1: 7-1 doesn't show its argument {2}")

    def test_lines_of_another_form_are_errors(self):
        self.write("data/messages/runs.msg", GOOD + "7-2 | info | Done.\nx | info | | a\n"
                   "7-3 | fatal | | a\n7-4 | info | %x | a\n7-1x | info | | a\n")
        self.expect_errors("data/messages/runs.msg:2: not of the form id | severity | arguments | text",
                           "data/messages/runs.msg:3: 'x' is no id such as 36-66",
                           "data/messages/runs.msg:4: 7-3: 'fatal' is no severity",
                           "data/messages/runs.msg:5: 7-4: arguments are %s and %d, not '%x'",
                           "data/messages/runs.msg:6: '7-1x' is no id such as 36-66")

    def test_a_message_without_a_text_is_an_error(self):
        self.write("data/messages/runs.msg", GOOD + "7-2 | info | |\n")
        self.write("data/messages/reserved.txt", "7-2\n")
        self.expect_errors("data/messages/runs.msg:2: 7-2 has no text")


class BuildStep(Tree):
    def test_the_stamp_is_made_only_when_all_is_well(self):
        stamp = self.root / "stamp"
        self.write("shared/b.cpp", 'f("@9-9@");\n')
        self.check("--stamp", str(stamp), "--depfile", str(stamp) + ".d")
        self.assertFalse(stamp.exists())
        (self.root / "shared/b.cpp").unlink()
        self.check("--stamp", str(stamp), "--depfile", str(stamp) + ".d")
        self.assertTrue(stamp.exists())

    def test_the_stamp_depends_on_sources_and_folders(self):
        stamp = self.root / "stamp"
        self.write("shared/deep/b.h", "")
        self.check("--stamp", str(stamp), "--depfile", str(stamp) + ".d")
        target, names = (self.root / "stamp.d").read_text().replace("\\\n", "").split(":", 1)
        self.assertEqual(target, str(stamp))
        for name in ("shared", "shared/a.cpp", "shared/deep", "shared/deep/b.h", "data/messages"):
            self.assertIn(str(self.root / name), names.split())


class Generator(Tree):
    def generate(self):
        return self.tool("generate_messages.py", str(self.root / "data/messages"), str(self.root / "table.cpp"))

    def test_texts_become_rows_in_the_order_of_ids(self):
        self.write("data/messages/runs.msg", '7-9 | info | | A "b" \\n | c.\n7-10 | critical warning | %s | {1}\n')
        self.assertEqual(self.generate().returncode, 0)
        rows = [line.strip() for line in (self.root / "table.cpp").read_text().splitlines()
                if line.startswith("    {")]
        self.assertEqual(rows, ['{"7-10", "runs", ComMsgMgr::kCriticalWarning, "%s", "{1}"},',
                                '{"7-9", "runs", ComMsgMgr::kInfo, "", "A \\"b\\" \\\\n | c."},'])

    def test_a_bad_catalogue_makes_no_table(self):
        self.write("data/messages/runs.msg", GOOD + "7-2 | info\n")
        result = self.generate()
        self.assertEqual(result.returncode, 1)
        self.assertIn("runs.msg:2: not of the form", result.stderr)
        self.assertFalse(os.path.exists(self.root / "table.cpp"))

    def test_an_empty_catalogue_makes_no_table(self):
        self.write("data/messages/runs.msg", "# nothing\n")
        self.assertEqual(self.generate().returncode, 1)


if __name__ == "__main__":
    unittest.main()
