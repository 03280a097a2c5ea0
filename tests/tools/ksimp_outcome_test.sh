#!/usr/bin/env bash
# ksimp import's exit status and --json report for files not imported whole,
# and the document numbers that docs, show, search and export share.
# Usage: ksimp_outcome_test.sh KSIMP
ksimp=$1
. "$(dirname "$0")/ksimp_checks.sh"

db=$work/n.kst
check create 0 "$ksimp" create "$db"
printf 'alpha one\r\n\f\r\nbeta two\r\n\f\r\ngamma three' >"$work/three.txt"
printf 'not a folder\n' >"$work/folder.dbx"
printf 'x' >"$work/letter.doc"

# A file that is not of its type is named with the error; the files after
# it are still imported, and what came before is kept and counted.
check wrong-type 1 "$ksimp" import "$db" "$work/three.txt" "$work/folder.dbx" "$work/letter.doc" \
  --delimiter pagebreak --quiet
contains wrong-type-count "$work/out" "3 document(s) added"
contains wrong-type-named "$work/err" "$work/folder.dbx: not imported: error 11020"
contains wrong-type-after "$work/err" "$work/letter.doc: not imported: error 11020"

# A record over 64 MB stops a delimited file: exit 1, the file named with where.
{ printf 'first,row\r\n"'; head -c $((64 * 1024 * 1024 + 1)) /dev/zero | tr '\0' x; } >"$work/big.csv"
cdb=$work/c.kst
check create-c 0 "$ksimp" create "$cdb"
check record-too-long 1 "$ksimp" import "$cdb" "$work/big.csv" --quiet
contains record-too-long-named "$work/err" "$work/big.csv: not imported whole: Record 2 of $work/big.csv (from byte 11) is longer than 64 MB"
contains record-too-long-kept "$work/out" "1 document(s) added"
rm -f "$work/big.csv"

# --json: one object on stdout, per file and in total.
printf 'a,b\r\n\r\nc,d\r\n' >"$work/blank.csv"
check json 1 "$ksimp" import "$cdb" "$work/three.txt" "$work/blank.csv" "$work/folder.dbx" "$work/letter.doc" \
  --json
holds json-text-file 'r["files"][0] == {"file": sys.argv[1].rsplit("/", 1)[0] + "/three.txt", "type": 1000, "type_name": "text", "imported": True, "imported_whole": True, "documents_added": 1, "error": None, "error_text": None, "log": []}'
holds json-stopped-short '(lambda f: f["type_name"] == "csv" and not f["imported_whole"] and f["documents_added"] == 1 and f["error"] is None and "ends the file" in f["log"][0])(r["files"][1])'
holds json-wrong-type '(lambda f: f["type"] == 1059 and f["error"] == 11020 and not f["imported_whole"] and "not an Outlook Express folder" in f["log"][0])(r["files"][2])'
holds json-after '(lambda f: f["type"] == 1056 and f["error"] == 11020 and f["documents_added"] == 0)(r["files"][3])'
holds json-totals 'r["documents_added"] == 2 and r["files_imported_whole"] == 1 and r["files_not_imported_whole"] == 3 and not r["aborted"]'
check json-whole 0 "$ksimp" import "$cdb" "$work/three.txt" --delimiter pagebreak --json
holds json-whole-totals 'r["documents_added"] == 3 and r["files_not_imported_whole"] == 0'

# Numbers: 1, 2, 3... in database order, the same in docs, show, search and
# export; identifiers only with --ids and in --json.
check docs 0 "$ksimp" docs "$db"
contains docs-numbered "$work/out" "     2  text"
lacks docs-no-ids "$work/out" " id "
check docs-ids 0 "$ksimp" docs "$db" --ids
contains docs-ids-shown "$work/out" "     2  id "
check show 0 "$ksimp" show "$db" 2
if cmp -s "$work/out" <(printf 'beta two\r\n'); then passes=$((passes + 1)); else
  echo "FAIL show-bytes"; failures=$((failures + 1)); fi
check show-none 1 "$ksimp" show "$db" 4
contains show-none-said "$work/err" "has no document 4"
check docs-json 0 "$ksimp" docs "$db" --json
id=$(python3 -c 'import json, sys; print([json.loads(l)["id"] for l in open(sys.argv[1]) if json.loads(l)["number"] == 2][0])' "$work/out")
check show-by-id 0 "$ksimp" show "$db" "$id" --ids
if cmp -s "$work/out" <(printf 'beta two\r\n'); then passes=$((passes + 1)); else
  echo "FAIL show-by-id-bytes"; failures=$((failures + 1)); fi
check search 0 "$ksimp" search "$db" gamma
contains search-number "$work/out" "     3  text"
lacks search-no-ids "$work/out" " id "
check export-some 0 "$ksimp" export "$db" "$work/some" 3 1
if [ "$(ls "$work/some")" = "$(printf '000001.txt\n000003.txt')" ] &&
  cmp -s "$work/some/000003.txt" <(printf 'gamma three'); then passes=$((passes + 1)); else
  echo "FAIL export-some-files"; ls "$work/some" | sed 's/^/  | /'; failures=$((failures + 1)); fi
check export-none 1 "$ksimp" export "$db" "$work/none" 9

finish
