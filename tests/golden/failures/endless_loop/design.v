module t(input c, input d, output reg q);
  always @(posedge c)
    while (d) q <= ~q;
endmodule
