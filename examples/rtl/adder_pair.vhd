library ieee;
use ieee.std_logic_1164.all;

-- Three operands through two adders; which adder is decided by the configuration.
entity adder_pair is
    generic (W : positive := 8);
    port (
        a, b, c : in  std_logic_vector(W - 1 downto 0);
        y       : out std_logic_vector(W - 1 downto 0)
    );
end entity adder_pair;

architecture structural of adder_pair is
    component add2 is
        generic (WIDTH : positive);
        port (
            a, b : in  std_logic_vector(WIDTH - 1 downto 0);
            y    : out std_logic_vector(WIDTH - 1 downto 0)
        );
    end component add2;
    signal ab : std_logic_vector(W - 1 downto 0);
begin
    first : add2 generic map (WIDTH => W) port map (a => a, b => b, y => ab);
    second : add2 generic map (WIDTH => W) port map (a => ab, b => c, y => y);
end architecture structural;
