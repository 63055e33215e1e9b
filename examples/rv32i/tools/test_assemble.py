#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
"""Checks the assembler against encodings worked out with other means."""
import sys
import unittest

sys.dont_write_bytecode = True
from assemble import Assembler, SourceError, lanes, words  # noqa: E402

KNOWN = {
    "nop": 0x00000013, "ret": 0x00008067, "ecall": 0x00000073, "ebreak": 0x00100073,
    "lui a0, 0x12345": 0x12345537, "auipc t0, 1": 0x00001297,
    "addi sp, sp, -16": 0xFF010113, "add a0, a1, a2": 0x00C58533, "sub a0, a1, a2": 0x40C58533,
    "sll t0, t1, t2": 0x007312B3, "slt s0, s1, a0": 0x00A4A433, "sltu s0, s1, a0": 0x00A4B433,
    "xor a3, a4, a5": 0x00F746B3, "srl a3, a4, a5": 0x00F756B3, "sra a3, a4, a5": 0x40F756B3,
    "or a3, a4, a5": 0x00F766B3, "and a3, a4, a5": 0x00F776B3,
    "slli a0, a0, 31": 0x01F51513, "srli a0, a0, 1": 0x00155513, "srai a0, a0, 4": 0x40455513,
    "slti a0, a1, -1": 0xFFF5A513, "sltiu a0, a1, 1": 0x0015B513, "xori a0, a0, -1": 0xFFF54513,
    "ori a0, a1, 255": 0x0FF5E513, "andi a0, a1, 15": 0x00F5F513,
    "lb a0, 0(a1)": 0x00058503, "lh a0, 2(a1)": 0x00259503, "lw ra, 12(sp)": 0x00C12083,
    "lbu a0, -1(a1)": 0xFFF5C503, "lhu a0, 6(a1)": 0x0065D503,
    "sb a0, 3(a1)": 0x00A581A3, "sh a0, -2(a1)": 0xFEA59F23, "sw ra, 12(sp)": 0x00112623,
    "jalr ra, 0(t0)": 0x000280E7, "jr t0": 0x00028067, "mv a0, a1": 0x00058513,
    "fence": 0x0FF0000F,
}


def assemble(text):
    return words(Assembler(text).assemble())


class AssemblerTest(unittest.TestCase):
    def test_encodes_each_instruction(self):
        for source, word in KNOWN.items():
            with self.subTest(source):
                self.assertEqual([f"{word:08x}"], [f"{one:08x}" for one in assemble(source)])

    def test_encodes_branches_both_ways(self):
        self.assertEqual([0x00A58463, 0x00000013, 0xFE000EE3],
                         assemble("beq a1, a0, on\nback: nop\non: beqz x0, back"))

    def test_encodes_jumps_both_ways(self):
        self.assertEqual([0x008000EF, 0x00000013, 0xFFDFF06F],
                         assemble("call on\nback: nop\non: j back"))

    def test_splits_a_constant_whose_low_half_is_negative(self):
        self.assertEqual([0xDEADC2B7, 0xEEF28293], assemble("li t0, 0xdeadbeef"))

    def test_splits_words_into_four_files(self):
        files = lanes(Assembler(".word 0x44332211").assemble())
        self.assertEqual(["11", "22", "33", "44"], [text.splitlines()[0] for text in files])

    def test_tells_the_line_of_an_error(self):
        for source, reason in {
                "nop\nfoo a0": "line 2: unknown instruction 'foo'",
                "add a0, a1": "line 1: an operand is missing",
                "add a0, a1, q1": "line 1: no register 'q1'",
                "addi a0, a0, 2048": "line 1: immediate 2048 does not fit in 12 bits",
                "j nowhere": "line 1: unknown symbol 'nowhere'",
                "x: nop\nx: nop": "line 2: label 'x' stands twice",
                ".space 5000": "the program has 5000 bytes, the memory 4096"}.items():
            with self.subTest(source):
                with self.assertRaises(SourceError) as caught:
                    assemble(source)
                self.assertEqual(reason, str(caught.exception))


if __name__ == "__main__":
    unittest.main()
