module t(input a, output q);
  reg a;
  assign q = a;
  wire [3:0] a;
endmodule
