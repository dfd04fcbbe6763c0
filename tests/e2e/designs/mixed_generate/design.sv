// A Verilog top with a generate loop of VHDL entities, by position and by name; the
// VHDL side hands a boolean and a width back to a Verilog module.
module vtap #(parameter bit SIGNED_MODE = 0, parameter int WIDTH = 8) (input logic [WIDTH-1:0] x);
endmodule

module sys #(parameter int LANES = 3) ();
  logic [31:0] data;
  for (genvar i = 0; i < LANES; i++) begin : lane
    vfilt #(i * 4 + 4, 0.25) f (.din(data[i*4+3:0]));
  end
  vfilt #(.WIDTH(16), .COEF(2.5), .SIGNED_TAPS(1)) wide (.din(data[15:0]));
  // Sized vectors and an integer where VHDL expects a positive, a boolean and a real.
  vfilt #(.WIDTH(4'd12), .COEF(2), .SIGNED_TAPS(1'b1)) sized (.din(data[11:0]));
endmodule
