module s(input a, output q);
  assign q = a;
endmodule
module t(input a, output q);
  s s0(.a(a), .z(q));
endmodule
