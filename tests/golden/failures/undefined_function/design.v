module t(input a, output q);
  assign q = parity(a);
endmodule
