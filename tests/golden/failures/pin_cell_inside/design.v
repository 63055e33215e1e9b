module t(input a, output q, output z);
  wire x = ~a;
  assign z = x;
  SB_IO #(.PIN_TYPE(6'b000001)) s(.PACKAGE_PIN(x), .D_IN_0(q));
endmodule
