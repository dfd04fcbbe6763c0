// A configuration whose design cell instantiates `leaf`, which two libraries hold: its
// cell rule takes lib2's, below the top and below a VHDL entity alike, and an instance
// rule gives the second `mid` a wider leaf. `bench` uses `mid` outside the
// configuration, where the plain search finds lib1's leaf.
module top;
  mid m ();
  leaf #(.W(4)) u ();
  mid m2 ();
endmodule

module mid;
  leaf l ();
  vent e ();
endmodule

module bench;
  mid m ();
endmodule

config cfg;
  design work.top;
  default liblist work lib1 lib2;
  cell leaf use lib2.leaf;
  instance top.m2.l use lib2.leaf #(.W(2));
endconfig
