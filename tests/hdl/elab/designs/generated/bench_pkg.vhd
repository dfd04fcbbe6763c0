library ieee;
use ieee.math_real.all;

package bench_pkg is
  function log2ceil(n : positive) return natural;
  function width_of(g : natural) return positive;
end package;

package body bench_pkg is
  function log2ceil(n : positive) return natural is
    variable r : natural := 0;
  begin
    while 2 ** r < n loop
      r := r + 1;
    end loop;
    return r;
  end function;

  function width_of(g : natural) return positive is
  begin
    return log2ceil(g + 2) + integer(ceil(sqrt(real(g mod 7 + 1))));
  end function;
end package body;
