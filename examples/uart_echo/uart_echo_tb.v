// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

`timescale 1ns / 1ns

// Sends a burst of bytes back to back and checks that all come back in order,
// then a glitch and a byte without a stop bit, which must give nothing.
module uart_echo_tb;
    localparam DIVISOR = 8;
    localparam BYTES   = 200;

    reg        clk = 0;
    reg        rx  = 1;
    wire       tx;
    wire [7:0] led;

    uart_echo #(.CLOCK_HZ(8000), .BAUD(1000)) dut (.clk(clk), .rx(rx), .tx(tx), .led(led));

    always #5 clk = !clk;

    integer sent;
    integer seen   = 0;
    integer errors = 0;

    function [7:0] pattern(input integer number);
        pattern = (number * 73 + 19) ^ (number >> 3);
    endfunction

    task wait_bits(input integer count);
        repeat (count * DIVISOR) @(negedge clk);
    endtask

    task send(input [7:0] value, input stop);
        integer i;
        begin
            rx = 0;
            wait_bits(1);
            for (i = 0; i < 8; i = i + 1) begin
                rx = value[i];
                wait_bits(1);
            end
            rx = stop;
            wait_bits(1);
            rx = 1;
        end
    endtask

    // Hears what comes back, in the middle of each bit.
    reg [7:0] heard;
    integer   bit_number;
    always begin
        @(negedge tx);
        repeat (DIVISOR / 2) @(negedge clk);
        for (bit_number = 0; bit_number < 8; bit_number = bit_number + 1) begin
            wait_bits(1);
            heard[bit_number] = tx;
        end
        wait_bits(1);
        if (tx !== 1 || heard !== pattern(seen)) begin
            errors = errors + 1;
            $display("byte %0d: %h came back, not %h", seen, heard, pattern(seen));
        end
        seen = seen + 1;
    end

    initial begin
        wait_bits(2);
        for (sent = 0; sent < BYTES; sent = sent + 1)
            send(pattern(sent), 1'b1);
        wait_bits(40);
        if (led !== pattern(BYTES - 1)) begin
            errors = errors + 1;
            $display("the LEDs show %h, not %h", led, pattern(BYTES - 1));
        end
        rx = 0;
        repeat (2) @(negedge clk);
        rx = 1;
        wait_bits(20);
        send(8'h00, 1'b0);
        wait_bits(40);
        if (seen == BYTES && errors == 0)
            $display("PASS");
        else
            $display("FAIL: %0d of %0d bytes came back, %0d errors", seen, BYTES, errors);
        $finish;
    end
endmodule
