#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
"""Assembles RV32I source into the memory files of the processor example.

    assemble.py SOURCE OUTPUT            writes OUTPUT.0.hex ... OUTPUT.3.hex
    assemble.py --words SOURCE           prints the words, one a line
    assemble.py --check SOURCE OUTPUT    fails when the files differ from SOURCE

Source lines hold an optional `label:`, then an instruction or a directive, and
a comment after `#`. All RV32I instructions are known, with the usual register
names and pseudo-instructions (li, la, mv, not, neg, nop, j, jal, jr, ret, call,
beqz, bnez, blez, bgez, bltz, bgtz, bgt, ble, bgtu, bleu, seqz, snez). Directives:
.word, .half, .byte, .ascii, .asciz, .align (power of two), .space, .equ.
"""
import ast
import pathlib
import re
import sys

MEMORY = 4096  # bytes

ABI = ("zero ra sp gp tp t0 t1 t2 s0 s1 a0 a1 a2 a3 a4 a5 a6 a7 "
       "s2 s3 s4 s5 s6 s7 s8 s9 s10 s11 t3 t4 t5 t6").split()
REGISTERS = {name: number for number, name in enumerate(ABI)}
REGISTERS.update({f"x{number}": number for number in range(32)}, fp=8)

REG_REG = {"add": (0, 0x00), "sub": (0, 0x20), "sll": (1, 0x00), "slt": (2, 0x00),
           "sltu": (3, 0x00), "xor": (4, 0x00), "srl": (5, 0x00), "sra": (5, 0x20),
           "or": (6, 0x00), "and": (7, 0x00)}
REG_IMM = {"addi": 0, "slti": 2, "sltiu": 3, "xori": 4, "ori": 6, "andi": 7}
SHIFTS = {"slli": (1, 0x00), "srli": (5, 0x00), "srai": (5, 0x20)}
LOADS = {"lb": 0, "lh": 1, "lw": 2, "lbu": 4, "lhu": 5}
STORES = {"sb": 0, "sh": 1, "sw": 2}
BRANCHES = {"beq": 0, "bne": 1, "blt": 4, "bge": 5, "bltu": 6, "bgeu": 7}
SWAPPED = {"bgt": "blt", "ble": "bge", "bgtu": "bltu", "bleu": "bgeu"}
AGAINST_ZERO = {"beqz": ("beq", 0), "bnez": ("bne", 0), "bltz": ("blt", 0), "bgez": ("bge", 0),
                "blez": ("bge", 1), "bgtz": ("blt", 1)}
FIXED = {"nop": 0x00000013, "ret": 0x00008067, "ecall": 0x00000073, "ebreak": 0x00100073,
         "fence": 0x0FF0000F}


class SourceError(Exception):
    """One wrong line, told with its number."""


def fits(value, bits, what):
    if not -(1 << (bits - 1)) <= value < 1 << (bits - 1):
        raise SourceError(f"{what} {value} does not fit in {bits} bits")
    return value & ((1 << bits) - 1)


def register(name):
    if name not in REGISTERS:
        raise SourceError(f"no register '{name}'")
    return REGISTERS[name]


def encode_i(opcode, funct3, rd, rs1, imm):
    return fits(imm, 12, "immediate") << 20 | rs1 << 15 | funct3 << 12 | rd << 7 | opcode


def encode_branch(funct3, rs1, rs2, offset):
    bits = fits(offset, 13, "branch offset")
    return ((bits >> 12 & 1) << 31 | (bits >> 5 & 0x3F) << 25 | rs2 << 20 | rs1 << 15
            | funct3 << 12 | (bits >> 1 & 0xF) << 8 | (bits >> 11 & 1) << 7 | 0x63)


def encode_jal(rd, offset):
    bits = fits(offset, 21, "jump offset")
    return ((bits >> 20 & 1) << 31 | (bits >> 1 & 0x3FF) << 21 | (bits >> 11 & 1) << 20
            | (bits >> 12 & 0xFF) << 12 | rd << 7 | 0x6F)


