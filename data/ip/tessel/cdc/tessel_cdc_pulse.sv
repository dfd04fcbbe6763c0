// Carries single-cycle pulses across clock domains by toggling a level; pulses closer
// together than the synchroniser latency merge.
module tessel_cdc_pulse #(
    parameter int STAGES = 2
) (
    input  logic src_clk,
    input  logic src_pulse,
    input  logic dst_clk,
    output logic dst_pulse
);
    logic toggle, toggle_sync, toggle_seen;

    always_ff @(posedge src_clk) if (src_pulse) toggle <= ~toggle;

    tessel_cdc_sync #(.WIDTH(1), .STAGES(STAGES)) u_sync (.clk(dst_clk), .d(toggle), .q(toggle_sync));

    always_ff @(posedge dst_clk) toggle_seen <= toggle_sync;
    assign dst_pulse = toggle_sync ^ toggle_seen;
endmodule
