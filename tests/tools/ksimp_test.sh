#!/usr/bin/env bash
# ksimp end to end: the commands a person types, their output and exit
# status.  Usage: ksimp_test.sh KSIMP ATTACH_FIXTURE
ksimp=$1
fixture=$2
. "$(dirname "$0")/ksimp_checks.sh"

file_is() {  # file_is NAME PATH CONTENT
  if [ -f "$2" ] && [ "$(cat "$2")" = "$3" ]; then passes=$((passes + 1)); else
    echo "FAIL $1: $2 does not hold '$3'"; failures=$((failures + 1)); fi
}

db=$work/t.kst
printf 'Page one\r\n\f\r\nPage two\r\n\f\r\nPage three' >"$work/notes.txt"
check create 0 "$ksimp" create "$db"
check create-again 1 "$ksimp" create "$db"
check import-pages 0 "$ksimp" import "$db" "$work/notes.txt" --delimiter pagebreak --quiet
contains import-count "$work/out" "3 document(s) added"
check docs-json 0 "$ksimp" docs "$db" --json
contains docs-text "$work/out" '"text":"Page two\r\n"'
test "$(grep -c '"id"' "$work/out")" -eq 3 && passes=$((passes + 1)) || { echo "FAIL docs-count"; failures=$((failures + 1)); }

check export 0 "$ksimp" export "$db" "$work/export"
if cmp -s "$work/export/000003.txt" <(printf 'Page three'); then passes=$((passes + 1)); else
  echo "FAIL export-bytes"; failures=$((failures + 1)); fi
check search 0 "$ksimp" search "$db" two
contains search-hit "$work/out" "1 match(es)"

# Bad input: a clear word, exit 1, and nothing already imported is lost.
check missing-file 1 "$ksimp" import "$db" "$work/nope.txt" --quiet
contains missing-text "$work/out" "could not be located"
check folder 1 "$ksimp" import "$db" "$work" --quiet
contains folder-text "$work/out" "is a folder, not a file"
check unknown-type 1 "$ksimp" import "$db" "$work/notes.txt" --type 1001 --quiet
contains unknown-type-text "$work/err" "no importer is available"
# A type whose converter module is missing says so, not that it has no importer.
printf '%%PDF-1.4\n' >"$work/doc.pdf"
check pdf-without-module 1 env KESTRO_MODULE_DIR="$work/no-modules" "$ksimp" import "$db" "$work/doc.pdf" --quiet
contains pdf-without-module-text "$work/err" "KS_Pdf is not installed"
check still-three 0 "$ksimp" docs "$db"
contains still-three-count "$work/out" "3 document(s)"
check not-a-database 1 "$ksimp" docs "$work/notes.txt"
contains not-a-database-text "$work/err" "not a Kestro database"

# Usage errors.
check bad-delimiter 2 "$ksimp" import "$db" "$work/notes.txt" --delimiter sometimes
check bad-type-name 2 "$ksimp" import "$db" "$work/notes.txt" --type nonsense
check no-command 2 "$ksimp"
check delimiter-and-attachments 2 "$ksimp" import "$db" "$work/notes.txt" --delimiter blankline --save-attachments
contains exclusion-text "$work/err" "You cannot set the Save Attachments option  when a document Delimiter is defined."
# The library reads "|" in a name as the border between two files: a file
# whose name holds one is refused, and nothing of the command is imported.
printf 'not this' >"$work/a"
printf 'this' >"$work/a|b.txt"
check bar-in-name 2 "$ksimp" import "$db" "$work/notes.txt" "$work/a|b.txt" --quiet
contains bar-in-name-said "$work/err" "cannot import $work/a|b.txt: its name holds \"|\""
check bar-in-name-nothing-imported 0 "$ksimp" docs "$db"
contains bar-in-name-still-three "$work/out" "3 document(s)"
check option-not-offered 0 "$ksimp" import "$db" "$work/notes.txt" --full-header --quiet
contains option-warning "$work/err" 'does not offer "Full Header"'
# An IMAP password never comes from the command line; without a terminal to
# type it at, a password file is asked for.  Nothing is connected to.
check imap-password-in-url 2 "$ksimp" import "$db" "imap://ann:pw@127.0.0.1/INBOX" --quiet
contains imap-password-said "$work/err" "a password does not go into the URL"
check imap-no-terminal 2 "$ksimp" import "$db" "imaps://ann@127.0.0.1/INBOX" --quiet </dev/null
contains imap-no-terminal-said "$work/err" "--password-file"
check imap-no-user 2 "$ksimp" import "$db" "imap://127.0.0.1/INBOX" --quiet
contains imap-no-user-said "$work/err" "USER@HOST"

