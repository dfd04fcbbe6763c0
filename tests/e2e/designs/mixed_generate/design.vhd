library ieee;
use ieee.std_logic_1164.all;

entity vfilt is
  generic (WIDTH : positive := 8; COEF : real := 1.0; SIGNED_TAPS : boolean := false);
  port (din : in std_logic_vector(WIDTH - 1 downto 0));
end entity;

architecture rtl of vfilt is
  component vtap is
    generic (signed_mode : boolean := false; width : integer := 8);
    port (x : in std_logic_vector(width - 1 downto 0));
  end component;
begin
  t: vtap generic map (signed_mode => SIGNED_TAPS, width => WIDTH * 2) port map (x => (others => '0'));
end architecture;
