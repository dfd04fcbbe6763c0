library ieee;
use ieee.std_logic_1164.all;
library lathe;
use lathe.vcomponents.all;
use work.util_pkg.all;

-- Parity of a word, and a device LUT over its low bits.
entity parity_unit is
    generic (WIDTH : positive := 8);
    port (
        v     : in  std_logic_vector(WIDTH - 1 downto 0);
        p     : out std_logic;
        lut_o : out std_logic
    );
end entity parity_unit;

architecture rtl of parity_unit is
begin
    p <= parity(v);

    low_and : SB_LUT4
        generic map (LUT_INIT => X"8000")
        port map (O => lut_o, I0 => v(0), I1 => v(1), I2 => v(2), I3 => v(3));
end architecture rtl;
