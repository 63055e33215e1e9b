#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
"""Runs a program at a terminal: typed.py PROGRAM WORD... -- EXPECT TYPE EXPECT ...

Waits until the terminal shows EXPECT, types TYPE with Enter ("\\t" at its end: with Tab instead),
and so on; at last the end of input. Prints what the terminal showed and ends as the program did,
or with 99 when something expected didn't come within a minute."""

import os
import pty
import select
import sys
import time


def main():
    split = sys.argv.index("--", 1)
    command, script = sys.argv[1:split], sys.argv[split + 1:]
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvp(command[0], command)
    shown, seen = b"", 0

    def more():
        ready, _, _ = select.select([terminal], [], [], max(0, end - time.monotonic()))
        if not ready:
            return None
        try:
            return os.read(terminal, 4096)
        except OSError:
            return b""

    def finish(status):
        sys.stdout.buffer.write(shown)
        sys.exit(status)

    for i, text in enumerate(script + ["\x04"]):
        if i % 2 == 0 and i < len(script):
            end = time.monotonic() + 60
            while text.encode() not in shown[seen:]:
                data = more()
                if not data:
                    shown += b"\n<never came: " + text.encode() + b">\n"
                    os.kill(pid, 9)
                    finish(99)
                shown += data
            seen = shown.index(text.encode(), seen) + len(text.encode())
        else:
            typed = text if text.endswith(("\t", "\x04")) else text + "\r"
            os.write(terminal, typed.encode())
    # The end of input is lost on a program that isn't at its prompt yet: it is typed again.
    last = time.monotonic() + 60
    while True:
        end = time.monotonic() + 1
        data = more()
        if data:
            shown += data
        elif data is None and time.monotonic() < last:
            os.write(terminal, b"\x04")
        else:
            break
    if data is None:
        shown += b"\n<never ended>\n"
        os.kill(pid, 9)
        finish(99)
    _, status = os.waitpid(pid, 0)
    finish(os.waitstatus_to_exitcode(status) & 0xFF)


main()
