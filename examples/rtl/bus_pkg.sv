// Types shared by the SystemVerilog side of the example.
package bus_pkg;
    localparam int LANES = 2;
    typedef enum logic [1:0] {IDLE, RUN, HOLD} mode_t;
    typedef struct packed {
        logic       valid;
        logic [7:0] data;
    } beat_t;
endpackage
