// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// A light that runs to and fro over eight LEDs.
//
// STEP is the number of clock cycles that it stays on one LED: an eighth of a
// second at the board's 12 MHz.
module blinky #(
    parameter STEP = 1500000
) (
    input  wire       clk,
    output reg  [7:0] led
);
    localparam WIDTH = $clog2(STEP);

    reg [WIDTH-1:0] count = 0;
    reg             back  = 0;

    wire last = count == STEP - 1;

    initial led = 8'b0000_0001;

    always @(posedge clk) begin
        count <= last ? {WIDTH{1'b0}} : count + 1'b1;
        if (last) begin
            led <= back ? led >> 1 : led << 1;
            if (led[6] && !back)
                back <= 1'b1;
            else if (led[1] && back)
                back <= 1'b0;
        end
    end
endmodule
