// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

`timescale 1ns / 1ns

// Gives the bare core one instruction at a time and looks whether it stops, and
// whether it calls that a fault.
module rv32i_trap_tb;
    reg         clk   = 0;
    reg         reset = 1;
    wire [31:0] addr;
    wire [31:0] wdata;
    wire [3:0]  wmask;
    reg  [31:0] rdata = 0;
    wire        halted;
    wire        fault;

    rv32i_core core (
        .clk(clk), .reset(reset), .mem_addr(addr), .mem_wdata(wdata), .mem_wmask(wmask),
        .mem_rdata(rdata), .halted(halted), .fault(fault));

    always #5 clk = !clk;

    localparam NOP = 32'h00000013;

    // The instruction under test stands at 0; everything else is NOP.
    reg [31:0] instruction;
    reg        wrote;
    always @(posedge clk) begin
        rdata <= addr == 0 ? instruction : NOP;
        if (wmask != 0)
            wrote <= 1;
    end

    integer errors = 0;

    task try(input [31:0] value, input stops, input is_fault);
        begin
            instruction = value;
            reset = 1;
            @(negedge clk);
            wrote = 0;
            reset = 0;
            repeat (8) @(negedge clk);
            if (halted !== stops || fault !== is_fault || (stops && wrote)) begin
                errors = errors + 1;
                $display("%h: halted %b, fault %b, wrote %b", value, halted, fault, wrote);
            end
        end
    endtask

    initial begin
        @(negedge clk);
        try(NOP,          0, 0);
        try(32'h0ff0000f, 0, 0);  // fence
        try(32'h00000073, 1, 0);  // ecall
        try(32'h00100073, 1, 0);  // ebreak
        try(32'h00200073, 1, 1);  // no other system instruction exists
        try(32'h30001073, 1, 1);  // nor a control register
        try(32'h00000000, 1, 1);  // all zeros
        try(32'hffffffff, 1, 1);  // all ones
        try(32'h02000033, 1, 1);  // a multiplication
        try(32'h40001033, 1, 1);  // sll with the sign bit of sra
        try(32'h40001013, 1, 1);  // slli with it
        try(32'h02005013, 1, 1);  // srli by more than 31
        try(32'h00003003, 1, 1);  // a load of eight bytes
        try(32'h00006003, 1, 1);  // a load of a word without sign
        try(32'h00003023, 1, 1);  // a store of eight bytes
        try(32'h00002063, 1, 1);  // a branch that doesn't exist
        try(32'h00001067, 1, 1);  // jalr with a wrong function
        try(32'h00002003, 0, 0);  // lw x0, 0(x0)
        try(32'h00102003, 1, 1);  // lw x0, 1(x0)
        try(32'h00202003, 1, 1);  // lw x0, 2(x0)
        try(32'h00201003, 0, 0);  // lh x0, 2(x0)
        try(32'h00101003, 1, 1);  // lh x0, 1(x0)
        try(32'h00300003, 0, 0);  // lb x0, 3(x0)
        try(32'h00002123, 1, 1);  // sw x0, 2(x0)
        try(32'h000010a3, 1, 1);  // sh x0, 1(x0)
        try(32'h000001a3, 0, 0);  // sb x0, 3(x0)
        try(32'h0020006f, 1, 1);  // jal x0, 2
        try(32'h00200067, 1, 1);  // jalr x0, 2(x0)
        try(32'h00000163, 1, 1);  // beq x0, x0, 2
        try(32'h00001163, 0, 0);  // bne x0, x0, 2 is not taken
        if (errors == 0)
            $display("PASS");
        else
            $display("FAIL: %0d errors", errors);
        $finish;
    end
endmodule
