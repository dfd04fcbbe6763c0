# Scans the design with Verilog configurations enabled; SIFT_OUT names the directory
# that receives the hierarchy and the database dump. SIFT_ELAB is the -elab call.
set here [file dirname [info script]]
sf -enable_verilog_config
sf -add_svlib lib1 $here/lib1.sv
sf -add_svlib lib2 $here/lib2.sv
sf -add_vhdl08 work $here/vent.vhd
sf -add_svlib work $here/top.sv
sf -skim
sf -parse
eval $env(SIFT_ELAB)
sf -print_hier $env(SIFT_OUT)/hier.txt
sf -print $env(SIFT_OUT)/dump.txt
