// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

`timescale 1ns / 1ns

// Runs the whole program and compares what it says on the serial output, byte
// by byte, with what it must say; then looks at the LEDs.
module rv32i_tb;
    localparam DIVISOR = 4;
    localparam LIMIT   = 2000000;

    reg        clk = 0;
    wire [7:0] led;
    wire       tx;
    wire       halted;
    wire       fault;

    rv32i_soc #(.DIVISOR(DIVISOR)) dut (
        .clk(clk), .led(led), .tx(tx), .halted(halted), .fault(fault));

    always #5 clk = !clk;

    localparam LENGTH = 165;
    reg [8*LENGTH-1:0] expected = {
        "instructions ok\n",
        "sorted\n",
        "80000000\n", "FFFF0000\n", "FFFFFFF9\n", "FFFFFFFF\n", "00000000\n", "00000001\n",
        "00000005\n", "0000002A\n", "0000002A\n", "000003E8\n", "00010000\n", "7FFFFFFF\n",
        "primes ", "000000A8\n",
        "crc ", "CBF43926\n",
        "PASS\n"};

    integer   seen   = 0;
    integer   errors = 0;
    integer   k;
    reg [7:0] heard;

    task finish_with(input integer failed);
        begin
            if (failed == 0)
                $display("PASS");
            else
                $display("FAIL: %0d errors after %0d bytes", failed, seen);
            $finish;
        end
    endtask

    // Hears the serial output, in the middle of each bit.
    always begin
        @(negedge tx);
        repeat (DIVISOR / 2) @(negedge clk);
        for (k = 0; k < 8; k = k + 1) begin
            repeat (DIVISOR) @(negedge clk);
            heard[k] = tx;
        end
        repeat (DIVISOR) @(negedge clk);
        $write("%c", heard);
        if (tx !== 1 || seen >= LENGTH || heard !== expected[8*(LENGTH-1-seen) +: 8])
            errors = errors + 1;
        seen = seen + 1;
    end

    // When all is said, the LEDs begin to count.
    initial begin
        wait (seen == LENGTH);
        repeat (100) @(negedge clk);
        if (led !== 8'h55 || halted !== 0 || fault !== 0)
            errors = errors + 1;
        finish_with(errors);
    end

    initial begin
        wait (halted === 1);
        $display("\nthe processor stopped, fault %b", fault);
        finish_with(errors + 1);
    end

    initial begin
        repeat (LIMIT) @(negedge clk);
        $display("\nno end after %0d cycles", LIMIT);
        finish_with(errors + 1);
    end
endmodule
