module t(input a, output q);
  s s0(a, q);
endmodule
module s(input a, output q);
  t t0(a, q);
endmodule
