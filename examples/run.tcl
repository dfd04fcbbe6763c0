# Scans the example project: settings first, then the files, then the phases,
# then the database is written out and shown.
sf -verbosity 2
sf -set_project_defaultlibrary work
sf -add_v2klib work rtl/counter.v -incdir {include}
sf -add_svlib work rtl/top.sv -incdir {include}
sf -add_vhdl08 work rtl/util_pkg.vhd rtl/adder.vhd
sf -skim
sf -sketch
sf -parse
sf -save example.db
sf -print
sf -print_hier
