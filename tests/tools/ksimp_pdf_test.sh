#!/usr/bin/env bash
# ksimp on PDF files as a person runs it from the build tree: the PDF module
# is found beside the library, with no KESTRO_MODULE_DIR.
# Usage: ksimp_pdf_test.sh KSIMP CORPUS (the shared corpus; 77 when absent)
ksimp=$1
corpus=$2
[ -d "$corpus/pdf" ] || { echo "no shared corpus"; exit 77; }
. "$(dirname "$0")/ksimp_checks.sh"
unset KESTRO_MODULE_DIR

db=$work/p.kst
check create 0 "$ksimp" create "$db"
check import 0 "$ksimp" import "$db" "$corpus/pdf/crazyones.pdf"
contains import-count "$work/out" "1 document(s) added"
check show 0 "$ksimp" show "$db" 1
contains show-text "$work/out" "The round pegs in the square holes."

# A locked file: 14049, the file before it kept.
check locked 1 "$ksimp" import "$db" "$corpus/pdf/toy.pdf" "$corpus/pdf/r2-user-password.pdf"
contains locked-kept "$work/out" "1 document(s) added"
contains locked-said "$work/err" "error 14049: Encryped PDF file encountered.  Unable to import the file."

# Without the module: 12003, and the log says which module is missing.
mkdir -p "$work/no-modules"
check missing 1 env KESTRO_MODULE_DIR="$work/no-modules" "$ksimp" import "$db" \
  "$corpus/pdf/crazyones.pdf"
contains missing-error "$work/err" "error 12003"
contains missing-log "$work/out" "the PDF library KS_Pdf is not installed"

finish
