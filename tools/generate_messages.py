#!/usr/bin/env python3
"""Turns the message catalogue into the table that is built into the library.

usage: generate_messages.py FOLDER OUTPUT.cpp
"""
import pathlib
import sys

from message_catalogue import read_catalogue

HEAD = """// Made from data/messages; edit the texts there.
#include "environment/messages/messageCatalogue.h"

namespace messageCatalogue {

const Entry kEntries[] = {
"""
TAIL = """}};

const std::size_t kEntryCount = {count};

}}  // namespace messageCatalogue
"""


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def row(message):
    fields = [quoted(message.ident), quoted(message.domain), f"ComMsgMgr::{message.mask}",
              quoted(message.kinds), quoted(message.text)]
    return "    {" + ", ".join(fields) + "},\n"


def main(folder, output):
    errors = []
    messages = read_catalogue(folder, errors)
    if not messages and not errors:
        errors.append(f"{folder}: no messages")
    if errors:
        print("\n".join(errors), file=sys.stderr)
        return 1
    rows = "".join(row(messages[ident]) for ident in sorted(messages))
    pathlib.Path(output).write_text(HEAD + rows + TAIL.format(count=len(messages)), encoding="utf-8")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
