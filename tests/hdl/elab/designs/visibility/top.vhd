-- Default binding: an entity of the component's name that a use clause makes visible
-- comes before the one of the work library; without one, the work library's.
entity leaf is
end entity;

architecture w of leaf is
begin
end architecture;

entity third is
end entity;

architecture w of third is
begin
end architecture;

library mylib;
use mylib.leaf;

entity vis_top is
end entity;

library mylib;
use mylib.other;

architecture rtl of vis_top is
  component leaf
  end component;
  component other
  end component;
  component third
  end component;
begin
  u1 : leaf;
  u2 : other;
  u3 : third;
end architecture;
