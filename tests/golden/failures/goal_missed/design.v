module t(input c, input d, output reg q);
  reg [7:0] n;
  always @(posedge c) begin
    n <= n + d;
    q <= &n;
  end
endmodule
