#!/usr/bin/env bash
# Installs the Debian packages that building and testing sift need. Safe to re-run:
# packages already present are not fetched again.
set -euo pipefail

packages=(
  build-essential cmake pkg-config python3
  tcl8.6-dev
  libboost-dev libboost-serialization-dev libboost-iostreams-dev libboost-filesystem-dev
  libboost-regex-dev
  libssl-dev openssl
  libgtest-dev googletest
  ghdl-common
)
# Optional extras: pass "--extras" for the tools the benchmarks compare against and
# for regenerating the primitive data from the cell models.
if [[ "${1:-}" == "--extras" ]]; then
  packages+=(clang clang-format libclang-rt-14-dev ghdl ghdl-mcode verilator iverilog yosys)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo=""
  [[ $(id -u) -ne 0 ]] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
