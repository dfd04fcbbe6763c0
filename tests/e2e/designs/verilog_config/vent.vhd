-- A VHDL entity under the configured hierarchy, over a Verilog module.
entity vent is
  generic (D : natural := 2);
end entity;

architecture rtl of vent is
  component one is
  end component;
begin
  o: one;
end architecture;
