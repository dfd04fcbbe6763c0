# Elaborates the example project and shows the elaborated hierarchy: tops chosen from
# the design, the configuration's choice of adder, the device LUT trimmed away.
sf -verbosity 2
sf -set_project_defaultlibrary work
sf -add_v2klib work rtl/counter.v -incdir {include}
sf -add_svlib work rtl/top.sv rtl/stream_sink.sv rtl/stream_if.sv rtl/bus_pkg.sv -incdir {include}
sf -add_vhdl08 work rtl/parity_unit.vhd rtl/adder_pair_cfg.vhd rtl/adder_pair.vhd rtl/adder.vhd rtl/util_pkg.vhd
sf -skim
sf -parse
sf -elab
sf -print_hier
