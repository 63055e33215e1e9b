module t(input c, input d, output q);
  reg [499:0] r;
  always @(posedge c) r <= {r[498:0], d ^ r[17]};
  assign q = r[499];
endmodule
