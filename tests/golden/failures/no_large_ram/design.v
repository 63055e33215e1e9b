module t(input c, input [13:0] a, output [15:0] q);
  SB_SPRAM256KA m(.CLOCK(c), .ADDRESS(a), .DATAOUT(q), .CHIPSELECT(1'b1), .POWEROFF(1'b1),
                  .STANDBY(1'b0), .SLEEP(1'b0), .WREN(1'b0), .MASKWREN(4'b0), .DATAIN(16'b0));
endmodule
