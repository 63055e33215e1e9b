#!/usr/bin/env python3
"""Checks the messages that the sources send against the catalogue, both ways.

Every id that is sent has a text, with the arguments, the domain and the severity
that the catalogue gives it; no id stands twice; every text is sent, or its id is
listed in reserved.txt. A message is a literal such as "@36-66@%s"; domain,
severity and number of arguments are checked where it stands in a call behind
the domain's literal and the severity's name.
"""
import argparse
import pathlib
import re
import sys

from message_catalogue import read_catalogue, read_reserved

TOPS = ("shared", "workbench", "shell")
LITERAL = re.compile(r'"(@\d[^"\\]*)"')
FORMAT = re.compile(r"@(\d+-\d+)@((?:%[sd])*)")
BEFORE = re.compile(r'"([^"\\]*)"\s*,\s*(?:ComMsgMgr\s*::\s*)?(k\w+)\s*,\s*\Z')
# Comments, and the literals in which no comment begins.
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)


def without_comments(code):
    """The code with its comments blanked; line numbers and literals stay."""
    def blank(match):
        token = match.group()
        return re.sub(r"[^\n]", " ", token) if token.startswith("/") else token
    return TOKEN.sub(blank, code)


def count_args(code, start):
    """The arguments between start, behind the format's literal, and the call's end."""
    rest = TOKEN.sub(lambda match: "x" * len(match.group()), code[start:])
    depth = 0
    commas = 0
    for char in rest:
        if char in "([{":
            depth += 1
        elif char in ")]}":
            if depth == 0:
                return commas
            depth -= 1
        elif char == "," and depth == 0:
            commas += 1
    return commas


class Check:
    def __init__(self, root, catalogue):
        self.root = pathlib.Path(root)
        self.catalogue = pathlib.Path(catalogue)
        self.errors = []
        self.notes = []
        self.seen = []  # files and folders that were looked at
        self.messages = read_catalogue(catalogue, self.errors)
        self.reserved = read_reserved(catalogue, self.errors)
        self.sent = set()

    def run(self):
        self.seen.extend([self.catalogue, *sorted(self.catalogue.iterdir())])
        for top in TOPS:
            if not (self.root / top).is_dir():
                continue
            self.seen.append(self.root / top)
            for path in sorted((self.root / top).rglob("*")):
                if path.is_dir():
                    self.seen.append(path)
                elif path.suffix in {".h", ".cpp"}:
                    self.seen.append(path)
                    self.check_file(path)
        self.check_unsent()

    def check_file(self, path):
        code = path.read_text(encoding="utf-8")
        if '"@' not in code:
            return
        code = without_comments(code)
        for match in LITERAL.finditer(code):
            line = code.count("\n", 0, match.start()) + 1
            self.check_literal(f"{path}:{line}", match.group(1), code, match)

    def check_literal(self, where, text, code, match):
        form = FORMAT.fullmatch(text)
        if not form:
            self.errors.append(f'{where}: "{text}" isn\'t of the form "@36-66@%s%d"')
            return
        ident, kinds = form.groups()
        message = self.messages.get(ident)
        if message is None:
            self.errors.append(f"{where}: {ident} is sent, but has no text in {self.catalogue}")
            return
        self.sent.add(ident)
        if kinds != message.kinds:
            self.errors.append(f"{where}: {ident} is sent with '{kinds}', "
                               f"but has '{message.kinds}' at {message.where}")
        self.check_call(where, message, kinds, code, match)

    def check_call(self, where, message, kinds, code, match):
        before = BEFORE.search(code, 0, match.start())
        if not before:
            self.notes.append(f"{where}: {message.ident}: domain and severity aren't beside the format")
            return
        domain, mask = before.groups()
        if domain != message.domain:
            self.errors.append(f"{where}: {message.ident} is sent in domain '{domain}', "
                               f"but stands in {message.domain}.msg")
        if mask != message.mask:
            self.errors.append(f"{where}: {message.ident} is sent as {mask}, "
                               f"but is {message.mask} at {message.where}")
        count = count_args(code, match.end())
        if count != len(kinds) // 2:
            self.errors.append(f"{where}: {message.ident} is sent with {count} argument(s) "
                               f"for '{kinds}'")

    def check_unsent(self):
        for ident, message in sorted(self.messages.items()):
            if ident not in self.sent and ident not in self.reserved:
                self.errors.append(f"{message.where}: {ident} is sent nowhere; remove it, "
                                   f"or list it in {self.catalogue}/reserved.txt")
        for ident, where in self.reserved.items():
            if ident not in self.messages:
                self.errors.append(f"{where}: {ident} is reserved, but has no text")
            elif ident in self.sent:
                self.notes.append(f"{where}: {ident} is sent by now; take it off the list")
            else:
                self.notes.append(f"{where}: {ident} is reserved")


def write_depfile(path, target, seen):
    names = [str(name).replace(" ", "\\ ") for name in seen]
    path.write_text(f"{target}: " + " \\\n  ".join(names) + "\n", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("root", help="the folder with shared, workbench and shell")
    parser.add_argument("--catalogue", help="the folder of the catalogue; data/messages in root")
    parser.add_argument("--quiet", action="store_true", help="say only what is wrong")
    parser.add_argument("--stamp", type=pathlib.Path, help="a file to touch when all is well")
    parser.add_argument("--depfile", type=pathlib.Path, help="gets what the stamp depends on")
    args = parser.parse_args()
    check = Check(args.root, args.catalogue or pathlib.Path(args.root) / "data" / "messages")
    check.run()
    for error in check.errors:
        print(error, file=sys.stderr)
    if not args.quiet:
        for note in check.notes:
            print(f"note: {note}")
        print(f"{len(check.messages)} messages, {len(check.sent)} sent, {len(check.errors)} errors")
    if check.errors:
        return 1
    if args.depfile:
        write_depfile(args.depfile, args.stamp, check.seen)
    if args.stamp:
        args.stamp.touch()
    return 0


if __name__ == "__main__":
    sys.exit(main())
