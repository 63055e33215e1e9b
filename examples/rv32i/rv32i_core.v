// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// A small processor for the RV32I base instruction set, without interrupts and
// control registers.
//
// An instruction takes three cycles, a load four. The memory answers in the
// cycle after it was asked; a write happens at the end of its cycle. FENCE does
// nothing, as there is one memory and one reader. ECALL and EBREAK stop the
// processor; an instruction that does not exist, or an access or a jump that is
// not aligned, stops it with `fault`.
module rv32i_core (
    input  wire        clk,
    input  wire        reset,
    output wire [31:0] mem_addr,
    output wire [31:0] mem_wdata,
    output wire [3:0]  mem_wmask,   // one bit for each byte that is written
    input  wire [31:0] mem_rdata,
    output reg         halted,
    output reg         fault
);
    localparam FETCH = 2'd0, DECODE = 2'd1, EXECUTE = 2'd2, LOAD = 2'd3;

    localparam LUI    = 7'b0110111, AUIPC  = 7'b0010111, JAL    = 7'b1101111,
               JALR   = 7'b1100111, BRANCH = 7'b1100011, LOADS  = 7'b0000011,
               STORES = 7'b0100011, OP_IMM = 7'b0010011, OP     = 7'b0110011,
               FENCE  = 7'b0001111, SYSTEM = 7'b1110011;

    reg [1:0]  state = FETCH;
    reg [31:0] pc    = 0;
    reg [31:0] instr = 0;
    reg        known = 0;

    initial begin
        halted = 0;
        fault  = 0;
    end

    // Fields of the instruction.

    wire [4:0] rd     = instr[11:7];
    wire [2:0] funct3 = instr[14:12];

    // The kind is decoded while the instruction arrives from memory.

    reg is_lui, is_auipc, is_jal, is_jalr, is_branch, is_load, is_store, is_reg, is_system;
    reg writes_rd, uses_rs2;

    wire [6:0] opcode = mem_rdata[6:0];
    always @(posedge clk)
        if (state == DECODE) begin
            is_lui    <= opcode == LUI;
            is_auipc  <= opcode == AUIPC;
            is_jal    <= opcode == JAL;
            is_jalr   <= opcode == JALR;
            is_branch <= opcode == BRANCH;
            is_load   <= opcode == LOADS;
            is_store  <= opcode == STORES;
            is_reg    <= opcode == OP;
            is_system <= opcode == SYSTEM;
            uses_rs2  <= opcode == OP || opcode == BRANCH;
            writes_rd <= opcode == LUI || opcode == AUIPC || opcode == JAL || opcode == JALR
                      || opcode == OP_IMM || opcode == OP;
        end

    wire [31:0] imm_i = {{20{instr[31]}}, instr[31:20]};
    wire [31:0] imm_s = {{20{instr[31]}}, instr[31:25], instr[11:7]};
    wire [31:0] imm_b = {{19{instr[31]}}, instr[31], instr[7], instr[30:25], instr[11:8], 1'b0};
    wire [31:0] imm_u = {instr[31:12], 12'b0};
    wire [31:0] imm_j = {{11{instr[31]}}, instr[31], instr[19:12], instr[20], instr[30:21], 1'b0};

    // Whether an instruction exists; this too is decided while it arrives.

    function exists(input [31:0] word);
        reg [2:0] f3;
        reg       plain;
        reg       other;
        begin
            f3    = word[14:12];
            plain = word[31:25] == 7'b0000000;
            other = word[31:25] == 7'b0100000;
            case (word[6:0])
                LUI, AUIPC, JAL, FENCE: exists = 1'b1;
                JALR:   exists = f3 == 3'b000;
                BRANCH: exists = f3[2:1] != 2'b01;
                LOADS:  exists = f3 != 3'b011 && f3[2:1] != 2'b11;
                STORES: exists = f3 == 3'b000 || f3 == 3'b001 || f3 == 3'b010;
                OP_IMM: exists = f3 == 3'b001 ? plain : f3 == 3'b101 ? plain || other : 1'b1;
                OP:     exists = plain || (other && (f3 == 3'b000 || f3 == 3'b101));
                SYSTEM: exists = word[31:21] == 0 && word[19:7] == 0;
                default: exists = 1'b0;
            endcase
        end
    endfunction

    // Registers, in block RAM. While the instruction arrives from memory its
    // source registers are read; register 0 is never written.

    (* no_rw_check *)
    reg [31:0] registers [0:31];
    reg [31:0] rs1;
    reg [31:0] rs2;

    integer i;
    initial
        for (i = 0; i < 32; i = i + 1)
            registers[i] = 0;

    wire        rd_write;
    wire [31:0] rd_value;

    always @(posedge clk) begin
        rs1 <= registers[mem_rdata[19:15]];
        rs2 <= registers[mem_rdata[24:20]];
        if (rd_write)
            registers[rd] <= rd_value;
    end

    // Arithmetic.

    wire [31:0] operand = uses_rs2 ? rs2 : imm_i;
    wire [31:0] sum     = rs1 + (is_store ? imm_s : is_reg ? rs2 : imm_i);
    wire [32:0] diff    = {1'b0, rs1} - {1'b0, operand};
    wire        below   = diff[32];
    wire        less    = rs1[31] == operand[31] ? below : rs1[31];
    wire        equal   = diff[31:0] == 0;

    // One shifter to the right; a shift to the left goes through a mirror.

    function [31:0] mirror(input [31:0] value);
        integer k;
        for (k = 0; k < 32; k = k + 1)
            mirror[k] = value[31 - k];
    endfunction

    wire               shift_left  = funct3 == 3'b001;
    wire               shift_sign  = instr[30] && rs1[31] && !shift_left;
    wire signed [32:0] shift_input = {shift_sign, shift_left ? mirror(rs1) : rs1};
    wire signed [32:0] shift_moved = shift_input >>> operand[4:0];
    wire [31:0] shifted = shift_left ? mirror(shift_moved[31:0]) : shift_moved[31:0];

    reg [31:0] result;
    always @*
        case (funct3)
            3'b000: result = is_reg && instr[30] ? diff[31:0] : sum;
            3'b010: result = {31'b0, less};
            3'b011: result = {31'b0, below};
            3'b100: result = rs1 ^ operand;
            3'b110: result = rs1 | operand;
            3'b111: result = rs1 & operand;
            default: result = shifted;
        endcase

    // Where the program goes on.

    wire condition = funct3[2:1] == 2'b00 ? equal : funct3[2:1] == 2'b10 ? less : below;
    wire taken     = is_jal || (is_branch && condition != funct3[0]);

    wire [31:0] pc_next   = pc + 4;
    wire [31:0] pc_offset = pc + (is_jal ? imm_j : is_branch ? imm_b : imm_u);
    wire [31:0] target    = is_jalr ? {sum[31:1], 1'b0} : taken ? pc_offset : pc_next;

    // Memory.

    wire       half       = funct3[1:0] == 2'b01;
    wire       word       = funct3[1:0] == 2'b10;
    wire [3:0] byte_mask  = word ? 4'b1111 : half ? (sum[1] ? 4'b1100 : 4'b0011)
                                                  : 4'b0001 << sum[1:0];
    wire       misaligned = (half && sum[0]) || (word && sum[1:0] != 0);

    reg [1:0] load_place;
    always @(posedge clk)
        load_place <= sum[1:0];

    wire [15:0] load_half = load_place[1] ? mem_rdata[31:16] : mem_rdata[15:0];
    wire [7:0]  load_byte = load_place[0] ? load_half[15:8] : load_half[7:0];
    wire        load_sign = !funct3[2] && (half ? load_half[15] : load_byte[7]);
    wire [31:0] loaded    = word ? mem_rdata
                          : half ? {{16{load_sign}}, load_half}
                                 : {{24{load_sign}}, load_byte};

    // What must not happen. A jump is looked at before its register is written; a
    // branch writes none.

    wire bad = !known || ((is_load || is_store) && misaligned)
            || (is_jal && pc_offset[1]) || (is_jalr && sum[1]);
    wire bad_branch = is_branch && taken && pc_offset[1];

    // The cycle.

    wire executing = state == EXECUTE && !halted;
    wire done      = executing && !bad && !is_system;

    assign mem_addr  = state == FETCH ? pc : sum;
    assign mem_wdata = word ? rs2 : half ? {2{rs2[15:0]}} : {4{rs2[7:0]}};
    assign mem_wmask = done && is_store ? byte_mask : 4'b0000;

    assign rd_write = rd != 0 && ((done && writes_rd) || state == LOAD);
    assign rd_value = state == LOAD ? loaded
                    : is_lui ? imm_u
                    : is_auipc ? pc_offset
                    : is_jal || is_jalr ? pc_next
                    : result;

    always @(posedge clk) begin
        if (reset) begin
            state  <= FETCH;
            pc     <= 0;
            halted <= 0;
            fault  <= 0;
        end else if (!halted) begin
            case (state)
                FETCH: state <= DECODE;
                DECODE: begin
                    instr <= mem_rdata;
                    known <= exists(mem_rdata);
                    state <= EXECUTE;
                end
                EXECUTE: begin
                    halted <= bad || bad_branch || is_system;
                    fault  <= bad || bad_branch;
                    if (done)
                        pc <= target;
                    state <= is_load ? LOAD : FETCH;
                end
                LOAD: state <= FETCH;
            endcase
        end
    end
endmodule
