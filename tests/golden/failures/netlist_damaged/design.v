module t(input c, input d, output reg q);
  always @(posedge c) q <= ~d;
endmodule
