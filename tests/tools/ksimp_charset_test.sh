#!/usr/bin/env bash
# ksimp import --charset: a named character set, detection per file, and an
# unknown name refused before anything is imported.  Usage:
# ksimp_charset_test.sh KSIMP
ksimp=$1
. "$(dirname "$0")/ksimp_checks.sh"

db=$work/c.kst
check create 0 "$ksimp" create "$db"
# "Привет, мир" in KOI8-R, and "Café" in Windows-1252.
printf '\360\322\311\327\305\324, \315\311\322\n' >"$work/koi8.txt"
printf 'Caf\351\n' >"$work/cafe.txt"
check named 0 "$ksimp" import "$db" "$work/koi8.txt" --charset KOI8-R --quiet
check named-search 0 "$ksimp" search "$db" 'привет'
contains named-found "$work/out" "1 match(es)"
check default-ansi 0 "$ksimp" import "$db" "$work/cafe.txt" --quiet
check ansi-search 0 "$ksimp" search "$db" 'café'
contains ansi-found "$work/out" "1 match(es)"

# Detection: enough Cyrillic text for the detector to be sure.
for i in 1 2 3 4; do
  printf '\363\337\305\333\330 \326\305 \305\335\243 \334\324\311\310 \315\321\307\313\311\310 \306\322\301\316\303\325\332\323\313\311\310 \302\325\314\317\313.\n'
done >"$work/ru.txt"
check auto 0 "$ksimp" import "$db" "$work/ru.txt" --charset auto
contains auto-log "$work/out" "ru.txt: character set detected: KOI8-R."

check unknown 2 "$ksimp" import "$db" "$work/cafe.txt" --charset no-such-set --quiet
contains unknown-text "$work/err" "message 11030"
check still-three 0 "$ksimp" docs "$db"
contains still-three-count "$work/out" "3 document(s)"
finish
