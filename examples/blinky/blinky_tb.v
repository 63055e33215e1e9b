// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

`timescale 1ns / 1ns

// Follows the light for four full rounds and compares every cycle.
module blinky_tb;
    localparam STEP = 5;

    reg        clk = 0;
    wire [7:0] led;

    blinky #(.STEP(STEP)) dut (.clk(clk), .led(led));

    always #5 clk = !clk;

    integer cycle;
    integer phase;
    integer place;
    integer errors = 0;

    initial begin
        for (cycle = 0; cycle < 4 * 14 * STEP; cycle = cycle + 1) begin
            @(negedge clk);
            // 14 places make a round: 0 to 7 and back to 1.
            phase = ((cycle + 1) / STEP) % 14;
            place = phase < 8 ? phase : 14 - phase;
            if (led !== (8'd1 << place)) begin
                errors = errors + 1;
                $display("cycle %0d: led is %b, not %b", cycle, led, 8'd1 << place);
            end
        end
        if (errors == 0)
            $display("PASS");
        else
            $display("FAIL: %0d errors", errors);
        $finish;
    end
endmodule
