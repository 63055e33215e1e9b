module t(input a, output q);
  wire x;
  assign x = ~(x & a);
  assign q = x;
endmodule
