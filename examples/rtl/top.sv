`include "widths.vh"

module top (
    input  logic                   clk,
    input  logic                   rst,
    output logic [`DATA_WIDTH-1:0] sum
);
    logic [`DATA_WIDTH-1:0] a, b;

    counter #(.WIDTH(`DATA_WIDTH)) cnt_a (.clk(clk), .rst(rst), .en(1'b1), .count(a));
    counter #(.WIDTH(`DATA_WIDTH)) cnt_b (.clk(clk), .rst(rst), .en(a[0]), .count(b));

    adder #(.WIDTH(`DATA_WIDTH)) add (.a(a), .b(b), .y(sum));
endmodule
