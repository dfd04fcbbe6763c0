// The cells the configuration picks instead.
module leaf #(parameter int W = 1) ();
  two y ();
endmodule

module two;
endmodule
