module t(input c, input [1:0] a, output reg q);
  always @(posedge c) q <= ^a;
endmodule
