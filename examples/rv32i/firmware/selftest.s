# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# Tests every instruction of the processor, then sorts, counts primes and takes
# a checksum, and tells the results over the serial output. At the end it counts
# on the LEDs for ever.
#
# Each check puts its number into gp, so that a failure can name it.

.equ IO, 0x80000000

        j       start

# ---------------------------------------------------------------- data to load
        .align  2
bytes:  .byte   0x80, 0x7f, 0xff, 0x01
halves: .half   0x8001, 0x7ffe
word:   .word   0xdeadbeef
room:   .space  16

# ------------------------------------------------------------------- utilities
# print: the text at a0
print:  li      t0, IO
print1: lbu     t1, 0(a0)
        beqz    t1, print3
print2: lw      t2, 4(t0)
        bnez    t2, print2
        sb      t1, 4(t0)
        addi    a0, a0, 1
        j       print1
print3: ret

# print_hex: a1 as eight digits and a line end
print_hex:
        li      t0, IO
        li      t3, 28
hex1:   srl     t1, a1, t3
        andi    t1, t1, 15
        addi    t1, t1, '0'
        li      t2, '9'
        ble     t1, t2, hex2
        addi    t1, t1, 7
hex2:   lw      t2, 4(t0)
        bnez    t2, hex2
        sb      t1, 4(t0)
        addi    t3, t3, -4
        bgez    t3, hex1
        li      t1, 10
hex3:   lw      t2, 4(t0)
        bnez    t2, hex3
        sb      t1, 4(t0)
        ret

# fail: tells the number in gp and stops
fail:   la      a0, text_fail
        call    print
        mv      a1, gp
        call    print_hex
        ebreak

# ------------------------------------------------- self-test: arithmetic, 1 to
start:  li      sp, 4096
        li      s0, 0x12345678
        li      s1, -3
        li      s2, 5

        li      gp, 1                   # lui and addi, and register 0
        lui     t0, 0x12345
        addi    t0, t0, 0x678
        bne     t0, s0, fail
        addi    zero, s0, 1
        bne     zero, x0, fail
        li      gp, 2                   # add, with overflow
        add     t0, s1, s2
        li      t1, 2
        bne     t0, t1, fail
        li      t2, 0x7fffffff
        add     t0, t2, t1
        li      t1, 0x80000001
        bne     t0, t1, fail
        li      gp, 3                   # sub
        sub     t0, s1, s2
        li      t1, -8
        bne     t0, t1, fail
        sub     t0, s2, s1
        li      t1, 8
        bne     t0, t1, fail
        li      gp, 4                   # addi with a negative value
        addi    t0, s2, -7
        li      t1, -2
        bne     t0, t1, fail
        li      gp, 5                   # xor, or, and
        li      t1, 0x0ff00ff0
        xor     t0, s0, t1
        li      t2, 0x1dc45988
        bne     t0, t2, fail
        or      t0, s0, t1
        li      t2, 0x1ff45ff8
        bne     t0, t2, fail
        and     t0, s0, t1
        li      t2, 0x02300670
        bne     t0, t2, fail
        li      gp, 6                   # xori, ori, andi extend their sign
        xori    t0, s0, -1
        li      t2, 0xedcba987
        bne     t0, t2, fail
        ori     t0, s0, -256
        li      t2, 0xffffff78
        bne     t0, t2, fail
        andi    t0, s0, -16
        li      t2, 0x12345670
        bne     t0, t2, fail
        andi    t0, s0, 0x7f0
        li      t2, 0x670
        bne     t0, t2, fail
        li      gp, 7                   # slt, sltu
        slt     t0, s1, s2
        li      t1, 1
        bne     t0, t1, fail
        slt     t0, s2, s1
        bnez    t0, fail
        slt     t0, s1, s1
        bnez    t0, fail
        sltu    t0, s2, s1
        bne     t0, t1, fail
        sltu    t0, s1, s2
        bnez    t0, fail
        li      gp, 8                   # slti, sltiu; its value is extended, then unsigned
        slti    t0, s1, -2
        bne     t0, t1, fail
        slti    t0, s1, -3
        bnez    t0, fail
        slti    t0, s2, -1
        bnez    t0, fail
        sltiu   t0, s2, -1
        bne     t0, t1, fail
        sltiu   t0, s1, 5
        bnez    t0, fail
        seqz    t0, zero
        bne     t0, t1, fail
        snez    t0, s1
        bne     t0, t1, fail

