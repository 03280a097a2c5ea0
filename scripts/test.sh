#!/usr/bin/env bash
# The test command: installs what is missing, builds, and runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=${BUILD_DIR:-$root/build}
"$root/scripts/build.sh" "$dir" "$@"
ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
