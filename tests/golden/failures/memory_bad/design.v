module t(input c, input [3:0] a, output reg [7:0] q);
  reg [7:0] m[0:15];
  initial $readmemh("bad.hex", m);
  always @(posedge c) q <= m[a];
endmodule
