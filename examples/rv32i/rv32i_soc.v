// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// The processor with 4 KB of memory, eight LEDs and a serial output.
//
//   0x00000000  memory, program and data; it repeats every 4 KB
//   0x80000000  LEDs, write
//   0x80000004  serial output: write sends the low byte; read gives 1 while the
//               last byte is still on its way
//   0x80000008  clock cycles since the start, read
//
// The program comes from four files, one for each byte of a word, that
// tools/assemble.py makes.
module rv32i_soc #(
    parameter DIVISOR  = 104,   // 115200 baud at 12 MHz
    parameter PROGRAM0 = "firmware/selftest.0.hex",
    parameter PROGRAM1 = "firmware/selftest.1.hex",
    parameter PROGRAM2 = "firmware/selftest.2.hex",
    parameter PROGRAM3 = "firmware/selftest.3.hex"
) (
    input  wire       clk,
    output reg  [7:0] led,
    output wire       tx,
    output wire       halted,
    output wire       fault
);
    // Block RAM is not ready in the first microseconds after configuration.
    reg [5:0] start = 0;
    wire reset = !(&start);
    always @(posedge clk)
        if (reset)
            start <= start + 1'b1;

    wire [31:0] addr;
    wire [31:0] wdata;
    wire [3:0]  wmask;
    wire [31:0] rdata;

    rv32i_core core (
        .clk(clk), .reset(reset), .mem_addr(addr), .mem_wdata(wdata), .mem_wmask(wmask),
        .mem_rdata(rdata), .halted(halted), .fault(fault));

    // Memory: one RAM for each byte of a word.

    wire        is_io  = addr[31];
    wire [3:0]  enable = is_io ? 4'b0000 : wmask;
    wire [31:0] memory;

    byte_ram #(.PROGRAM(PROGRAM0)) ram0 (
        .clk(clk), .addr(addr[11:2]), .write(enable[0]), .wdata(wdata[7:0]), .rdata(memory[7:0]));
    byte_ram #(.PROGRAM(PROGRAM1)) ram1 (
        .clk(clk), .addr(addr[11:2]), .write(enable[1]), .wdata(wdata[15:8]), .rdata(memory[15:8]));
    byte_ram #(.PROGRAM(PROGRAM2)) ram2 (
        .clk(clk), .addr(addr[11:2]), .write(enable[2]), .wdata(wdata[23:16]), .rdata(memory[23:16]));
    byte_ram #(.PROGRAM(PROGRAM3)) ram3 (
        .clk(clk), .addr(addr[11:2]), .write(enable[3]), .wdata(wdata[31:24]), .rdata(memory[31:24]));

    // Inputs and outputs.

    wire write_led  = is_io && wmask[0] && addr[3:2] == 2'd0;
    wire write_byte = is_io && wmask[0] && addr[3:2] == 2'd1;
    wire ready;

    initial led = 0;
    always @(posedge clk)
        if (write_led)
            led <= wdata[7:0];

    serial_out #(.DIVISOR(DIVISOR)) serial (
        .clk(clk), .data(wdata[7:0]), .start(write_byte), .ready(ready), .tx(tx));

    reg [31:0] cycles = 0;
    always @(posedge clk)
        cycles <= cycles + 1'b1;

    // The answer comes a cycle later, from the memory and from the outside alike.

    reg        read_io = 0;
    reg [31:0] io      = 0;
    always @(posedge clk) begin
        read_io <= is_io;
        io      <= addr[3] ? cycles : {31'b0, !ready};
    end
    assign rdata = read_io ? io : memory;
endmodule

// 1,024 bytes that hold one byte of each word of the program.
module byte_ram #(
    parameter PROGRAM = ""
) (
    input  wire       clk,
    input  wire [9:0] addr,
    input  wire       write,
    input  wire [7:0] wdata,
    output reg  [7:0] rdata
);
    (* no_rw_check *)
    reg [7:0] bytes [0:1023];

    initial
        if (PROGRAM != "")
            $readmemh(PROGRAM, bytes);

    always @(posedge clk) begin
        rdata <= bytes[addr];
        if (write)
            bytes[addr] <= wdata;
    end
endmodule

// Sends a byte that is there together with `start` while `ready`.
module serial_out #(
    parameter DIVISOR = 104
) (
    input  wire       clk,
    input  wire [7:0] data,
    input  wire       start,
    output wire       ready,
    output wire       tx
);
    localparam WIDTH = $clog2(DIVISOR);

    reg [9:0]       shift = 10'h3ff;
    reg [3:0]       bits  = 0;
    reg [WIDTH-1:0] count = 0;

    assign ready = bits == 0;
    assign tx    = shift[0];

    always @(posedge clk) begin
        if (ready) begin
            if (start) begin
                shift <= {1'b1, data, 1'b0};
                bits  <= 10;
                count <= DIVISOR - 1;
            end
        end else if (count != 0) begin
            count <= count - 1'b1;
        end else begin
            shift <= {1'b1, shift[9:1]};
            bits  <= bits - 1'b1;
            count <= DIVISOR - 1;
        end
    end
endmodule
