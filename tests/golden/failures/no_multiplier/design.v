module t(input c, input [7:0] a, b, output [15:0] q);
  SB_MAC16 m(.CLK(c), .A({8'b0, a}), .B({8'b0, b}), .O(q));
endmodule
