// The cells a plain search finds first: lib1 is analysed before lib2.
module leaf #(parameter int W = 1) ();
  one x ();
endmodule

module one;
endmodule