# ----------------------------------------------------------------------- shifts
        li      gp, 9                   # sll and slli; only five bits of the count matter
        li      t2, 36
        sll     t0, s0, t2
        li      t1, 0x23456780
        bne     t0, t1, fail
        slli    t0, s0, 31
        bnez    t0, fail
        slli    t0, s1, 31
        li      t1, 0x80000000
        bne     t0, t1, fail
        slli    t0, s0, 0
        bne     t0, s0, fail
        li      gp, 10                  # srl and srli fill with zeros
        li      t2, -31
        srl     t0, s1, t2
        li      t1, 0x7ffffffe
        bne     t0, t1, fail
        srli    t0, s1, 31
        li      t1, 1
        bne     t0, t1, fail
        srli    t0, s0, 12
        li      t1, 0x12345
        bne     t0, t1, fail
        li      gp, 11                  # sra and srai fill with the sign
        li      t2, 1
        sra     t0, s1, t2
        li      t1, -2
        bne     t0, t1, fail
        srai    t0, s1, 31
        li      t1, -1
        bne     t0, t1, fail
        srai    t0, s0, 16
        li      t1, 0x1234
        bne     t0, t1, fail
        sra     t0, s0, s2
        li      t1, 0x0091a2b3
        bne     t0, t1, fail

# --------------------------------------------------------------- loads and stores
        li      gp, 12                  # lb and lbu at each place of a word
        la      a0, bytes
        lb      t0, 0(a0)
        li      t1, -128
        bne     t0, t1, fail
        lbu     t0, 0(a0)
        li      t1, 128
        bne     t0, t1, fail
        lb      t0, 1(a0)
        li      t1, 127
        bne     t0, t1, fail
        lb      t0, 2(a0)
        li      t1, -1
        bne     t0, t1, fail
        lbu     t0, 2(a0)
        li      t1, 255
        bne     t0, t1, fail
        lbu     t0, 3(a0)
        li      t1, 1
        bne     t0, t1, fail
        li      gp, 13                  # lh and lhu
        la      a0, halves
        lh      t0, 0(a0)
        li      t1, 0xffff8001
        bne     t0, t1, fail
        lhu     t0, 0(a0)
        li      t1, 0x8001
        bne     t0, t1, fail
        lh      t0, 2(a0)
        li      t1, 0x7ffe
        bne     t0, t1, fail
        li      gp, 14                  # lw, with an offset below zero
        la      a0, room
        lw      t0, -4(a0)
        li      t1, 0xdeadbeef
        bne     t0, t1, fail
        li      gp, 15                  # sw, sb and sh change only their own bytes
        sw      s0, 0(a0)
        lw      t0, 0(a0)
        bne     t0, s0, fail
        li      t2, 0xaabbccdd
        sb      t2, 1(a0)
        lw      t0, 0(a0)
        li      t1, 0x1234dd78
        bne     t0, t1, fail
        sb      t2, 3(a0)
        sb      t2, 0(a0)
        sb      t2, 2(a0)
        lw      t0, 0(a0)
        li      t1, 0xdddddddd
        bne     t0, t1, fail
        sh      s0, 0(a0)
        lw      t0, 0(a0)
        li      t1, 0xdddd5678
        bne     t0, t1, fail
        addi    a0, a0, 8
        sw      s1, 0(a0)
        sh      s0, 2(a0)
        lw      t0, 0(a0)
        li      t1, 0x5678fffd
        bne     t0, t1, fail
        lw      t0, -4(a0)
        bnez    t0, fail
        li      t0, IO                  # four bytes below the outputs ends the memory
        sw      s0, -4(t0)
        li      t2, 4092
        lw      t1, 0(t2)
        bne     t1, s0, fail
        li      gp, 16                  # a load into the register of its address
        la      a0, word
        lw      a0, 0(a0)
        li      t1, 0xdeadbeef
        bne     a0, t1, fail
        fence

# --------------------------------------------------------------- jumps and branches
        li      gp, 17                  # jal and jalr keep the way back
        jal     t0, next1
back1:  j       fail
next1:  la      t1, back1
        bne     t0, t1, fail
        la      t1, next2+1             # jalr clears the lowest bit
        jalr    t2, 0(t1)
back2:  j       fail
next2:  la      t1, back2
        bne     t2, t1, fail
        la      t1, next3+8
        jalr    t1, -8(t1)              # target and way back in one register
back3:  j       fail
next3:  la      t2, back3
        bne     t1, t2, fail
        li      gp, 18                  # auipc
here:   auipc   t0, 1
        la      t1, here
        li      t2, 4096
        add     t1, t1, t2
        bne     t0, t1, fail
        li      gp, 19                  # each branch where it goes
        beq     s1, s1, taken1
        j       fail
taken1: bne     s1, s2, taken2
        j       fail
taken2: blt     s1, s2, taken3
        j       fail
taken3: bge     s2, s1, taken4
        j       fail
