#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ and runs them (docs/fuzzing.md).
#
#   scripts/fuzz.sh --list             the targets, one a line
#   scripts/fuzz.sh TARGET SECONDS     fuzzes one target for SECONDS
#   scripts/fuzz.sh all SECONDS        fuzzes every target in turn, SECONDS each
#
# The build is in $FUZZ_BUILD_DIR (default build-fuzz beside fuzz/): clang,
# the whole tree under -fsanitize=fuzzer-no-link,address,undefined.  Each
# target's corpus grows in <build>/corpus/<target>; it starts from the
# target's hand-written seeds (fuzz/seeds/<target>/) and the matching folders
# of the shared corpus (../shared/corpus beside the checkout, when there).
# Crash inputs land in <build>/crashes/<target>/.  Exits non-zero when a
# target crashes or breaks a check.
#
# Environment: FUZZ_CC, FUZZ_CXX (default clang-14, clang++-14, else clang,
# clang++); FUZZ_ARGS, more libFuzzer flags (say "-runs=10000000", which
# then ends a run before SECONDS do); FUZZ_SKIP_BUILD=1 runs the targets
# already built.  One fuzzing process at a time; run it under nice on a
# shared machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
fuzz_dir=$root/fuzz
build=${FUZZ_BUILD_DIR:-$root/build-fuzz}
shared_corpus=$root/../shared/corpus

