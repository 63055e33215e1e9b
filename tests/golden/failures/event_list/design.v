module t(input c, input d, output reg q);
  always @(posedge c or d) q <= d;
endmodule
