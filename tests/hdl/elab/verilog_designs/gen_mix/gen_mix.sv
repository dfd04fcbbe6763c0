package pk;
  parameter int PW = 3;
  localparam logic [7:0] MASK = 8'hF0;
endpackage
module leaf #(parameter W = 8, parameter type T = logic [3:0], parameter string NAME = "x") (input logic [W-1:0] a);
  localparam int TW = $bits(T);
endmodule
module mid #(parameter N = 2, parameter W = 4) ();
  function automatic integer f(input integer x);
    integer r; r = 0;
    for (int i = 0; i < x; i++) r += i;
    return r;
  endfunction
  genvar i;
  for (i = 0; i < N; i = i + 1) begin : gen
    leaf #(.W(W + i)) u0 ();
    if (i == 1) begin
      leaf #(.W(f(5))) u1 ();
    end
  end
  if (N > 3) begin : big
    leaf u2 ();
  end else begin
    leaf #(16, logic [7:0]) u3 ();
  end
  case (W)
    4: leaf #(.NAME("four")) c4 ();
    default: leaf c5 ();
  endcase
  leaf arr [2:0] ();
endmodule
module top;
  import pk::*;
  mid #(.N(PW)) m1 ();
  mid m2 ();
  mid #(2, 5) m3 ();

  defparam m2.W = 6;
endmodule
