`default_nettype none
module t(input wire a, output wire q);
  assign q = a & b;
endmodule
