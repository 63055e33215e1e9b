module t(input logic a, output logic q);
  always_comb q = a;
endmodule
