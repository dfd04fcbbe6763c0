// Simple dual-port RAM: one write port, one read port, each on its own clock.
module tessel_ram_sdp #(
    parameter int WIDTH = 8,
    parameter int DEPTH = 256,
    parameter int ADDR_WIDTH = $clog2(DEPTH)
) (
    input  logic                  wclk,
    input  logic                  we,
    input  logic [ADDR_WIDTH-1:0] waddr,
    input  logic [WIDTH-1:0]      wdata,
    input  logic                  rclk,
    input  logic                  re,
    input  logic [ADDR_WIDTH-1:0] raddr,
    output logic [WIDTH-1:0]      rdata
);
    logic [WIDTH-1:0] mem [DEPTH];

    always_ff @(posedge wclk) if (we) mem[waddr] <= wdata;
    always_ff @(posedge rclk) if (re) rdata <= mem[raddr];
endmodule
