-- Helpers that designs use to size their structure.
package util is
  function log2ceil(n : positive) return natural;
  function max(a, b : integer) return integer;
  type lane_cfg is record
    width : positive;
    present : boolean;
  end record;
  type lane_cfg_array is array (natural range <>) of lane_cfg;
  constant LANES : lane_cfg_array := ((8, true), (16, false), (32, true));
end package;

package body util is
  function log2ceil(n : positive) return natural is
    variable r : natural := 0;
  begin
    while 2 ** r < n loop
      r := r + 1;
    end loop;
    return r;
  end function;

  function max(a, b : integer) return integer is
  begin
    if a > b then return a; end if;
    return b;
  end function;
end package body;
