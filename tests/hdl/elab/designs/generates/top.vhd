library ieee;
use ieee.std_logic_1164.all;
use ieee.math_real.all;
use work.util.all;

entity gen_top is
  generic (DEPTH : positive := 100; MODE : natural := 2);
end entity;

architecture rtl of gen_top is
  type state is (idle, busy, done);
  constant AW : natural := log2ceil(DEPTH);
  constant BANKS : natural := integer(ceil(real(DEPTH) / 32.0));
  component cell
    generic (W : positive := 4; INIT : std_logic_vector := "0");
    port (d : in std_logic_vector(W - 1 downto 0) := (others => '0'); q : out std_logic_vector(W - 1 downto 0));
  end component;
  signal bus_a : std_logic_vector(AW - 1 downto 0);
begin
  banks_g : for b in 0 to BANKS - 1 generate
    constant WB : positive := max(AW, b + 1);
    signal s : std_logic_vector(WB - 1 downto 0);
  begin
    c : cell generic map (W => WB) port map (d => s, q => s);
  end generate;

  states_g : for st in state generate
    c : entity work.cell(plain) generic map (W => state'pos(st) + 1);
  end generate;

  chars_g : for ch in character range 'x' to 'z' generate
    c : cell generic map (W => character'pos(ch) - character'pos('w'));
  end generate;

  lanes_g : for i in LANES'range generate
    present_g : if LANES(i).present generate
      c : cell generic map (W => LANES(i).width);
    end generate;
  end generate;

  width_g : for i in bus_a'range generate
    last_g : if i = bus_a'high generate
      c : entity work.cell(registered) generic map (W => i + 1, INIT => (i downto 0 => '1'));
    end generate;
  end generate;

  mode_g : if m0 : MODE = 0 generate
    c : cell;
  elsif m1 : MODE = 1 generate
    c : cell generic map (W => 1);
  else m2 : generate
    t : entity work.tree generic map (LEVELS => MODE);
  end generate;

  sel_g : case MODE generate
    when s0 : 0 | 1 =>
      c : cell;
    when others =>
      blk : block
      begin
        c : cell generic map (W => 2);
      end block;
  end generate;
end architecture;
