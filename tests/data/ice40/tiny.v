// A counter of two bits with an enable, for reports of a size to read.
module tiny(input wire clk, input wire [1:0] go, output reg [1:0] q, output wire always_on);
    initial q = 0;
    always @(posedge clk)
        if (&go)
            q <= q + 1'b1;
    assign always_on = 1'b1;
endmodule