targets() {
  for source in "$fuzz_dir"/*_fuzzer.cpp; do
    basename "$source" _fuzzer.cpp
  done
}

# The folders of the shared corpus whose files a target starts from.
shared_folders() {
  case $1 in
    delimited_fields | record_reader) echo csv fixed ;;
    document_splitter) echo csv fixed eml html ;;
    utf16_decoder) echo csv ;;
    source_text) echo csv fixed html rtf ;;
    mailbox_reader) echo mbox eudora ;;
    mail_message) echo eml eudora maildir ;;
    maildir_message) echo eml maildir ;;
    mime_message) echo eml mbox eudora maildir ;;
    mime_decoding) echo eml ;;
    dbase_table) echo dbf ;;
    paradox_table) echo paradox ;;
    excel_workbook) echo xls xlsx ;;
    access_database) echo mdb ;;
    dbx_folder) echo dbx ;;
    pst_file) echo pst ;;
    file_type_detection) echo refuse rtf pdf wpd html mbox eudora doc xls dbf paradox ;;
    pdf_text) echo pdf ;;
    wordperfect_text) echo wpd ;;
    word_document) echo doc docx wpd ;;
    *) ;;
  esac
}

# Longest input the fuzzer makes for a target: long enough for several
# records or messages, short enough to keep the executions fast.  Longer
# corpus files are read cut to this.
max_len() {
  case $1 in
    mailbox_reader) echo 8192 ;;
    paradox_table) echo 16384 ;;  # a header and a few blocks, and the .mb after them
    excel_workbook) echo 40960 ;;  # the corpus workbooks whole
    # A whole small database: Jet 3 pages are 2 KB, later ones 4 KB.
    access_database) echo 131072 ;;
    # A folder as the program writes it: a 9 KB header, the index, a few
    # messages.  Longer corpus folders are read cut, which is a case of its own.
    dbx_folder) echo 20480 ;;
    pst_file) echo 1048576 ;;  # the corpus files whole: the index lies at the end
    file_type_detection) echo 16384 ;;  # the opening block, a table header, a small compound file
    pdf_text) echo 65536 ;;  # small corpus PDFs whole, the first pages of the others
    wordperfect_text) echo 20480 ;;  # the corpus documents whole
    word_document) echo 65536 ;;  # the small corpus documents whole
    *) echo 4096 ;;
  esac
}

# Flags of one target's own.
target_flags() {
  case $1 in
    # libwpd reserves a buffer by a length read from the file (4 GB for a
    # damaged one) and fills only what the file holds: the import fails
    # cleanly or reads on with little memory touched.  What counts is the
    # memory really used, which -rss_limit_mb still bounds.
    wordperfect_text) echo -malloc_limit_mb=8192 ;;
    *) ;;
  esac
}

usage() {
  echo "usage: $0 --list | TARGET SECONDS | all SECONDS" >&2
  exit 2
}

pick_compiler() {
  local preferred=$1 fallback=$2
  if command -v "$preferred" >/dev/null; then echo "$preferred"; else echo "$fallback"; fi
}

build_targets() {
  # clang, libFuzzer and the sanitizer runtimes come with the project's
  # packages; nothing happens when they are all there.
  "$root/scripts/install-deps.sh"
  local cc=${FUZZ_CC:-$(pick_compiler clang-14 clang)}
  local cxx=${FUZZ_CXX:-$(pick_compiler clang++-14 clang++)}
  # _GLIBCXX_ASSERTIONS bounds-checks string, string_view and vector
  # indexing, which catches reads past a string's end that stay within its
  # allocation, where the address sanitizer sees nothing.
  if command -v ccache >/dev/null && [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ]; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$(dirname "$root")}
  fi
  local flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined"
  flags+=" -fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS"
  cmake -S "$root" -B "$build" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O2 -g" -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O2 -g" \
    -DKS_FUZZ=ON -DKS_BUILD_TESTS=OFF -DKS_BUILD_BENCH=OFF >/dev/null
  cmake --build "$build" --target fuzz_targets -j "$(nproc)"
}

# Fuzzes one target for $2 seconds; returns libFuzzer's status.
run_target() {
  local name=$1 seconds=$2
  local corpus=$build/corpus/$name crashes=$build/crashes/$name
  mkdir -p "$corpus" "$crashes"
  local inputs=("$corpus")
  [ -d "$fuzz_dir/seeds/$name" ] && inputs+=("$fuzz_dir/seeds/$name")
  [ -d "$fuzz_dir/regressions/$name" ] && inputs+=("$fuzz_dir/regressions/$name")
  local folder
  for folder in $(shared_folders "$name"); do
    [ -d "$shared_corpus/$folder" ] && inputs+=("$shared_corpus/$folder")
  done
  local flags=(-max_total_time="$seconds" -max_len="$(max_len "$name")" -timeout=25
               -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$crashes/")
  [ -f "$fuzz_dir/dicts/$name.dict" ] && flags+=(-dict="$fuzz_dir/dicts/$name.dict")
  # shellcheck disable=SC2207  # a list of flags
  flags+=($(target_flags "$name"))
  # shellcheck disable=SC2206  # FUZZ_ARGS is a list of flags
  flags+=(${FUZZ_ARGS:-})
  echo "== fuzz_$name for ${seconds}s"
  # The fuzzer's own log is long; its last lines carry the figures.
  local log=$build/logs/$name.log
  mkdir -p "$build/logs"
  local status=0
  ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1} \
  UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1} \
    "$build/fuzz/fuzz_$name" "${flags[@]}" "${inputs[@]}" >"$log" 2>&1 || status=$?
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$log"
    echo "fuzz_$name FAILED (status $status); input kept in $crashes/, log in $log" >&2
  else
    grep -E '^(#[0-9]+.*DONE|Done [0-9]+ runs|stat::number_of_executed_units|stat::peak_rss_mb)' \
      "$log" || true
  fi
  return "$status"
}

[ $# -ge 1 ] || usage
if [ "$1" = "--list" ]; then
  targets
  exit 0
fi
[ $# -eq 2 ] || usage
[[ $2 =~ ^[1-9][0-9]*$ ]] || usage  # libFuzzer reads 0 seconds as no limit

if [ "$1" = all ]; then
  selected=$(targets)
elif targets | grep -x -- "$1" >/dev/null; then
  selected=$1
else
  echo "no fuzz target $1; scripts/fuzz.sh --list names them" >&2
  exit 2
fi

[ "${FUZZ_SKIP_BUILD:-0}" = 1 ] || build_targets
failed=()
for name in $selected; do
  run_target "$name" "$2" || failed+=("$name")
done
total=$(echo "$selected" | wc -w)
[ ${#failed[@]} -eq 0 ] || echo "fuzz targets that failed: ${failed[*]}" >&2
echo "fuzz: $((total - ${#failed[@]})) passed, ${#failed[@]} failed"
[ ${#failed[@]} -eq 0 ]
