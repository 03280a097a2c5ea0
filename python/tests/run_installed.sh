#!/usr/bin/env bash
# The Python package as a user gets it: pip installs a copy of python/ into
# a folder of its own (offline, with the system's setuptools: no build
# isolation, no index), and pytest runs python/tests against that copy.
# Usage: run_installed.sh WORK_DIR
# KESTRO_LIB_DIR names the folders of libks_imp.so and libks_eng5.so;
# KESTRO_PYTHON the interpreter (default Debian's, which sees python3-pytest);
# KESTRO_TEST_PRELOAD what the tests' interpreter preloads (a sanitizer's
# runtime, for sanitized libraries), leaving pip and the shell alone.
set -euo pipefail
package=$(cd "$(dirname "$0")/.." && pwd)
work=$1
python=${KESTRO_PYTHON:-/usr/bin/python3}

rm -rf "$work/source" "$work/site"
mkdir -p "$work/source"
# pip builds in the folder it is given (build/, kestro.egg-info/): give it a copy.
cp -r "$package/pyproject.toml" "$package/README.md" "$package/kestro" "$work/source/"
"$python" -m pip install --quiet --disable-pip-version-check --root-user-action=ignore \
  --no-build-isolation --no-index --no-deps --target "$work/site" "$work/source"

# Away from the source, which would otherwise come first on sys.path.
cd "$work"
export PYTHONPATH="$work/site" PYTHONDONTWRITEBYTECODE=1
"$python" - "$work/site" <<'PY'
import sys, kestro
if not kestro.__file__.startswith(sys.argv[1]):
    sys.exit(f"kestro came from {kestro.__file__}, not from the installed copy")
PY
# Only Python's own output is captured: a sanitizer's report on the file
# descriptor itself reaches the test log even when it ends the process.
exec env ${KESTRO_TEST_PRELOAD:+LD_PRELOAD="$KESTRO_TEST_PRELOAD"} \
  "$python" -m pytest -q -p no:cacheprovider --capture=sys "$package/tests"
