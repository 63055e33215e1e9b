module t(input a, output q);
  wire b;
  assign q = a & b;
endmodule
