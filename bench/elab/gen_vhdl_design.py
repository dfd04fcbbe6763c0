#!/usr/bin/env python3
"""Writes a generated VHDL design for the elaboration benchmark.

    gen_vhdl_design.py OUTDIR [--iterations 10000] [--sets 1000] [--inner 100] [--depth 20]

Top `bench_top`: a for generate of ITERATIONS instances of `mid`, whose generic G takes
SETS distinct values; each `mid` unrolls INNER instances of `leaf`, whose width a
function of G computes (log2 and math_real). That is 1 + ITERATIONS * (1 + INNER)
instance paths from ITERATIONS + 1 instance statements of `mid` and `leaf` per copy.
Top `bench_tree`: a binary tree of DEPTH levels, one unit per level, 2**(DEPTH+1) - 1
instance paths: the paths grow, the units do not. FILELIST.tsv lists the files.
"""
import argparse
import os

PKG = """library ieee;
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
"""

UNITS = """library ieee;
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
  generic (G : natural := 0; N : positive := {inner});
end entity;

architecture rtl of mid is
  constant W : positive := width_of(G);
begin
  leaves : for i in 0 to N - 1 generate
    u : entity work.leaf generic map (W => W + i mod 3);
  end generate;
end architecture;

entity bench_top is
  generic (ITERATIONS : positive := {iterations}; SETS : positive := {sets});
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
  generic (DEPTH : natural := {depth});
end entity;

architecture rtl of bench_tree is
begin
  root : entity work.tree generic map (D => DEPTH);
end architecture;
"""


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("outdir")
    ap.add_argument("--iterations", type=int, default=10000)
    ap.add_argument("--sets", type=int, default=1000)
    ap.add_argument("--inner", type=int, default=100)
    ap.add_argument("--depth", type=int, default=20)
    a = ap.parse_args()
    os.makedirs(a.outdir, exist_ok=True)
    with open(os.path.join(a.outdir, "bench_pkg.vhd"), "w") as f:
        f.write(PKG)
    with open(os.path.join(a.outdir, "bench_units.vhd"), "w") as f:
        f.write(UNITS.format(iterations=a.iterations, sets=a.sets, inner=a.inner, depth=a.depth))
    with open(os.path.join(a.outdir, "FILELIST.tsv"), "w") as f:
        f.write(f"# generated: {a.iterations} iterations, {a.sets} generic sets, {a.inner} leaves each, "
                f"tree depth {a.depth}\n")
        f.write("vhdl08\twork\tbench_pkg.vhd\nvhdl08\twork\tbench_units.vhd\ntop\tbench_top\n")


if __name__ == "__main__":
    main()
