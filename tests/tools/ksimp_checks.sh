# What the ksimp end-to-end scripts share: a private work folder and
# configuration, and checks that count passes and failures and show the
# output of each failure.  Sourced after `ksimp` is set; the caller ends
# with `finish`.
set -uo pipefail
work=$(mktemp -d "${TMPDIR:-/tmp}/ksimp-test.XXXXXX")
trap 'rm -rf "$work"' EXIT
export KESTRO_CONFIG_DIR=$work/config ODBCSYSINI=$work/odbc
mkdir -p "$ODBCSYSINI"
failures=0
passes=0

check() {  # check NAME EXPECTED_STATUS COMMAND...
  local name=$1 expected=$2
  shift 2
  "$@" >"$work/out" 2>"$work/err"
  local status=$?
  if [ "$status" -ne "$expected" ]; then
    echo "FAIL $name: exit $status, expected $expected"; sed 's/^/  | /' "$work/out" "$work/err"
    failures=$((failures + 1))
  else
    passes=$((passes + 1))
  fi
}
contains() {  # contains NAME FILE TEXT
  if grep -qF -- "$3" "$2"; then passes=$((passes + 1)); else
    echo "FAIL $1: '$3' not in output"; sed 's/^/  | /' "$2"; failures=$((failures + 1)); fi
}
lacks() {  # lacks NAME FILE TEXT
  if ! grep -qF -- "$3" "$2"; then passes=$((passes + 1)); else
    echo "FAIL $1: '$3' in output"; sed 's/^/  | /' "$2"; failures=$((failures + 1)); fi
}
holds() {  # holds NAME PYTHON_CONDITION: the condition on r, the JSON object in $work/out
  if python3 -c 'import json, sys; r = json.load(open(sys.argv[1])); sys.exit(0 if eval(sys.argv[2]) else 1)' \
    "$work/out" "$2"; then passes=$((passes + 1)); else
    echo "FAIL $1: not $2"; sed 's/^/  | /' "$work/out"; failures=$((failures + 1)); fi
}
finish() {
  echo "$passes passed, $failures failed"
  [ "$failures" -eq 0 ]
}
