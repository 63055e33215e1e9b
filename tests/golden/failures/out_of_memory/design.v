module t(input c, input d, output q);
  reg [19999:0] r;
  always @(posedge c) r <= {r[19998:0], d ^ r[17]};
  assign q = r[19999];
endmodule
