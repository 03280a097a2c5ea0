#!/usr/bin/env bash
# ksimp on protected databases: every command that opens one takes
# --login-group and --password-file, asks on a terminal (the password without
# echo, again after a wrong one, proposing the login group that opened the
# file last), and says plainly what is missing when there is no terminal;
# `import DEST OTHER.kst` copies another (protected) Kestro database.
# Usage: ksimp_protected_test.sh KSIMP TERMINAL_SESSION
ksimp=$1
terminal=$2
. "$(dirname "$0")/ksimp_checks.sh"

printf 'pa55 word\n' >"$work/pw"
printf 'Not it\n' >"$work/bad"
chmod 600 "$work/pw" "$work/bad"
printf 'first text\r\n' >"$work/a.txt"
printf 'second text\r\n' >"$work/b.txt"
src=$work/source.kst
dest=$work/dest.kst
creds=(--login-group Staff --password-file "$work/pw")

check create-protected 0 "$ksimp" create "$src" "${creds[@]}"
check create-needs-a-password 2 "$ksimp" create "$work/x.kst" --login-group Staff </dev/null
contains create-needs-a-password-says "$work/err" "--password-file"
check add-protected 0 "$ksimp" add "$src" "$work/a.txt" "$work/b.txt" "${creds[@]}"
check form-protected 0 "$ksimp" form create "$src" Contacts --fields Name,City "${creds[@]}"

# Without credentials and without a terminal: exit 1 and what to give.
for command in "docs" "show 1" "search first" "export $work/exported" "add $work/a.txt" \
  "form create Other --fields x" "form list"; do
  read -r -a words <<<"$command"
  verbs=1  # "form create" and "form list" are two words
  [ "${words[0]}" = form ] && verbs=2
  name="no-credentials-${words[*]:0:verbs}"
  check "$name" 1 "$ksimp" "${words[@]:0:verbs}" "$src" "${words[@]:verbs}" </dev/null
  contains "$name-says" "$work/err" \
    "$src is protected by a password: give --login-group and --password-file (stdin is not a terminal to ask on)"
done
check wrong-password 1 "$ksimp" docs "$src" --login-group Staff --password-file "$work/bad"
contains wrong-password-says "$work/err" "the login group or password given for $src is wrong"
check wrong-group 1 "$ksimp" docs "$src" --login-group Others --password-file "$work/pw"
check docs-protected 0 "$ksimp" docs "$src" "${creds[@]}"
contains docs-protected-lists "$work/out" "2 document(s)"
check show-protected 0 "$ksimp" show "$src" 2 "${creds[@]}"
contains show-protected-text "$work/out" "second text"
check search-protected 0 "$ksimp" search "$src" second "${creds[@]}"
contains search-protected-finds "$work/out" "1 match(es)"
check export-protected 0 "$ksimp" export "$src" "$work/exported" "${creds[@]}"
check form-list 0 "$ksimp" form list "$src" "${creds[@]}"
if [ "$(cat "$work/out")" = "$(printf 'No\nContacts')" ]; then passes=$((passes + 1)); else
  echo "FAIL form-list-names"; sed 's/^/  | /' "$work/out"; failures=$((failures + 1)); fi
check form-list-open 0 "$ksimp" form list "$dest.none"
contains form-list-missing-is-no "$work/out" "No"

# The login group is remembered per file, the password never.
contains remembered-group "$KESTRO_CONFIG_DIR/kestro.conf" "Login Group=Staff"
lacks password-not-kept "$KESTRO_CONFIG_DIR/kestro.conf" "pa55"

# import DEST OTHER.kst: every document of a protected source.
check create-dest 0 "$ksimp" create "$dest"
check import-no-source-credentials 1 "$ksimp" import "$dest" "$src" --quiet </dev/null
contains import-no-source-credentials-says "$work/err" \
  "give --source-login-group and --source-password-file"
check import-wrong-source-password 1 "$ksimp" import "$dest" "$src" --quiet \
  --source-login-group Staff --source-password-file "$work/bad"
contains import-wrong-source-password-says "$work/err" "is wrong"
check import-source 0 "$ksimp" import "$dest" "$src" --quiet \
  --source-login-group Staff --source-password-file "$work/pw"
contains import-source-count "$work/out" "2 document(s) added"
check docs-dest 0 "$ksimp" docs "$dest"
contains docs-dest-first "$work/out" "first text"
contains docs-dest-second "$work/out" "second text"
contains docs-dest-only-those "$work/out" "2 document(s)"

# A .kst that is no database: refused by name, nothing lost.
printf 'just text\r\n' >"$work/junk.kst"
head -c 1000 "$src" >"$work/cut.kst"
for junk in junk cut; do
  check "import-$junk" 1 "$ksimp" import "$dest" "$work/$junk.kst" --quiet
  contains "import-$junk-says" "$work/err" "$work/$junk.kst"
  check "docs-after-$junk" 0 "$ksimp" docs "$dest"
  contains "docs-after-$junk-kept" "$work/out" "2 document(s)"
done
check import-junk-130 1 "$ksimp" import "$dest" "$work/junk.kst" --json
contains import-junk-130-text "$work/out" "is not an Kestro 5 file, and will not be imported."

# A protected database imported into.
pdest=$work/protected-dest.kst
check create-protected-dest 0 "$ksimp" create "$pdest" --login-group Boss --password-file "$work/pw"
check import-into-protected 1 "$ksimp" import "$pdest" "$work/a.txt" --quiet </dev/null
contains import-into-protected-says "$work/err" "protected by a password"
check import-into-protected-ok 0 "$ksimp" import "$pdest" "$work/a.txt" "$src" --quiet \
  --login-group Boss --password-file "$work/pw" \
  --source-login-group Staff --source-password-file "$work/pw"
contains import-into-protected-count "$work/out" "3 document(s) added"

# On a terminal: the remembered group is proposed, a wrong password asked
# again with the product's message, and no password is ever echoed.
if command -v python3 >/dev/null; then
  python3 "$terminal" "Login group [Staff]: " "" "Password: " "wrong one" \
    "Login group [Staff]: " "" "Password: " "pa55 word" -- "$ksimp" docs "$src" >"$work/tty" 2>&1
  status=$?
  if [ "$status" -eq 0 ]; then passes=$((passes + 1)); else
    echo "FAIL terminal: exit $status"; sed 's/^/  | /' "$work/tty"; failures=$((failures + 1)); fi
  contains terminal-lists "$work/tty" "2 document(s)"
  contains terminal-asks-again "$work/tty" \
    "The password you have entered is invalid, please try again."
  lacks terminal-no-echo-wrong "$work/tty" "wrong one"
  lacks terminal-no-echo-right "$work/tty" "pa55"
fi

finish
