#!/bin/sh
# Arranges the VHDL standard and Synopsys package sources that Debian's ghdl-common
# installs under the names our data directory uses (data/vhdl/src/...). Nothing of
# them is committed: run this once after checkout and after a ghdl-common upgrade.
# Where a name stands for a package and its body, the two are joined into one file.
#
# Usage: scripts/assemble_data.sh [DATA_DIR]   (default: data/ beside this script)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
data=${1:-$here/../data}
ghdl=${GHDL_SRC:-/usr/lib/ghdl/src}

if [ ! -f "$ghdl/std/v93/standard.vhdl" ]; then
    echo "assemble_data.sh: no VHDL sources under $ghdl (apt-get install ghdl-common)" >&2
    exit 1
fi

src=$data/vhdl/src

# place TARGET SOURCE...: TARGET (relative to vhdl/src) is the sources joined in order.
place() {
    target=$src/$1
    shift
    mkdir -p "$(dirname "$target")"
    cat "$@" > "$target.tmp"
    mv "$target.tmp" "$target"
}

# Level 1: VHDL-93 editions.
place std/standard.vhd "$ghdl/std/v93/standard.vhdl"
place std/textio.vhd "$ghdl/std/v93/textio.vhdl" "$ghdl/std/v93/textio-body.vhdl"
place std/env.vhd "$ghdl/std/env.vhdl" "$ghdl/std/env-body.vhdl"
place ieee/distributable/std_logic_1164.vhd \
    "$ghdl/ieee/v93/std_logic_1164.vhdl" "$ghdl/ieee/v93/std_logic_1164-body.vhdl"
place ieee/distributable/numeric_std.vhd \
    "$ghdl/ieee/v93/numeric_std.vhdl" "$ghdl/ieee/v93/numeric_std-body.vhdl"
place ieee/distributable/numeric_bit.vhd \
    "$ghdl/ieee/v93/numeric_bit.vhdl" "$ghdl/ieee/v93/numeric_bit-body.vhdl"
# Only the declarations: the scanner needs names, not the bodies' arithmetic.
place ieee/dummy/math_real.vhd "$ghdl/ieee/math_real.vhdl"
place ieee/dummy/math_complex.vhd "$ghdl/ieee/math_complex.vhdl"
for pkg in std_logic_arith std_logic_unsigned std_logic_signed std_logic_textio; do
    place synopsys/compileToIeee/$pkg.vhd "$ghdl/synopsys/$pkg.vhdl"
done
place synopsys/compileToIeee/std_logic_misc.vhd \
    "$ghdl/synopsys/std_logic_misc.vhdl" "$ghdl/synopsys/std_logic_misc-body.vhdl"

# Levels 2 and 3: VHDL-2008 editions.
place std_2008/standard.vhd "$ghdl/std/v08/standard.vhdl"
place std_2008/textio.vhd "$ghdl/std/v08/textio.vhdl" "$ghdl/std/v08/textio-body.vhdl"
place std_2008/env.vhd "$ghdl/std/env.vhdl" "$ghdl/std/env-body.vhdl"
for f in std_logic_1164 std_logic_1164-body numeric_std numeric_std-body \
         numeric_std_unsigned numeric_std_unsigned-body numeric_bit numeric_bit-body \
         numeric_bit_unsigned numeric_bit_unsigned-body std_logic_textio \
         math_real math_real-body math_complex math_complex-body \
         fixed_float_types fixed_generic_pkg fixed_generic_pkg-body fixed_pkg \
         float_generic_pkg float_generic_pkg-body float_pkg \
         ieee_std_context ieee_bit_context; do
    place ieee_2008/$f.vhdl "$ghdl/ieee2008/$f.vhdl"
done
for pkg in std_logic_arith std_logic_unsigned std_logic_signed; do
    place synopsys/compileToIeee_2008/$pkg.vhd "$ghdl/synopsys/$pkg.vhdl"
done
place synopsys/compileToIeee_2008/std_logic_misc.vhd \
    "$ghdl/synopsys/v08/std_logic_misc.vhdl" "$ghdl/synopsys/v08/std_logic_misc-body.vhdl"

echo "assemble_data.sh: standard VHDL sources arranged under $src"
