// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// Sends back every byte that it receives, eight bits, no parity, one stop bit.
//
// Bytes wait in a queue of 512 in block RAM, so that a sender that is a little
// faster than this clock loses nothing. The LEDs show the last byte.
module uart_echo #(
    parameter CLOCK_HZ = 12000000,
    parameter BAUD     = 115200
) (
    input  wire       clk,
    input  wire       rx,
    output wire       tx,
    output reg  [7:0] led
);
    localparam DIVISOR = (CLOCK_HZ + BAUD / 2) / BAUD;

    wire [7:0] received;
    wire       received_valid;
    uart_rx #(.DIVISOR(DIVISOR)) receiver (
        .clk(clk), .rx(rx), .data(received), .valid(received_valid));

    wire [7:0] oldest;
    wire       oldest_valid;
    wire       sent;
    byte_queue queue (
        .clk(clk), .put(received_valid), .put_data(received),
        .valid(oldest_valid), .data(oldest), .take(sent));

    wire ready;
    assign sent = oldest_valid && ready;
    uart_tx #(.DIVISOR(DIVISOR)) sender (
        .clk(clk), .data(oldest), .start(sent), .ready(ready), .tx(tx));

    initial led = 8'h00;
    always @(posedge clk)
        if (received_valid)
            led <= received;
endmodule

// Receives bytes. A start bit must still stand in its middle, a stop bit must
// be there; otherwise nothing is handed on.
module uart_rx #(
    parameter DIVISOR = 104
) (
    input  wire       clk,
    input  wire       rx,
    output reg  [7:0] data,
    output reg        valid
);
    localparam WIDTH = $clog2(DIVISOR);

    // Two registers bring the line into this clock's time.
    reg [1:0] line = 2'b11;
    always @(posedge clk)
        line <= {line[0], rx};

    reg             busy  = 0;
    reg [WIDTH-1:0] count = 0;
    reg [3:0]       bits  = 0;

    initial begin
        data  = 0;
        valid = 0;
    end

    always @(posedge clk) begin
        valid <= 0;
        if (!busy) begin
            busy  <= !line[1];
            count <= DIVISOR / 2 - 1;
            bits  <= 0;
        end else if (count != 0) begin
            count <= count - 1'b1;
        end else begin
            count <= DIVISOR - 1;
            bits  <= bits + 1'b1;
            if (bits == 0)
                busy <= !line[1];
            else if (bits != 9)
                data <= {line[1], data[7:1]};
            else begin
                busy  <= 0;
                valid <= line[1];
            end
        end
    end
endmodule

// Sends a byte that is there together with `start` while `ready`.
module uart_tx #(
    parameter DIVISOR = 104
) (
    input  wire       clk,
    input  wire [7:0] data,
    input  wire       start,
    output wire       ready,
    output wire       tx
);
    localparam WIDTH = $clog2(DIVISOR);

    // Start bit, eight bits of data and the stop bit leave at the low end.
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

// A queue of 512 bytes in one block RAM. A byte that finds it full is dropped.
// `data` holds the oldest byte while `valid`; `take` removes it.
module byte_queue (
    input  wire       clk,
    input  wire       put,
    input  wire [7:0] put_data,
    output wire       valid,
    output reg  [7:0] data,
    input  wire       take
);
    (* no_rw_check *)
    reg [7:0] bytes [0:511];
    reg [9:0] head   = 0;
    reg [9:0] tail   = 0;
    reg       loaded = 0;

    wire full = head == {!tail[9], tail[8:0]};

    // The RAM gives its byte a cycle after it was asked.
    assign valid = loaded;
    always @(posedge clk) begin
        data   <= bytes[tail[8:0]];
        loaded <= head != tail && !take;
        if (take)
            tail <= tail + 1'b1;
        if (put && !full) begin
            bytes[head[8:0]] <= put_data;
            head <= head + 1'b1;
        end
    end
endmodule
