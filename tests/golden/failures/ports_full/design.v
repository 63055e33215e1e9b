module t(input [39:0] a, output q);
  assign q = ^a;
endmodule
