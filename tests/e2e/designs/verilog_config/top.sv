// A configuration whose design cell instantiates `leaf`, which two libraries hold: its
// cell rule takes lib2's, below the top and below a VHDL entity alike.
module top;
  mid m ();
  leaf #(.W(4)) u ();
endmodule

module mid;
  leaf l ();
  vent e ();
endmodule

config cfg;
  design work.top;
  default liblist work lib1 lib2;
  cell leaf use lib2.leaf;
endconfig
