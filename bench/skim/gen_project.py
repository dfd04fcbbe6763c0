#!/usr/bin/env python3
"""Writes a synthetic mixed-language project for the skim benchmark.

usage: gen_project.py OUTDIR [FILES] [--headers]   (default 10000 files)

Every tenth file is a package (SystemVerilog or VHDL); the others are modules or
entity/architecture pairs that import a few packages and instantiate earlier units,
with enough body text (always blocks, processes, comments) to look like real RTL.
A FILELIST.tsv in the corpus format lists the files in a shuffled order.

With --headers every SystemVerilog module includes a guarded header of register and
assertion macros (from an include folder) and uses them, as many real projects do.
"""
import os
import random
import sys


def sv_package(name):
    lines = [f"package {name};"]
    for i in range(20):
        lines.append(f"  localparam int P{i} = {i};  // constant {i}")
        lines.append(f"  typedef logic [P{i}:0] t{i}_t;")
    lines.append("  function automatic int f(int a); return a + 1; endfunction")
    lines.append("endpackage")
    return "\n".join(lines) + "\n"


HEADER = """`ifndef GEN_MACROS_SVH
`define GEN_MACROS_SVH
`define GEN_DFLT_CLK clk_i
`define GEN_FF(q, d, rst_value, clk = `GEN_DFLT_CLK)              \\
  always_ff @(posedge (clk)) begin                                  \\
    q <= (d);                                                       \\
  end
`define GEN_ASSERT(name, prop, clk = `GEN_DFLT_CLK, desc = "")      \\
`ifdef GEN_ASSERTIONS                                               \\
  name: assert property (@(posedge clk) (prop))                     \\
    else $error("%s at %s:%0d", desc, `__FILE__, `__LINE__);        \\
`endif
`endif
"""


def sv_module(name, pkgs, children, headers=False):
    lines = [f"`include \"gen_macros.svh\""] if headers else []
    lines.append(f"module {name} #(parameter int W = 8) (input logic clk, input logic [W-1:0] d, output logic [W-1:0] q);")
    for p in pkgs:
        lines.append(f"  import {p}::*;")
    lines.append("  logic [W-1:0] r0, r1, r2;")
    for k, c in enumerate(children):
        lines.append(f"  {c} #(.W(W)) u_{k} (.clk(clk), .d(r{k % 3}), .q());")
    for i in range(30):
        lines.append(f"  always_ff @(posedge clk) begin r{i % 3} <= d ^ {{W{{1'b{i % 2}}}}}; end  // stage {i}")
        lines.append(f"  /* block comment {i}: keeps the text realistic */ assign q = r{i % 3} + {pkgs[0] if pkgs else 'W'}::f({i}) ;"
                     if pkgs else f"  assign q = r{i % 3};")
    if headers:
        for i in range(3):
            lines.append(f"  `GEN_FF(r{i}, d, '0, clk)")
        lines.append("  `GEN_ASSERT(known_q, !$isunknown(q), clk, \"q is known\")")
    lines.append("endmodule")
    return "\n".join(lines) + "\n"


def vhdl_package(name):
    lines = ["library ieee;", "use ieee.std_logic_1164.all;", f"package {name} is"]
    for i in range(20):
        lines.append(f"  constant C{i} : integer := {i}; -- constant {i}")
        lines.append(f"  subtype s{i}_t is std_logic_vector({i} downto 0);")
    lines.append(f"end package {name};")
    return "\n".join(lines) + "\n"


def vhdl_entity(name, pkgs, children):
    lines = ["library ieee;", "use ieee.std_logic_1164.all;"]
    for p in pkgs:
        lines.append(f"use work.{p}.all;")
    lines += [f"entity {name} is", "  port (clk : in std_logic; d : in std_logic_vector(7 downto 0);",
              "        q : out std_logic_vector(7 downto 0));", f"end entity {name};", "",
              f"architecture rtl of {name} is", "  signal r0, r1 : std_logic_vector(7 downto 0);"]
    for c in children:
        lines.append(f"  component {c} port (clk : in std_logic; d : in std_logic_vector(7 downto 0);"
                     " q : out std_logic_vector(7 downto 0)); end component;")
    lines.append("begin")
    for k, c in enumerate(children):
        if k % 2:
            lines.append(f"  u_{k} : entity work.{c}(rtl) port map (clk => clk, d => r0, q => open);")
        else:
            lines.append(f"  u_{k} : {c} port map (clk => clk, d => r1, q => open);")
    for i in range(30):
        lines.append(f"  p{i} : process (clk) begin if rising_edge(clk) then r{i % 2} <= d; end if; end process; -- {i}")
    lines.append("  q <= r0 xor r1;")
    lines.append("end architecture rtl;")
    return "\n".join(lines) + "\n"


def main():
    args = [a for a in sys.argv[1:] if a != "--headers"]
    headers = "--headers" in sys.argv[1:]
    out = args[0]
    count = int(args[1]) if len(args) > 1 else 10000
    rng = random.Random(1)
    os.makedirs(out, exist_ok=True)
    if headers:
        os.makedirs(os.path.join(out, "include"), exist_ok=True)
        with open(os.path.join(out, "include", "gen_macros.svh"), "w") as f:
            f.write(HEADER)
    entries = []
    sv_pkgs, vhdl_pkgs, sv_units, vhdl_units = [], [], [], []
    for i in range(count):
        vhdl = i % 3 == 2
        if i % 10 == 0:
            name = f"pkg_{i}"
            text = vhdl_package(name) if vhdl else sv_package(name)
            (vhdl_pkgs if vhdl else sv_pkgs).append(name)
        else:
            name = f"unit_{i}"
            pool = vhdl_pkgs if vhdl else sv_pkgs
            pkgs = rng.sample(pool, min(len(pool), 3))
            units = vhdl_units if vhdl else sv_units
            children = rng.sample(units, min(len(units), 4))
            text = vhdl_entity(name, pkgs, children) if vhdl else sv_module(name, pkgs, children, headers)
            units.append(name)
        fname = f"f{i:05d}.{'vhd' if vhdl else 'sv'}"
        with open(os.path.join(out, fname), "w") as f:
            f.write(text)
        entries.append(("vhdl08" if vhdl else "sv", "gen", fname))
    rng.shuffle(entries)
    with open(os.path.join(out, "FILELIST.tsv"), "w") as f:
        f.write(f"# generated: {count} files\n")
        if headers:
            f.write("incdir\tinclude\n")
        for e in entries:
            f.write("\t".join(e) + "\n")
        f.write(f"top\tunit_{count - 1}\n")


if __name__ == "__main__":
    main()
