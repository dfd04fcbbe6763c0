// Dual-clock FIFO: Gray-coded pointers cross between the domains through two-stage
// synchronisers.
module tessel_fifo_async #(
    parameter int WIDTH = 8,
    parameter int DEPTH = 16,
    parameter int ADDR_WIDTH = $clog2(DEPTH)
) (
    input  logic             wclk,
    input  logic             wrst,
    input  logic             push,
    input  logic [WIDTH-1:0] wdata,
    output logic             full,
    input  logic             rclk,
    input  logic             rrst,
    input  logic             pop,
    output logic [WIDTH-1:0] rdata,
    output logic             empty
);
    logic [ADDR_WIDTH:0] wbin, rbin, wgray, rgray, wgray_r, rgray_w;

    function automatic logic [ADDR_WIDTH:0] to_gray(input logic [ADDR_WIDTH:0] b);
        return b ^ (b >> 1);
    endfunction

    assign wgray = to_gray(wbin);
    assign rgray = to_gray(rbin);
    assign full  = wgray == {~rgray_w[ADDR_WIDTH:ADDR_WIDTH-1], rgray_w[ADDR_WIDTH-2:0]};
    assign empty = rgray == wgray_r;

    always_ff @(posedge wclk) begin
        if (wrst) wbin <= '0;
        else if (push && !full) wbin <= wbin + 1'b1;
    end

    always_ff @(posedge rclk) begin
        if (rrst) rbin <= '0;
        else if (pop && !empty) rbin <= rbin + 1'b1;
    end

    tessel_cdc_sync #(.WIDTH(ADDR_WIDTH + 1)) u_wptr_sync (.clk(rclk), .d(wgray), .q(wgray_r));
    tessel_cdc_sync #(.WIDTH(ADDR_WIDTH + 1)) u_rptr_sync (.clk(wclk), .d(rgray), .q(rgray_w));

    tessel_ram_sdp #(.WIDTH(WIDTH), .DEPTH(DEPTH), .ADDR_WIDTH(ADDR_WIDTH)) u_ram (
        .wclk(wclk), .we(push && !full), .waddr(wbin[ADDR_WIDTH-1:0]), .wdata(wdata),
        .rclk(rclk), .re(1'b1), .raddr(rbin[ADDR_WIDTH-1:0] + (pop && !empty)), .rdata(rdata)
    );
endmodule
