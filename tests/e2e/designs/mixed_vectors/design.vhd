-- Vectors and strings across: a VHDL bit-vector generic reaches a Verilog vector
-- parameter and comes back to a VHDL std_logic_vector generic; a width worked out by a
-- VHDL function sets a Verilog port.
library ieee;
use ieee.std_logic_1164.all;

entity regblk is
  generic (INIT : std_logic_vector(7 downto 0) := x"00"; NAME : string := "reg"; DEPTH : natural := 1);
end entity;

architecture rtl of regblk is
begin
end architecture;

library ieee;
use ieee.std_logic_1164.all;

entity board is
end entity;

architecture rtl of board is
  function lanes(n : natural) return natural is
  begin
    return 2 * n - 1;
  end function;
  component bridge is
    generic (MASK : std_logic_vector(7 downto 0) := x"ff"; LANES : integer := 1; TITLE : string := "b");
  end component;
begin
  b0: bridge generic map (MASK => x"a5", LANES => lanes(3), TITLE => "north");
  b1: bridge generic map (MASK => "00001111", LANES => lanes(1));
end architecture;
