module t(input c, a, b, output reg q);
  always @(posedge c) q <= a;
  always @(posedge c) q <= b;
endmodule
