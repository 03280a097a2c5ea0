#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, imports
# real files into a new embedded database and shows what it holds.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=${BUILD_DIR:-$root/build}
"$root/scripts/build.sh" "$dir"
ksimp=$dir/tools/ksimp/ksimp

work=$(mktemp -d "${TMPDIR:-/tmp}/ksimp-demo.XXXXXX")
db=$work/demo.kst
corpus=$root/../shared/corpus

set -x
"$ksimp" create "$db"
# The project's own notes, one document per paragraph.
"$ksimp" import "$db" "$root/README.md" "$root/docs/engine.md" --delimiter blankline
{ set +x; } 2>/dev/null
if [ -d "$corpus" ]; then
  set -x
  # Web pages and rich-text files written by other software, one document each.
  "$ksimp" import "$db" "$corpus"/html/*.html "$corpus"/rtf/*.rtf
  # A CSV file, one fielded document per row; its first row names the fields.
  "$ksimp" import "$db" "$corpus/csv/comma_in_quotes.csv" --header
  # A mailing-list mailbox, one document per message with its header fields.
  mailbox=$corpus/mbox/mailarc-1-dos.mbox
  if [ -f "$mailbox" ]; then "$ksimp" import "$db" "$mailbox" --type mbx; fi
  { set +x; } 2>/dev/null
fi
set -x
"$ksimp" docs "$db"
"$ksimp" search "$db" "database"
"$ksimp" export "$db" "$work/export"
{ set +x; } 2>/dev/null
echo "The database is $db; its documents are exported to $work/export"
