module t(input c, input w, input [7:0] a, input [7:0] d, output reg [7:0] q);
  reg [7:0] m[0:255];
  always @(posedge c) begin
    if (w) m[a] <= d;
    q <= m[a];
  end
endmodule
