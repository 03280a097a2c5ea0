#!/usr/bin/env bash
# Configures and builds the tree.  Usage: scripts/build.sh [BUILD_DIR] [cmake args...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$root/build}
shift || true
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$dir" -j "$(nproc)"
