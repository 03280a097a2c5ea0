#!/usr/bin/env bash
# ksimp on table files of the shared corpus, as a user runs it: the tables
# and columns of a workbook, the tables and field names chosen, a single
# dBase or Paradox file read alone though its folder holds more, and an
# encrypted database refused with its reason and exit status 1.
# Exit 77 (skipped) without the corpus.  Usage: ksimp_tables_test.sh KSIMP CORPUS
ksimp=$1
corpus=$2
if [ ! -d "$corpus/dbf" ] || [ ! -d "$corpus/xls" ] || [ ! -d "$corpus/mdb" ]; then
  echo "skipped: no corpus"; exit 77
fi
. "$(dirname "$0")/ksimp_checks.sh"

check tables 0 "$ksimp" tables "$corpus/xls/any_sheets.xls"
contains tables-sheet "$work/out" "VeryHidden"
contains tables-column "$work/out" "  1"

db=$work/t.kst
check create 0 "$ksimp" create "$db"
check import-sheets 0 "$ksimp" import "$db" "$corpus/xls/any_sheets.xls" --tables Visible --field-names A,B
contains import-sheets-count "$work/out" "4 document(s) added"
check show-sheet 0 "$ksimp" show "$db" 1
contains field-names "$work/out" "A[ 3 ]"

# The corpus folder holds a dozen tables; naming one file imports that one.
check import-one-dbf 0 "$ksimp" import "$db" "$corpus/dbf/dbase_03.dbf" --field-names Point
contains one-dbf-count "$work/out" "14 document(s) added"
check import-one-paradox 0 "$ksimp" import "$db" "$corpus/paradox/FILMS.DB"
contains one-paradox-count "$work/out" "36 document(s) added"

check import-access 0 "$ksimp" import "$db" "$corpus/mdb/testV1997.mdb" --quiet
check encrypted 1 "$ksimp" import "$db" "$corpus/mdb/db2007-enc.accdb"
contains encrypted-why "$work/err" "password protected"

# A folder of table files is a database of tables.
check tables-folder 0 "$ksimp" tables "$corpus/paradox" --type paradox
contains tables-folder-table "$work/out" "AREACODE"

finish
