#!/usr/bin/env bash
# ksimp detect on every file of the shared corpus: each folder holds one
# kind of file and must be found to be its type; the files listed below are
# found to be another, each for the reason given.  Exit 77 (skipped)
# without the corpus.  Usage: ksimp_detect_corpus_test.sh KSIMP CORPUS
ksimp=$1
corpus=$2
if [ ! -d "$corpus/refuse" ] || [ ! -d "$corpus/csv" ]; then
  echo "skipped: no corpus"; exit 77
fi
. "$(dirname "$0")/ksimp_checks.sh"

# The type a corpus file must be found to be, by its path in the corpus.
expected_type() {
  case $1 in
    csv/null-byte.csv) echo 0 ;;  # a NUL among its first bytes: no longer plain text
    csv/* | fixed/* | maildir/*) echo 1000 ;;
    dbf/*.dbf | dbf/*.DBF) echo 1114 ;;
    dbf/*) echo 0 ;;  # memo files: no table on their own
    dbx/* | pst/* | refuse/* | docx/*) echo 0 ;;  # no importer; pictures and archives
    doc/wx-badfile-01-bad-header.doc) echo 0 ;;  # its compound-file header is damaged
    doc/*) echo 1056 ;;
    # Messages that begin with a "From " line or hold one after CR LF.
    eml/binary-cte-image.eml | eml/message-rfc822-attachment.eml | eml/multipart-digest.eml | \
      eml/unquoted-boundary-outlook-express.eml) echo 1060 ;;
    # Messages whose opening holds "<html".
    eml/big5-html-empty-cte.eml | eml/multipart-related-mhtml.eml | \
      eml/windows-1251-qp-alternative.eml) echo 108 ;;
    eml/*) echo 1000 ;;
    eudora/*.toc) echo 0 ;;  # Eudora's table of contents, no mailbox
    eudora/*) echo 1005 ;;
    # HTML fragments without <html>: plain text.
    html/br-fragment.html | html/invalid-table.html | html/links-and-umlauts.html | \
      html/nested-table.html | html/pre.html) echo 1000 ;;
    html/*) echo 108 ;;
    mbox/*) echo 1060 ;;
    mdb/db2007-enc.accdb | mdb/db2013-enc.accdb) echo 0 ;;  # encrypted: no connection opens
    mdb/*) echo 771 ;;
    paradox/*.DB | paradox/*.db) echo 703 ;;
    paradox/*) echo 0 ;;  # memo and index files
    pdf/*) echo 1058 ;;
    rtf/junk_before_header.rtf) echo 1000 ;;  # "{\rtf" must open the file
    rtf/*) echo 19 ;;
    wpd/*) echo 1057 ;;
    xls/biff4_no_format_no_window2.xls) echo 0 ;;  # a bare BIFF4 stream, no compound file
    xls/too_small.xls) echo 1000 ;;  # a few bytes of text
    xls/*) echo 21 ;;
    xlsx/*) echo 0 ;;  # zip archives, or an encrypted compound file
    *) echo unknown ;;
  esac
}

files=()
while IFS= read -r -d '' file; do files+=("$file"); done \
  < <(cd "$corpus" && find . -type f ! -name SOURCES.md -print0 | sort -z)
(cd "$corpus" && "$ksimp" detect "${files[@]}") >"$work/out" 2>"$work/err"
status=$?
if [ "$status" -ne 0 ]; then
  echo "FAIL detect: exit $status"; sed 's/^/  | /' "$work/err"; failures=$((failures + 1))
fi

seen=0
while IFS= read -r line; do
  path=${line%: *}
  path=${path#./}
  found=${line##*: }
  found=${found%% *}
  want=$(expected_type "$path")
  seen=$((seen + 1))
  if [ "$want" = unknown ]; then
    echo "FAIL $path: no type is expected for it (found $found): add its folder above"
    failures=$((failures + 1))
  elif [ "$found" != "$want" ]; then
    echo "FAIL $path: found $found, expected $want"
    failures=$((failures + 1))
  else
    passes=$((passes + 1))
  fi
done <"$work/out"
if [ "$seen" -ne "${#files[@]}" ]; then
  echo "FAIL lines: ${#files[@]} files, $seen lines"; failures=$((failures + 1))
fi
finish
