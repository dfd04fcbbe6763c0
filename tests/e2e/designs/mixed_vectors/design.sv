module bridge #(parameter logic [7:0] MASK = 8'hff, parameter int LANES = 1, parameter string TITLE = "b") ();
  logic [LANES-1:0] lane;
  regblk #(.INIT(MASK), .NAME(TITLE), .DEPTH(LANES + 1)) r ();
  regblk #(8'h3c) s ();
endmodule
