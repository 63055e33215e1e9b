#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
"""Draws a recorded session as an animated picture.

    session_picture.py SESSION.cast PICTURE.svg

The picture is one file that asks nobody for anything, plays by style sheet alone, and again
and again. Who wants no motion sees the last screen. Knows what xp prints: texts, colours,
line ends, the way back to the beginning of a line, up, and erasing; anything else is an error.
"""
import json
import re
import sys
from html import escape

CELL_WIDTH = 8.4
LINE_HEIGHT = 18
MARGIN = 14
# Changes that come sooner behind one another are one.
LEAST_SECONDS = 0.15
# The last screen stays for a while before all begins anew.
LAST_SECONDS = 4.0

COLOURS = {31: "#e5534b", 32: "#57ab5a", 33: "#c69026", 34: "#539bf5", 35: "#b083f0", 36: "#39c5cf"}
PLAIN = ("", False, False)


class Screen:
    """What a terminal shows; a style is a colour, bold and dim."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.lines = [[]]
        self.row = self.column = 0
        self.style = PLAIN

    def write(self, text):
        for piece in re.finditer(r"\x1b\[([?0-9;]*)([A-Za-z])|\x1b.|(.)", text, re.DOTALL):
            numbers, command, character = piece.groups()
            if command:
                self.command(numbers, command)
            elif character is None:
                raise ValueError(f"a sequence that isn't known: {piece.group()!r}")
            else:
                self.put(character)

    def put(self, character):
        if character == "\n":
            self.row += 1
            if self.row == len(self.lines):
                self.lines.append([])
        elif character == "\r":
            self.column = 0
        elif character >= " ":
            if self.column == self.width:
                self.column = 0
                self.put("\n")
            line = self.lines[self.row]
            line.extend([(" ", PLAIN)] * (self.column + 1 - len(line)))
            line[self.column] = (character, self.style)
            self.column += 1
        else:
            raise ValueError(f"a character that isn't known: {character!r}")
        if len(self.lines) > self.height:
            del self.lines[0]
            self.row -= 1

    def command(self, numbers, command):
        count = int(numbers) if numbers.isdigit() else None
        if command == "m":
            self.restyle(numbers)
        elif command == "K":
            del self.lines[self.row][0 if count == 2 else self.column:]
        elif command == "J" and not count:
            del self.lines[self.row][self.column:]
            del self.lines[self.row + 1:]
        elif command == "A":
            self.row = max(0, self.row - (count or 1))
        elif command == "G":
            self.column = (count or 1) - 1
        elif not (command in "hl" and numbers.startswith("?")):
            raise ValueError(f"a command that isn't known: {numbers}{command}")

    def restyle(self, numbers):
        colour, bold, dim = self.style
        for number in [int(text or 0) for text in numbers.split(";")]:
            if number == 0:
                colour, bold, dim = PLAIN
            elif number in COLOURS or number - 60 in COLOURS:
                colour = COLOURS.get(number) or COLOURS[number - 60]
            elif number == 39:
                colour = ""
            elif number in (1, 2, 22):
                bold, dim = number == 1, number == 2
            else:
                raise ValueError(f"a style that isn't known: {number}")
        self.style = (colour, bold, dim)

    def shown(self):
        return tuple(tuple(line) for line in self.lines)


def frames_of(events, head):
    """The screens with the seconds at which each is there, idle times as a player has them."""
    screen = Screen(head["width"], head["height"])
    most_idle = head.get("idle_time_limit", 1e9)
    frames, now, before = [], 0.0, 0.0
    for time, kind, text in events:
        now += min(time - before, most_idle)
        before = time
        if kind != "o":
            continue
        screen.write(text)
        if frames and now - frames[-1][0] < LEAST_SECONDS:
            frames[-1] = (frames[-1][0], screen.shown())
        elif not frames or frames[-1][1] != screen.shown():
            frames.append((now, screen.shown()))
    return frames, now + LAST_SECONDS


def line_svg(line):
    """Runs of one style, each at its own column: no font's widths shift what follows."""
    parts, at = [], 0
    while at < len(line):
        end = at
        while end < len(line) and line[end][1] == line[at][1]:
            end += 1
        text = "".join(character for character, _ in line[at:end]).rstrip()
        colour, bold, dim = line[at][1]
        style = (f' style="fill:{colour}"' if colour else "") + (' class="b"' if bold else "")
        style += ' opacity=".6"' if dim else ""
        if text:
            indent = len(text) - len(text.lstrip())
            x = MARGIN + (at + indent) * CELL_WIDTH
            length = len(text.lstrip()) * CELL_WIDTH
            parts.append(f'<text x="{x:.1f}" textLength="{length:.1f}"{style}>'
                         f"{escape(text.lstrip(), quote=False)}</text>")
        at = end
    return "".join(parts)


def picture(head, frames, seconds):
    width = head["width"] * CELL_WIDTH + 2 * MARGIN
    height = head["height"] * LINE_HEIGHT + 2 * MARGIN
    names, screens, rules = {}, [], []
    for i, (begin, lines) in enumerate(frames):
        end = frames[i + 1][0] if i + 1 < len(frames) else seconds
        uses = []
        for row, line in enumerate(lines):
            drawing = line_svg(line)
            if drawing:
                name = names.setdefault(drawing, f"l{len(names)}")
                uses.append(f'<use href="#{name}" y="{MARGIN + (row + 0.8) * LINE_HEIGHT:.1f}"/>')
        last = ' class="last"' if i + 1 == len(frames) else ""
        screens.append(f'<g id="f{i}"{last}>{"".join(uses)}</g>')
        first, after = 100 * begin / seconds, 100 * end / seconds
        rules.append(f"@keyframes k{i}{{0%{{visibility:hidden}}{first:.3f}%{{visibility:visible}}"
                     f"{after:.3f}%{{visibility:hidden}}100%{{visibility:hidden}}}}"
                     f"#f{i}{{animation:k{i} {seconds:.1f}s step-end infinite}}")
    symbols = "".join(f'<g id="{name}">{drawing}</g>' for drawing, name in names.items())
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height:.0f}" '
            f'role="img"><title>{escape(head["title"])}</title><style>'
            "text{font:14px ui-monospace,Menlo,Consolas,'DejaVu Sans Mono',monospace;"
            "fill:#d3dae3;white-space:pre}.b{font-weight:bold}"
            "g[id^=f]{visibility:hidden}"
            f'@media (prefers-reduced-motion:no-preference){{{"".join(rules)}}}'
            "@media (prefers-reduced-motion:reduce){g.last[id^=f]{visibility:visible}}"
            f'</style><rect width="100%" height="100%" rx="8" fill="#1c2128"/>'
            f'<defs>{symbols}</defs>{"".join(screens)}</svg>\n')


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: session_picture.py SESSION.cast PICTURE.svg")
    with open(sys.argv[1], encoding="utf-8") as cast:
        head, *events = [json.loads(line) for line in cast]
    frames, seconds = frames_of(events, head)
    with open(sys.argv[2], "w", encoding="utf-8") as drawn:
        drawn.write(picture(head, frames, seconds))
    print(f"{sys.argv[2]}: {len(frames)} screens in {seconds:.1f} s")


if __name__ == "__main__":
    main()
