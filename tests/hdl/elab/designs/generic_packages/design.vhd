-- A generic package instantiated in a library and inside an architecture, its constants
-- and functions sizing the structure.
package gen_pkg is
  generic (W : natural := 4);
  constant DEPTH : natural := 2 ** W;
  function twice(n : natural) return natural;
end package;

package body gen_pkg is
  function twice(n : natural) return natural is
  begin
    return 2 * n + W;
  end function;
end package body;

package p3 is new work.gen_pkg generic map (W => 3);

entity leaf is
  generic (N : natural := 0);
end entity;

architecture a of leaf is
begin
end architecture;

entity sized is
  generic (WIDTH : natural := 1);
end entity;

architecture rtl of sized is
  package local is new work.gen_pkg generic map (W => WIDTH);
begin
  cells : for i in 1 to local.DEPTH generate
    u : entity work.leaf generic map (N => local.twice(i));
  end generate;
end architecture;

use work.p3.all;

entity gp_top is
end entity;

architecture rtl of gp_top is
begin
  g : for i in 1 to DEPTH generate
    u : entity work.leaf generic map (N => twice(i));
  end generate;
  s1 : entity work.sized generic map (WIDTH => 1);
  s2 : entity work.sized generic map (WIDTH => 2);
  v : entity work.leaf generic map (N => work.p3.DEPTH);
end architecture;
