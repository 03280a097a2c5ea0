#!/usr/bin/env bash
# Configures and builds the tree.  Usage: scripts/build.sh [BUILD_DIR] [cmake args...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$root/build}
shift || true
# ccache, when installed, spares compiling again what another build folder or
# a fresh clone beside this one has compiled already.
if command -v ccache >/dev/null && [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ]; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$(dirname "$root")}
fi
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$dir" -j "$(nproc)"
