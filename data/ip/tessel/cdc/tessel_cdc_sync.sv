// Multi-stage synchroniser for level signals (each bit crosses on its own).
module tessel_cdc_sync #(
    parameter int WIDTH = 1,
    parameter int STAGES = 2
) (
    input  logic             clk,
    input  logic [WIDTH-1:0] d,
    output logic [WIDTH-1:0] q
);
    (* async_reg = "true" *) logic [WIDTH-1:0] chain [STAGES];

    always_ff @(posedge clk) begin
        chain[0] <= d;
        for (int i = 1; i < STAGES; i++) chain[i] <= chain[i-1];
    end

    assign q = chain[STAGES-1];
endmodule
