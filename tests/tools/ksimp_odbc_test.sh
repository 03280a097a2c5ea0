#!/usr/bin/env bash
# ksimp tables --odbc and ksimp import --odbc against an SQLite database
# through the SQLite3 ODBC driver, registered in the script's own
# odbcinst.ini.  Exit 77 (skipped) without the driver or the sqlite3 shell.
# Usage: ksimp_odbc_test.sh KSIMP
ksimp=$1
driver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so
if [ ! -e "$driver" ] || ! command -v sqlite3 >/dev/null; then
  echo "skipped: no SQLite3 ODBC driver or sqlite3 shell"; exit 77
fi
. "$(dirname "$0")/ksimp_checks.sh"

printf '[Kestro SQLite3]\nDriver=%s\n' "$driver" >"$ODBCSYSINI/odbcinst.ini"
sqlite3 "$work/shop.db" "CREATE TABLE \"order list\" (id INTEGER, item TEXT, price NUMERIC, day DATE);
  INSERT INTO \"order list\" VALUES (1, 'Größe ''L''', 9.5, '2024-01-31'), (2, NULL, 10, NULL);
  CREATE TABLE notes (body TEXT); INSERT INTO notes VALUES ('kept');"
conn="DRIVER={Kestro SQLite3};Database=$work/shop.db;NoCreat=1"

check tables 0 "$ksimp" tables --odbc "$conn"
contains tables-name "$work/out" "order list"
contains tables-column "$work/out" "  price"
check tables-missing 1 "$ksimp" tables --odbc "DRIVER={Kestro SQLite3};Database=$work/none.db;NoCreat=1"
check tables-no-dsn 1 "$ksimp" tables --odbc "DSN=nowhere"

db=$work/t.kst
check create 0 "$ksimp" create "$db"
check import 0 "$ksimp" import "$db" --odbc "$conn" --tables "order list" --quiet
contains import-count "$work/out" "2 document(s) added"
check show 0 "$ksimp" show "$db" 1
contains show-values "$work/out" "item[ Größe 'L' ]"
contains show-date "$work/out" "day[ 2024-01-31 ]"
check show-nulls 0 "$ksimp" show "$db" 2
contains show-null "$work/out" "item[  ]"
lacks only-chosen-table "$work/out" "kept"

finish
