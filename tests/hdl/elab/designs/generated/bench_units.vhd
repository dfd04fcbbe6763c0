library ieee;
use ieee.std_logic_1164.all;

entity leaf is
  generic (W : positive := 8);
  port (d : in std_logic_vector(W - 1 downto 0) := (others => '0');
        q : out std_logic_vector(W - 1 downto 0));
end entity;

architecture rtl of leaf is
begin
  q <= d;
end architecture;

library ieee;
use ieee.std_logic_1164.all;
use work.bench_pkg.all;

entity mid is
  generic (G : natural := 0; N : positive := 4);
end entity;

architecture rtl of mid is
  constant W : positive := width_of(G);
begin
  leaves : for i in 0 to N - 1 generate
    u : entity work.leaf generic map (W => W + i mod 3);
  end generate;
end architecture;

entity bench_top is
  generic (ITERATIONS : positive := 12; SETS : positive := 5);
end entity;

architecture rtl of bench_top is
begin
  mids : for i in 0 to ITERATIONS - 1 generate
    m : entity work.mid generic map (G => i mod SETS);
  end generate;
end architecture;

entity tree is
  generic (D : natural := 0);
end entity;

architecture rec of tree is
begin
  branch : if D > 0 generate
    l : entity work.tree generic map (D => D - 1);
    r : entity work.tree generic map (D => D - 1);
  end generate;
end architecture;

entity bench_tree is
  generic (DEPTH : natural := 3);
end entity;

architecture rtl of bench_tree is
begin
  root : entity work.tree generic map (D => DEPTH);
end architecture;
