`define DATA_WIDTH 8
