library ieee;
use ieee.std_logic_1164.all;

entity cell is
  generic (W : positive := 4; INIT : std_logic_vector := "0");
  port (d : in std_logic_vector(W - 1 downto 0) := (others => '0'); q : out std_logic_vector(W - 1 downto 0));
end entity;

architecture plain of cell is
begin
  q <= d;
end architecture;

architecture registered of cell is
begin
  q <= d;
end architecture;

-- A tree that instantiates itself down to its leaves.
entity tree is
  generic (LEVELS : natural := 2);
end entity;

architecture rec of tree is
begin
  branch : if LEVELS > 0 generate
    left : entity work.tree generic map (LEVELS => LEVELS - 1);
    right : entity work.tree generic map (LEVELS => LEVELS - 1);
  end generate;
end architecture;