def load_constant(rd, value, short):
    """lui and addi, or addi alone where that is enough and asked for."""
    value = (value + (1 << 31)) % (1 << 32) - (1 << 31)
    if short and -2048 <= value < 2048:
        return [encode_i(0x13, 0, rd, 0, value)]
    low = (value + 2048) % 4096 - 2048
    upper = (value - low) >> 12 & 0xFFFFF
    return [upper << 12 | rd << 7 | 0x37, encode_i(0x13, 0, rd, rd, low)]


class Assembler:
    def __init__(self, text):
        self.symbols = {}
        self.lines = list(self.parse(text))

    @staticmethod
    def parse(text):
        for number, raw in enumerate(text.splitlines(), 1):
            line = re.sub(r'#(?=(?:[^"]*"[^"]*")*[^"]*$).*', "", raw).strip()
            labels = []
            while match := re.match(r"([A-Za-z_.][\w.]*):\s*", line):
                labels.append(match.group(1))
                line = line[match.end():]
            name, _, rest = line.partition(" ")
            yield number, labels, name.lower(), rest.strip()

    def value(self, text):
        """A number, a symbol, or a sum of these."""
        total = 0
        for sign, term in re.findall(r"([+-]?)\s*('(?:\\.|.)'|[\w.]+)", text):
            if term in self.symbols:
                number = self.symbols[term]
            elif term.startswith("'"):
                number = ord(ast.literal_eval(term))
            else:
                try:
                    number = int(term, 0)
                except ValueError:
                    raise SourceError(f"unknown symbol '{term}'") from None
            total += -number if sign == "-" else number
        if not text:
            raise SourceError("a value is missing")
        return total

    def directive(self, name, rest, address, final):
        if name == ".equ":
            symbol, _, value = rest.partition(",")
            self.symbols[symbol.strip()] = self.value(value.strip())
            return b""
        if name == ".align":
            return bytes(-address % (1 << self.value(rest)))
        if name == ".space":
            return bytes(self.value(rest))
        if name in (".ascii", ".asciz"):
            return ast.literal_eval(rest).encode() + (b"\0" if name == ".asciz" else b"")
        size = {".word": 4, ".half": 2, ".byte": 1}.get(name)
        if size is None:
            raise SourceError(f"unknown directive '{name}'")
        values = [self.value(item.strip()) if final else 0 for item in rest.split(",")]
        return b"".join((value % (1 << 8 * size)).to_bytes(size, "little") for value in values)

    def instruction(self, name, rest, address, final):
        args = [arg.strip() for arg in rest.split(",")] if rest else []

        def reg(index):
            return register(args[index])

        def number(index):
            return self.value(args[index]) if final else 0

        def offset(index):
            return self.value(args[index]) - address if final else 0

        def base(index):
            match = re.fullmatch(r"(.*)\((\w+)\)", args[index])
            if not match:
                raise SourceError(f"'{args[index]}' is not offset(register)")
            return register(match.group(2)), self.value(match.group(1) or "0") if final else 0

        if name in FIXED:
            return [FIXED[name]]
        if name in REG_REG:
            funct3, funct7 = REG_REG[name]
            return [funct7 << 25 | reg(2) << 20 | reg(1) << 15 | funct3 << 12 | reg(0) << 7 | 0x33]
        if name in REG_IMM:
            return [encode_i(0x13, REG_IMM[name], reg(0), reg(1), number(2))]
        if name in SHIFTS:
            funct3, funct7 = SHIFTS[name]
            if not 0 <= number(2) < 32:
                raise SourceError("a shift goes from 0 to 31")
            return [funct7 << 25 | number(2) << 20 | reg(1) << 15 | funct3 << 12 | reg(0) << 7 | 0x13]
        if name in LOADS:
            rs1, imm = base(1)
            return [encode_i(0x03, LOADS[name], reg(0), rs1, imm)]
        if name in STORES:
            rs1, imm = base(1)
            bits = fits(imm, 12, "offset")
            return [bits >> 5 << 25 | reg(0) << 20 | rs1 << 15 | STORES[name] << 12
                    | (bits & 31) << 7 | 0x23]
        if name in BRANCHES:
            return [encode_branch(BRANCHES[name], reg(0), reg(1), offset(2))]
        if name in SWAPPED:
            return [encode_branch(BRANCHES[SWAPPED[name]], reg(1), reg(0), offset(2))]
        if name in AGAINST_ZERO:
            branch, zero_first = AGAINST_ZERO[name]
            pair = (0, reg(0)) if zero_first else (reg(0), 0)
            return [encode_branch(BRANCHES[branch], *pair, offset(1))]
        if name in ("lui", "auipc"):
            upper = number(1)
            if not 0 <= upper < 1 << 20:
                raise SourceError(f"{upper} does not fit in 20 bits")
            return [upper << 12 | reg(0) << 7 | (0x37 if name == "lui" else 0x17)]
        if name == "jal":
            return [encode_jal(reg(0), offset(1)) if len(args) == 2 else encode_jal(1, offset(0))]
        if name == "jalr":
            rs1, imm = base(1)
            return [encode_i(0x67, 0, reg(0), rs1, imm)]
        if name in ("j", "call"):
            return [encode_jal(0 if name == "j" else 1, offset(0))]
        if name == "jr":
            return [encode_i(0x67, 0, 0, reg(0), 0)]
        if name == "li":  # of one size in both passes: numbers only
            return load_constant(reg(0), self.value(args[1]), short=True)
        if name == "la":
            return load_constant(reg(0), number(1), short=False)
        if name == "mv":
            return [encode_i(0x13, 0, reg(0), reg(1), 0)]
        if name == "not":
            return [encode_i(0x13, 4, reg(0), reg(1), -1)]
        if name == "neg":
            return [0x20 << 25 | reg(1) << 20 | reg(0) << 7 | 0x33]
        if name == "seqz":
            return [encode_i(0x13, 3, reg(0), reg(1), 1)]
        if name == "snez":
            return [reg(1) << 20 | 3 << 12 | reg(0) << 7 | 0x33]
        raise SourceError(f"unknown instruction '{name}'")

    def run(self, final):
        image = bytearray()
        for number, labels, name, rest in self.lines:
            try:
                for label in labels:
                    if not final and label in self.symbols:
                        raise SourceError(f"label '{label}' stands twice")
                    self.symbols[label] = len(image)
                if name.startswith("."):
                    image += self.directive(name, rest, len(image), final)
                elif name:
                    if len(image) % 4:
                        raise SourceError("an instruction needs .align 2 before it")
                    for word in self.instruction(name, rest, len(image), final):
                        image += word.to_bytes(4, "little")
            except (IndexError, SourceError) as error:
                reason = "an operand is missing" if isinstance(error, IndexError) else error
                raise SourceError(f"line {number}: {reason}") from None
        return image

    def assemble(self):
        """The program's bytes: a pass for the labels, a pass for the values."""
        self.run(final=False)
        image = self.run(final=True)
        if len(image) > MEMORY:
            raise SourceError(f"the program has {len(image)} bytes, the memory {MEMORY}")
        return bytes(image)


