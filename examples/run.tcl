# Scans the example project: settings first, then the files, then the phases,
# then the database is written out and shown.
sf -verbosity 2
sf -set_project_defaultlibrary work
sf -add_v2klib work rtl/counter.v -incdir {include}
sf -add_svlib work rtl/top.sv rtl/stream_sink.sv rtl/stream_if.sv rtl/bus_pkg.sv -incdir {include}
sf -add_vhdl08 work rtl/parity_unit.vhd rtl/adder_pair_cfg.vhd rtl/adder_pair.vhd rtl/adder.vhd rtl/util_pkg.vhd
sf -skim
sf -sketch
sf -parse
sf -save example.db
sf -print
sf -print_hier
