interface bus_if #(parameter int DW = 8);
  logic [DW-1:0] data;
  logic valid;
  modport src (output data, output valid);
  modport dst (input data, input valid);
endinterface

module producer #(parameter int DW = 8) (bus_if.src bus);
endmodule

module consumer (bus_if.dst bus);
endmodule

module node #(parameter int ID = 0, parameter int DEPTH = 1) ();
  localparam int LOG = $clog2(DEPTH);
  if (LOG > 2) begin : wide
    node #(.ID(ID), .DEPTH(DEPTH / 2)) half ();
  end
endmodule

module top;
  function automatic int fact(int n);
    int r = 1;
    while (n > 1) begin
      r *= n;
      n--;
    end
    return r;
  endfunction
  localparam int F = fact(4);
  bus_if #(.DW(F)) b0 ();
  bus_if b1 ();
  producer #(.DW(F)) p0 (.bus(b0));
  consumer c0 (.bus(b0));
  for (genvar i = 3; i >= 0; i -= 2) begin
    for (genvar j = 0; j < i; j++) begin : inner
      localparam int K = i * 10 + j;
      if (K % 2 == 0) begin : even
        node #(.ID(K)) u ();
      end else if (K % 3 == 1) begin : three
        node #(.ID(K), .DEPTH(32)) u ();
      end else begin
        node u ();
      end
    end
  end
  case (F)
    1, 2: node tiny ();
    24: begin : fits
      node #(.DEPTH(F)) big ();
    end
  endcase
  node #(.DEPTH(64)) chain ();
endmodule

bind producer node #(.ID(99)) bound ();