taken4: bge     s1, s1, taken5
        j       fail
taken5: bltu    s2, s1, taken6
        j       fail
taken6: bgeu    s1, s2, taken7
        j       fail
taken7: bgeu    s2, s2, taken8
        j       fail
taken8: li      gp, 20                  # each branch where it doesn't
        beq     s1, s2, fail0
        bne     s1, s1, fail0
        blt     s2, s1, fail0
        blt     s1, s1, fail0
        bge     s1, s2, fail0
        bltu    s1, s2, fail0
        bltu    s1, s1, fail0
        bgeu    s2, s1, fail0
        j       backward
fail0:  j       fail
backward:
        li      gp, 21                  # a branch backwards, ten times
        li      t0, 10
        li      t1, 0
loop:   addi    t1, t1, 3
        addi    t0, t0, -1
        bgtz    t0, loop
        li      t2, 30
        bne     t1, t2, fail0
where:  auipc   t0, 0                   # and where that has led
        la      t1, where
        bne     t0, t1, fail0
        li      gp, 22                  # the cycle counter goes on
        li      t0, IO
        lw      t1, 8(t0)
        lw      t2, 8(t0)
        bleu    t2, t1, fail0
        la      a0, text_selftest
        call    print
        li      t0, IO
        li      t1, 1
        sw      t1, 0(t0)

# ------------------------------------------------------------ sort twelve numbers
        la      s3, numbers
        la      s4, numbers_end
        addi    s4, s4, -4
sort1:  mv      t0, s3                  # bubble sort: until a pass swaps nothing
        li      t3, 0
sort2:  lw      t1, 0(t0)
        lw      t2, 4(t0)
        ble     t1, t2, sort3
        sw      t2, 0(t0)
        sw      t1, 4(t0)
        li      t3, 1
sort3:  addi    t0, t0, 4
        bltu    t0, s4, sort2
        bnez    t3, sort1
        la      a0, text_sort
        call    print
        mv      s5, s3
sort4:  lw      a1, 0(s5)
        call    print_hex
        addi    s5, s5, 4
        bleu    s5, s4, sort4
        li      t0, IO
        li      t1, 3
        sw      t1, 0(t0)

# ------------------------------------------------- count the primes below 1,000
        la      s3, sieve
        li      s4, 1000
        li      s5, 0                   # how many
        li      t0, 2
prime1: add     t1, s3, t0
        lbu     t2, 0(t1)
        bnez    t2, prime3
        addi    s5, s5, 1
        add     t1, t0, t0              # cross out its multiples
        li      t3, 1
prime2: bge     t1, s4, prime3
        add     t2, s3, t1
        sb      t3, 0(t2)
        add     t1, t1, t0
        j       prime2
prime3: addi    t0, t0, 1
        blt     t0, s4, prime1
        la      a0, text_primes
        call    print
        mv      a1, s5
        call    print_hex
        li      t0, IO
        li      t1, 7
        sw      t1, 0(t0)

# --------------------------------------------------- checksum of nine characters
        la      t0, text_nine
        li      t1, -1                  # CRC-32, reflected
        li      t3, 0xedb88320
crc1:   lbu     t2, 0(t0)
        beqz    t2, crc4
        xor     t1, t1, t2
        li      t4, 8
crc2:   andi    t5, t1, 1
        srli    t1, t1, 1
        beqz    t5, crc3
        xor     t1, t1, t3
crc3:   addi    t4, t4, -1
        bnez    t4, crc2
        addi    t0, t0, 1
        j       crc1
crc4:   not     s5, t1
        la      a0, text_crc
        call    print
        mv      a1, s5
        call    print_hex
        li      gp, 23
        li      t0, 0xcbf43926
        bne     s5, t0, fail1

# ------------------------------------------------------------------- the LEDs
        la      a0, text_pass
        call    print
        li      t0, IO
        li      t1, 0x55
light:  sw      t1, 0(t0)
        addi    t1, t1, 1
        li      t2, 0x20000
pause:  addi    t2, t2, -1
        bnez    t2, pause
        j       light
fail1:  j       fail

# ---------------------------------------------------------------------- data
text_selftest:  .asciz  "instructions ok\n"
text_sort:      .asciz  "sorted\n"
text_primes:    .asciz  "primes "
text_crc:       .asciz  "crc "
text_nine:      .asciz  "123456789"
text_pass:      .asciz  "PASS\n"
text_fail:      .asciz  "FAIL "
        .align  2
numbers:
        .word   42, -7, 0, 0x7fffffff, -2147483648, 1000, 42, -1, 5, 65536, -65536, 1
numbers_end:
        .align  2
sieve:  .space  1000
