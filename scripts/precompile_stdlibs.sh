#!/bin/sh
# Builds the precompiled standard libraries of the data directory
# (data/precomp_hsv/vhdl/<library>, <library>_2008, <library>_2019, and
# data/precomp_hsv/sv/std, uvm) from its standard sources with `sf -compile_dump`: one
# run per VHDL edition, and one SystemVerilog run, analyse the sources that such a run
# registers, then save every library they analysed. Run it after
# scripts/assemble_data.sh and after a change of the sources or of the front-end's trees
# (saved files carry the layout of the trees they were written with).
#
# Usage: scripts/precompile_stdlibs.sh [SIFT [DATA_DIR]]   (defaults: build/sift, data/)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
sift=${1:-$here/../build/sift}
data=$(cd "${2:-$here/../data}" && pwd)

if [ ! -x "$sift" ]; then
    echo "precompile_stdlibs.sh: no sift program at $sift (build it first)" >&2
    exit 1
fi
if [ ! -f "$data/vhdl/src/std/standard.vhd" ]; then
    echo "precompile_stdlibs.sh: no standard sources under $data (run scripts/assemble_data.sh)" >&2
    exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
out=$data/precomp_hsv/vhdl
mkdir -p "$out"

# edition: option, file option, directory suffix
for edition in "93 -add_vhdl93 " "2008 -add_vhdl08 _2008" "2019 -add_vhdl19 _2019"; do
    set -- $edition
    name=$1 option=$2 suffix=${3:-}
    printf 'entity precompile_probe is end;\n' > "$work/probe.vhd"
    {
        [ "$name" = 2019 ] && echo "sf -enable_vhdl_2019"
        echo "sf -verbosity 1"
        echo "sf $option precompile_work {$work/probe.vhd}"
        echo "sf -parse"
        echo "sf -compile_dump -outdir {$work/$name}"
    } > "$work/run.tcl"
    LOOM_DATADIR=$data "$sift" "$work/run.tcl" > "$work/$name.log"
    if grep -q 'ERROR' "$work/$name.log"; then
        cat "$work/$name.log" >&2
        echo "precompile_stdlibs.sh: errors in the VHDL-$name run" >&2
        exit 1
    fi
    for lib in std synopsys ieee mortise lathe vl tessel; do
        [ -d "$work/$name/$lib" ] || continue
        rm -rf "$out/$lib$suffix"
        mv "$work/$name/$lib" "$out/$lib$suffix"
    done
done

# SystemVerilog: the package std, and UVM where the data directory has its sources.
sv_out=$data/precomp_hsv/sv
mkdir -p "$sv_out"
printf 'module precompile_probe; endmodule\n' > "$work/probe.sv"
{
    echo "sf -verbosity 1"
    echo "sf -add_svlib precompile_work {$work/probe.sv}"
    echo "sf -parse"
    echo "sf -compile_dump -outdir {$work/sv}"
} > "$work/run.tcl"
LOOM_DATADIR=$data "$sift" "$work/run.tcl" > "$work/sv.log"
uvm=$data/system_verilog/uvm_1.2/corvid_uvm_package.sv
if [ -f "$uvm" ]; then
    grep 'ERROR' "$work/sv.log" > "$work/sv.errors" || true
else
    grep 'ERROR' "$work/sv.log" | grep -v "cannot open file '.*corvid_uvm_package.sv'" > "$work/sv.errors" || true
fi
if [ -s "$work/sv.errors" ]; then
    cat "$work/sv.log" >&2
    echo "precompile_stdlibs.sh: errors in the SystemVerilog run" >&2
    exit 1
fi
for lib in std uvm; do
    [ -d "$work/sv/$lib" ] || continue
    rm -rf "$sv_out/$lib"
    mv "$work/sv/$lib" "$sv_out/$lib"
done
echo "precompile_stdlibs.sh: precompiled standard libraries written under $out and $sv_out"
