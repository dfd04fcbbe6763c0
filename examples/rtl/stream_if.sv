// A valid/ready stream with a source and a sink view.
interface stream_if #(parameter int W = 8) (input logic clk);
    logic         valid;
    logic         ready;
    logic [W-1:0] data;

    modport source (input clk, ready, output valid, data);
    modport sink   (input clk, valid, data, output ready);
endinterface
