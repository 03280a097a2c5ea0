#!/usr/bin/env bash
# ksimp detect, the warning of ksimp import when a file's chosen type does
# not fit it (message 11020), ksimp import of any file as a link or
# attachment, and the exit status of an import that did not import a file
# whole.  Usage: ksimp_detect_test.sh KSIMP
ksimp=$1
. "$(dirname "$0")/ksimp_checks.sh"
# Under the address sanitizer: fontconfig's own loss at start-up is not ours.
export LSAN_OPTIONS="suppressions=$(cd "$(dirname "$0")" && pwd)/fontconfig_leaks.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"

printf 'name,town\r\nAnn,Bern\r\n' >"$work/people.csv"
printf 'From joe@example.com Mon Jan  1 00:00:00 2001\r\nSubject: hi\r\n\r\nbody\r\n' >"$work/box.txt"
printf 'GIF89a\x01\x00\x01\x00\x00\x00\x00' >"$work/picture.txt"
: >"$work/empty.txt"
printf 'x' >"$work/report-2024.bin"

# detect: one line a file; a missing file is reported and gives status 1.
check detect 0 "$ksimp" detect "$work/people.csv" "$work/box.txt" "$work/picture.txt" "$work/empty.txt"
contains detect-csv "$work/out" "$work/people.csv: 1000 (text)"
contains detect-mbox "$work/out" "$work/box.txt: 1060 (mbx)"
contains detect-picture "$work/out" "$work/picture.txt: 0 (no importable type)"
contains detect-empty "$work/out" "$work/empty.txt: 0 (no importable type)"
check detect-missing 1 "$ksimp" detect "$work/people.csv" "$work/gone.txt"
contains detect-missing-named "$work/err" "$work/gone.txt: no such file"
contains detect-missing-others "$work/out" "$work/people.csv: 1000 (text)"

db=$work/d.kst
check create 0 "$ksimp" create "$db"

# A type that does not fit: warned with 11020 and the type found; the file
# is imported as chosen all the same.
check wrong-type 0 "$ksimp" import "$db" "$work/box.txt" --type text --quiet
contains wrong-type-warned "$work/err" "warning: $work/box.txt: message 11020: You choose the wrong file type for this file.  Please try another file type."
contains wrong-type-suggests "$work/err" "it looks like file type 1060 (mbx): try --type mbx."
contains wrong-type-imported "$work/out" "1 document(s) added"
check nothing-fits 0 "$ksimp" import "$db" "$work/picture.txt" --type text --quiet
contains nothing-fits-warned "$work/err" "no importer reads what it holds."

# Without --type the name decides; a name that says nothing leaves it to
# what the file holds: a mailbox is imported as one, a picture is refused
# with 11020 and the files after it are still imported.
cp "$work/box.txt" "$work/box.unknown"
cp "$work/picture.txt" "$work/picture.unknown"
check by-content 1 "$ksimp" import "$db" "$work/box.unknown" "$work/picture.unknown" "$work/people.csv" --json
holds by-content-mailbox '(lambda f: f["type"] == 1060 and f["imported_whole"] and f["documents_added"] == 1)(r["files"][0])'
holds by-content-picture '(lambda f: f["error"] == 11020 and not f["imported"] and "--type any" in f["log"][0])(r["files"][1])'
holds by-content-after '(lambda f: f["type"] == 1004 and f["imported_whole"])(r["files"][2]) and r["documents_added"] == 3'
check refused-alone 1 "$ksimp" import "$db" "$work/picture.unknown" --quiet
contains refused-alone-named "$work/err" "$work/picture.unknown: not imported: error 11020"
# A name the offered list lacks: no guess, no warning.
cp "$work/box.txt" "$work/box.mbox"
check by-name 0 "$ksimp" import "$db" "$work/box.mbox" --quiet
lacks by-name-quiet "$work/err" "11020"

# A zipped Word document is an archive to the check; its name makes it one
# for the importer of any Word file, which the warning then suggests.
printf 'PK\003\004zipped' >"$work/letter.docx"
check docx-as-doc 1 "$ksimp" import "$db" "$work/letter.docx" --type doc --quiet
contains docx-as-doc-suggests "$work/err" "it looks like file type 7 (wfw): try --type wfw."

# Types that fit draw no warning: delimited text is plain text to the
# library, and any file can be linked.
check fits-csv 0 "$ksimp" import "$db" "$work/people.csv" --type csv --quiet
lacks fits-csv-quiet "$work/err" "11020"
check fits-any 0 "$ksimp" import "$db" "$work/picture.txt" --type any --quiet
lacks fits-any-quiet "$work/err" "11020"

# Any file: one document linking to it; with --save-attachments the file
# goes with it.
adb=$work/a.kst
check create-any 0 "$ksimp" create "$adb"
check any-link 0 "$ksimp" import "$adb" "$work/report-2024.bin" --type any --quiet
contains any-link-count "$work/out" "1 document(s) added"
check any-attach 0 "$ksimp" import "$adb" "$work/report-2024.bin" --type any --save-attachments --quiet
check any-shown 0 "$ksimp" show "$adb" 2
contains any-shown-attachment "$work/out" "\\type23\\file "
contains any-shown-title "$work/out" "\\title report\\_2024.bin;}}"

# Honest exit status: 1 whenever a file was not imported whole.
check missing 1 "$ksimp" import "$adb" "$work/gone.bin" --type any --quiet
contains missing-named "$work/err" "$work/gone.bin: not imported"
check accepted-unread 1 "$ksimp" import "$adb" "$work/people.csv" --type 1003 --quiet
contains accepted-unread-named "$work/err" "$work/people.csv: not imported: file type 1003 is accepted without an importer"
check whole 0 "$ksimp" import "$adb" "$work/people.csv" --type csv --quiet
finish
