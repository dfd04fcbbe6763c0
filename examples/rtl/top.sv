`include "widths.vh"

// Mixed-language top: Verilog counters, a VHDL adder pair bound by a configuration,
// a VHDL unit with a device primitive, a macro-library synchroniser and a device LUT.
module top import bus_pkg::*; (
    input  logic                   clk,
    input  logic                   rst,
    input  logic                   ext_clk,
    output logic [`DATA_WIDTH-1:0] sum,
    output logic                   parity_sync,
    output logic                   lut_out,
    output beat_t                  last_beat
);
    logic [`DATA_WIDTH-1:0] a, b, c;
    logic parity, and4;
    mode_t mode;

    counter #(.WIDTH(`DATA_WIDTH)) cnt_a (.clk(clk), .rst(rst), .en(1'b1), .count(a));
    counter #(.WIDTH(`DATA_WIDTH)) cnt_b (.clk(clk), .rst(rst), .en(a[0]), .count(b));
    counter #(.WIDTH(`DATA_WIDTH)) cnt_c (.clk(clk), .rst(rst), .en(b[0]), .count(c));

    adder_pair #(.W(`DATA_WIDTH)) add (.a(a), .b(b), .c(c), .y(sum));

    parity_unit #(.WIDTH(`DATA_WIDTH)) par (.v(sum), .p(parity), .lut_o(and4));

    tessel_cdc_sync #(.WIDTH(1), .STAGES(3)) sync_parity (.clk(ext_clk), .d(parity), .q(parity_sync));

    SB_LUT4 #(.LUT_INIT(16'h8000)) lut (.O(lut_out), .I0(a[0]), .I1(b[0]), .I2(c[0]), .I3(and4));

    stream_if #(.W(`DATA_WIDTH)) link (.clk(clk));
    assign link.valid = a[1];
    assign link.data  = sum;
    stream_sink sink (.in(link.sink), .last(last_beat), .mode(mode));
endmodule
