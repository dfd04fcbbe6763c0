#!/usr/bin/env bash
# Configures and builds into build/ (or the directory and type given).
set -euo pipefail
cd "$(dirname "$0")/.."
dir="${1:-build}"
type="${2:-RelWithDebInfo}"
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE="$type" >/dev/null
cmake --build "$dir" -j"$(nproc)"
