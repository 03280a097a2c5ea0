#!/usr/bin/env bash
# Fails when a shared library exports a name outside its public family:
# the engine only Eng*, the import library only KSIMP_*.
set -euo pipefail
eng=$1
imp=$2
status=0
check() {
  local lib=$1 pattern=$2 names bad
  names=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | sed 's/@.*//')
  bad=$(grep -v -E "$pattern" <<<"$names" || true)
  if [ -z "$names" ]; then
    echo "$lib exports nothing"; status=1
  fi
  if [ -n "$bad" ]; then
    echo "$lib exports names it should not:"; echo "$bad" | head -20; status=1
  fi
  echo "$lib: $(wc -l <<<"$names") exported names"
}
check "$eng" '^Eng[A-Za-z0-9_]+$'
check "$imp" '^KSIMP_[A-Za-z0-9_]+$'
exit $status
