module t(input a, output q);
  wire x = ~a;
  foo f0(.a(x), .q(q));
endmodule
