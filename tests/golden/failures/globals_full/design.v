module t(input [8:0] a, input d, output [8:0] q);
  genvar i;
  generate
    for (i = 0; i < 9; i = i + 1) begin : g
      wire n;
      reg r;
      SB_GB b(.USER_SIGNAL_TO_GLOBAL_BUFFER(a[i]), .GLOBAL_BUFFER_OUTPUT(n));
      always @(posedge n) r <= d;
      assign q[i] = r;
    end
  endgenerate
endmodule