def lanes(image):
    """The four files' texts: byte 0 of every word, byte 1, ..."""
    padded = image + bytes(MEMORY - len(image))
    return ["".join(f"{byte:02x}\n" for byte in padded[lane::4]) for lane in range(4)]


def words(image):
    padded = image + bytes(-len(image) % 4)
    return [int.from_bytes(padded[at:at + 4], "little") for at in range(0, len(padded), 4)]


def main(args):
    if not args or args[0] in ("-h", "--help"):
        print(__doc__)
        return 0 if args else 2
    mode = args.pop(0) if args[0].startswith("--") else ""
    if mode not in ("", "--words", "--check") or len(args) != (1 if mode == "--words" else 2):
        print(__doc__, file=sys.stderr)
        return 2
    try:
        image = Assembler(pathlib.Path(args[0]).read_text(encoding="utf-8")).assemble()
    except (OSError, SourceError) as error:
        print(f"{args[0]}: {error}", file=sys.stderr)
        return 1
    if mode == "--words":
        print("\n".join(f"{word:08x}" for word in words(image)))
        return 0
    for lane, text in enumerate(lanes(image)):
        path = pathlib.Path(f"{args[1]}.{lane}.hex")
        if not mode:
            path.write_text(text, encoding="ascii")
        elif not path.exists() or path.read_text(encoding="ascii") != text:
            print(f"{path} is not what {args[0]} gives; run assemble.py again", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
