entity leaf is
  generic (W : positive := 4);
end entity;

architecture a of leaf is
begin
end architecture;

architecture b of leaf is
begin
end architecture;

entity alt is
  generic (W : positive := 1);
end entity;

architecture x of alt is
begin
end architecture;

entity mid is
  generic (N : positive := 2);
end entity;

architecture m of mid is
  component leaf
    generic (W : positive := 4);
  end component;
  for first : leaf use entity work.leaf(a);
begin
  first : leaf generic map (W => N);
  g : for i in 0 to N - 1 generate
    l : leaf generic map (W => i + 1);
  end generate;
end architecture;

entity cfg_top is
end entity;

architecture rtl of cfg_top is
  component mid
    generic (N : positive := 2);
  end component;
  component leaf
    generic (W : positive := 4);
  end component;
  for l0 : leaf use entity work.alt(x);
begin
  m0 : mid;
  m1 : mid generic map (N => 3);
  l0 : leaf;
  l1 : leaf;
  c0 : configuration work.mid_cfg;
end architecture;

configuration mid_cfg of mid is
  for m
    for g(0)
      for l : leaf
        use entity work.leaf(b);
      end for;
    end for;
  end for;
end configuration;

configuration top_cfg of cfg_top is
  for rtl
    for m0 : mid
      use entity work.mid(m) generic map (N => 4);
      for m
        for g(1 to 2)
          for l : leaf
            use entity work.alt(x);
          end for;
        end for;
      end for;
    end for;
    for l1 : leaf
      use entity work.leaf(a) generic map (W => 9);
    end for;
  end for;
end configuration;
