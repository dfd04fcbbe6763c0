#!/usr/bin/env bash
# Newcomer's first command: install, build, and scan the bundled example project.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/assemble_data.sh
scripts/build.sh build
scripts/precompile_stdlibs.sh build/sift
cd examples
LOOM_DATADIR="$PWD/../data" ../build/sift run.tcl
# Then its elaboration: the tops, and the hierarchy with the units each instance uses.
LOOM_DATADIR="$PWD/../data" ../build/sift elab.tcl
