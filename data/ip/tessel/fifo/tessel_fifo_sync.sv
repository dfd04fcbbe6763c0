// Single-clock FIFO on top of the simple dual-port RAM; one spare address bit tells
// full from empty.
module tessel_fifo_sync #(
    parameter int WIDTH = 8,
    parameter int DEPTH = 16,
    parameter int ADDR_WIDTH = $clog2(DEPTH)
) (
    input  logic             clk,
    input  logic             rst,
    input  logic             push,
    input  logic [WIDTH-1:0] wdata,
    output logic             full,
    input  logic             pop,
    output logic [WIDTH-1:0] rdata,
    output logic             empty
);
    logic [ADDR_WIDTH:0] wptr, rptr;

    assign empty = wptr == rptr;
    assign full  = wptr == {~rptr[ADDR_WIDTH], rptr[ADDR_WIDTH-1:0]};

    always_ff @(posedge clk) begin
        if (rst) begin
            wptr <= '0;
            rptr <= '0;
        end else begin
            if (push && !full) wptr <= wptr + 1'b1;
            if (pop && !empty) rptr <= rptr + 1'b1;
        end
    end

    tessel_ram_sdp #(.WIDTH(WIDTH), .DEPTH(DEPTH), .ADDR_WIDTH(ADDR_WIDTH)) u_ram (
        .wclk(clk), .we(push && !full), .waddr(wptr[ADDR_WIDTH-1:0]), .wdata(wdata),
        .rclk(clk), .re(1'b1), .raddr(rptr[ADDR_WIDTH-1:0] + (pop && !empty)), .rdata(rdata)
    );
endmodule
