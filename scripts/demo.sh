#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, then adds
# real files to a new embedded database and shows what it holds.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=${BUILD_DIR:-$root/build}
"$root/scripts/build.sh" "$dir"
ksimp=$dir/tools/ksimp/ksimp

work=$(mktemp -d "${TMPDIR:-/tmp}/ksimp-demo.XXXXXX")
db=$work/demo.kst
inputs=("$root/README.md" "$root/docs/engine.md" "$root/include/ks_eng5.h")

set -x
"$ksimp" create "$db"
"$ksimp" add "$db" "${inputs[@]}"
"$ksimp" docs "$db"
"$ksimp" search "$db" "database"
"$ksimp" export "$db" "$work/export"
set +x
ls -l "$work/export"
echo "The database is $db"
