-- A VHDL top over a Verilog module over a VHDL entity over a Verilog module. The
-- components name the Verilog modules in another case than they are declared.
library ieee;
use ieee.std_logic_1164.all;

entity vent is
  generic (W : natural := 4; EN : boolean := false; TAG : string := "none");
  port (d : in std_logic_vector(W - 1 downto 0));
end entity;

architecture rtl of vent is
  component VLEAF is
    generic (n : integer := 1; SCALE : real := 1.0);
  end component;
begin
  l: VLEAF generic map (n => W + 1, SCALE => 0.5);
  p: VLEAF generic map (7);
end architecture;

library ieee;
use ieee.std_logic_1164.all;

entity vtop is
  generic (N : natural := 8);
end entity;

architecture rtl of vtop is
  component vmid is
    generic (W : integer := 2);
  end component;
begin
  m: vmid generic map (W => N);
  d: vmid;
end architecture;
