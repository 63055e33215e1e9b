module t(input c, input d, output reg q);
  wire k;
  SB_PLL40_CORE #(.DIVR(0), .DIVF(60), .DIVQ(4), .FEEDBACK_PATH("SIMPLE"), .FILTER_RANGE(1))
    p(.REFERENCECLK(c), .PLLOUTCORE(k), .RESETB(1'b1), .BYPASS(1'b0));
  always @(posedge k) q <= d;
endmodule
