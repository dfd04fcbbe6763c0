module vleaf #(parameter int N = 1, parameter real SCALE = 1.0) ();
endmodule

module vmid #(parameter integer W = 2) ();
  logic [W-1:0] bus;
  vent #(.W(W), .EN(1), .TAG("fast")) e (.d(bus));
  vent #(W) q (.d(bus));
endmodule
