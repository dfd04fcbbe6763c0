interface bus_if #(parameter int W = 8);
  logic [W-1:0] d;
  logic v;
  modport rx (input d, input v);
endinterface

module leaf #(parameter int N = 1) ();
endmodule

module narrow ();
endmodule

module wide ();
endmodule

// Picks its children by the width of what is connected.
module sink (bus_if.rx bus);
  logic [$bits(bus.d)-1:0] shadow;
  if (bus.W > 8) begin : g
    wide u ();
  end else begin : g
    narrow u ();
  end
  leaf #(.N(bus.W)) l ();
endmodule

module sink2 (bus_if bus);
  case (bus.W)
    12: begin : c
      wide u ();
    end
    default: begin : c
      narrow u ();
    end
  endcase
endmodule

module relay (bus_if.rx bus);
  sink s (.bus(bus));
endmodule

module relay2 (bus_if.rx bus);
  relay r (.bus(bus));
endmodule

// Reads nothing through its port.
module plain (bus_if.rx bus, output logic o);
  assign o = bus.v;
endmodule

module arr (bus_if.rx bus [2]);
  sink s0 (.bus(bus[0]));
  sink s1 (.bus(bus[1]));
endmodule

module top (output logic o1, o2);
  bus_if b8 ();
  bus_if #(.W(12)) b12 ();
  bus_if #(.W(16)) ba [2] ();
  relay2 r1 (.bus(b8));
  relay2 r2 (.bus(b12));
  sink2 t1 (.bus(b8));
  sink2 t2 (.bus(b12));
  plain p1 (.bus(b8), .o(o1));
  plain p2 (.bus(b12), .o(o2));
  arr a (.bus(ba));
  for (genvar i = 1; i <= 3; i++) begin : gen
    bus_if #(.W(4 * i)) b ();
    sink s (.bus(b));
  end
endmodule