# Types, settings files, forms and fielded imports.
check types 0 "$ksimp" types --json
test "$(grep -c '"number"' "$work/out")" -eq 13 && passes=$((passes + 1)) || { echo "FAIL types-count"; failures=$((failures + 1)); }
printf 'Name,Skip,Home Phone\r\nSmith ,x, 555\r\n' >"$work/p.csv"
check settings-write 0 "$ksimp" settings write "$work/p.ksi" --names 'Name,Skip,Home Phone'
check settings-show 0 "$ksimp" settings show "$work/p.ksi"
contains settings-string "$work/out" "NA3=Home Phone"
fdb=$work/f.kst
check create-f 0 "$ksimp" create "$fdb"
check csv-import 0 "$ksimp" import "$fdb" "$work/p.csv" --settings "$work/p.ksi" --first-row 2 --quiet
check csv-docs 0 "$ksimp" docs "$fdb" --json
contains csv-fields "$work/out" '"text":"Name[ Smith ]\r\nHomePhone[ 555 ]\r\n"'
lacks csv-first-row "$work/out" 'Name[ Name ]'
printf 'Smith     WA\r\nJones     CA\r\nBrown     IL\r\n' >"$work/w.txt"
check fixed-first-row 0 "$ksimp" import "$fdb" "$work/w.txt" --type fixed --names Name,State --widths 10,2 --first-row 3 --quiet
contains fixed-first-row-count "$work/out" "1 document(s) added"
check bad-columns 0 "$ksimp" import "$fdb" "$work/p.csv" --columns 'T=CSV\nN=0' --quiet
contains bad-columns-warning "$work/err" "message 13003"
check missing-settings 1 "$ksimp" import "$fdb" "$work/p.csv" --settings "$work/nowhere.ksi"
contains missing-settings-said "$work/err" "nowhere.ksi is not a settings file that exists"
check one-line-columns 0 "$ksimp" import "$fdb" "$work/p.csv" --columns 'N=2'
contains one-line-columns-rows "$work/out" "2 document(s) added"
lacks one-line-columns-not-a-file "$work/out" "could not be located"
printf 'City;"Post\r\nCode"\r\nParis; 75001\r\n' >"$work/h.csv"
check header-import 0 "$ksimp" import "$fdb" "$work/h.csv" --header --delim ';' --quiet
check header-docs 0 "$ksimp" docs "$fdb" --json
contains header-fields "$work/out" '"text":"City[ Paris ]\r\nPostCode[ 75001 ]\r\n"'
lacks header-row-not-imported "$work/out" 'City[ City ]'
check header-with-names 2 "$ksimp" import "$fdb" "$work/h.csv" --header --names a
printf '\r\na,b\r\n' >"$work/blank.csv"
check header-blank-first-line 1 "$ksimp" import "$fdb" "$work/blank.csv" --header
contains header-blank-said "$work/err" "message 11019"
check form-create 0 "$ksimp" form create "$fdb" Person --fields 'Name,Home Phone'
check entry-import 0 "$ksimp" import "$fdb" "$work/p.csv" --columns 'T=CSV\nN=3\nNA1=Name\nNA2=Skip\nNA3=Home Phone\nP1=1\nP2=2\nP3=3\nD=,\nS=2' --form Person --quiet
check entry-docs 0 "$ksimp" docs "$fdb" --json
contains entry-fields "$work/out" '"fields":{"Name":"Smith  "'

# Mailboxes: one document per message, with attachments saved.
printf 'attached' >"$work/a.txt"
printf 'From a@x Tue Jun 01 12:00:00 2004\nSubject: one\nX-Attachments: %s\n\nfirst\nFrom b@x Wed Jun 02 12:00:00 2004\nSubject: two\n\nsecond\n' "$work/a.txt" >"$work/In.mbx"
mdb=$work/m.kst
check create-m 0 "$ksimp" create "$mdb"
check mbx-import 0 "$ksimp" import "$mdb" "$work/In.mbx" --type mbx --save-attachments --quiet
contains mbx-count "$work/out" "2 document(s) added"
check mbx-docs 0 "$ksimp" docs "$mdb" --json
contains mbx-fields "$work/out" '"text":"Subject[ two ]\r\nMailBox[ In ]\r\nMessage[ \r\n\r\nsecond\r\n ]"'
contains mbx-attachment "$work/out" 'a.txt'

# Export: every attachment is written, each under its own name inside its
# document's .att folder, whatever name the database gives it.
adb=$work/att.kst
check create-att 0 "$ksimp" create "$adb"
check attach 0 "$fixture" "$adb" 'with attachments' same.txt one same.txt two SAME.txt three \
  ../../x four "$work/abs.txt" five .. six sub/dir/ seven 'C:\Mail\y.doc' eight
check export-att 0 "$ksimp" export "$adb" "$work/ax/out"
att=$work/ax/out/000001.att
file_is att-first "$att/same.txt" one
file_is att-second "$att/same (2).txt" two
file_is att-third "$att/SAME (3).txt" three
file_is att-dot-dot "$att/x" four
file_is att-absolute "$att/abs.txt" five
file_is att-only-dots "$att/attachment6" six
file_is att-folder "$att/dir" seven
file_is att-windows-path "$att/y.doc" eight
if [ "$(find "$work/ax" -type f | wc -l)" -eq 9 ] && [ ! -e "$work/abs.txt" ]; then
  passes=$((passes + 1)); else
  echo "FAIL att-nothing-else:"; find "$work/ax" -type f | sed 's/^/  | /'; failures=$((failures + 1)); fi

# A disk that fills up, here the file size limit of a shell (SIGXFSZ ignored,
# so that the write fails instead): the summary counts only the documents
# really kept, the log names the cause, and the exit status is 1.
fdb=$work/full.kst
check create-full 0 "$ksimp" create "$fdb"
awk 'BEGIN { for (n = 1; n <= 3000; n++) printf "document %d %0900d\r\n\r\n", n, 0 }' >"$work/many.txt"
room=$(( ($(stat -c %s "$fdb") + 300 * 1024) / 1024 ))
check full-disk 1 bash -c 'trap "" XFSZ; ulimit -f "$0"; exec "$@"' "$room" \
  "$ksimp" import "$fdb" "$work/many.txt" --delimiter blankline --quiet
contains full-disk-count "$work/out" "0 document(s) added"
contains full-disk-cause "$work/out" "The disk is full."
check full-disk-still-opens 0 "$ksimp" docs "$fdb"
contains full-disk-nothing-kept "$work/out" "0 document(s)"

finish
