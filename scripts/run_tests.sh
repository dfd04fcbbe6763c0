#!/usr/bin/env bash
# Installs, builds and runs every test. "--asan" runs the same tests in a build
# with AddressSanitizer and UBSan (build-asan/).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/assemble_data.sh
dir=build type=RelWithDebInfo
if [[ "${1:-}" == "--asan" ]]; then dir=build-asan type=Asan; fi
scripts/build.sh "$dir" "$type"
scripts/precompile_stdlibs.sh "$dir/sift"
cd "$dir"
ctest --output-on-failure -j"$(nproc)"
