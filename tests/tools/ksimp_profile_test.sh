#!/usr/bin/env bash
# ksimp profile end to end: e-mail profiles saved, listed, shown, run and
# deleted as a person types the commands, with their output and exit status.
# Usage: ksimp_profile_test.sh KSIMP
ksimp=$1
. "$(dirname "$0")/ksimp_checks.sh"
message() {  # message SUBJECT: one message of a standard mailbox
  printf 'From a@example.com Mon Jan  1 10:00:00 2024\nFrom: a@example.com\nSubject: %s\nDate: Mon, 1 Jan 2024 10:00:00 +0000\n\nText of %s.\n\n' "$1" "$1"
}

db=$work/mail.kst
mkdir -p "$work/mail"
{ message one; message two; } >"$work/mail/Inbox"
check create-db 0 "$ksimp" create "$db"

check create 0 "$ksimp" profile create Work --mail-program mbox --mailbox "$work/mail/Inbox" \
  --database "$db" --select new
contains create-said "$work/out" 'Saved profile "Work": All New Messages'
check create-all 0 "$ksimp" profile create Everything --mail-program mbox --all \
  --mailroot "$work/mail" --database "$db" --select between --from 01/01/2024 --to 01/31/2024
check duplicate 1 "$ksimp" profile create Work --mail-program mbox --mailbox "$work/mail/Inbox" \
  --database "$db"
contains duplicate-said "$work/err" 'A Profile named "Work" already exists'
check bad-name 2 "$ksimp" profile create 'a/b' --mail-program mbox --mailbox x --database "$db"
contains bad-name-said "$work/err" "The profile name contains one or more invalid characters"
check no-mailbox 2 "$ksimp" profile create X --mail-program mbox --database "$db"
check create-oe 0 "$ksimp" profile create Express --mail-program outlook-express --all \
  --mailroot "$work/mail" --database "$db" --select new
contains create-oe-type "$KESTRO_CONFIG_DIR/profiles/Express.emw" "TYPE=1401"
check bad-program 2 "$ksimp" profile create X --mail-program thunderbird --mailbox x --database "$db"

check list 0 "$ksimp" profile list
if [ "$(cat "$work/out")" = "$(printf 'Work\tAll New Messages\nEverything\tMessages from Jan 01, 2024 thru Jan 31, 2024\nExpress\tAll New Messages')" ]; then
  passes=$((passes + 1)); else echo "FAIL list-order"; sed 's/^/  | /' "$work/out"; failures=$((failures + 1)); fi
check show 0 "$ksimp" profile show Work
contains show-type "$work/out" "TYPE=1404"
contains show-mailbox "$work/out" "MAILBOX=$work/mail/Inbox,1"
check show-missing 1 "$ksimp" profile show Nobody
if [ "$(stat -c %a "$KESTRO_CONFIG_DIR/profiles/Work.emw")" = 600 ]; then passes=$((passes + 1)); else
  echo "FAIL profile-mode"; failures=$((failures + 1)); fi

check run 0 "$ksimp" profile run Work --quiet
contains run-count "$work/out" "2 document(s) added"
contains run-profile "$work/out" "Email profile Work.  2 document(s) added to $db."
check run-again 0 "$ksimp" profile run Work --quiet
contains run-again-said "$work/out" '"Work" Profile - No new messages since last import.'
message three >>"$work/mail/Inbox"
check run-appended 0 "$ksimp" profile run Work --quiet
contains run-appended-count "$work/out" "1 document(s) added"
check docs 0 "$ksimp" docs "$db"
contains docs-count "$work/out" "3 document(s)"

# A profile that fails: the database cannot be opened.  The run says so and
# exits 1; the profile's start date stays as it was.
check create-lost 0 "$ksimp" profile create Lost --mail-program mbox --mailbox "$work/mail/Inbox" \
  --database "$work/nowhere/x.kst" --select new --from 02/03/2020
check run-lost 1 "$ksimp" profile run Lost --quiet
contains run-lost-said "$work/out" "Email profile Lost.  Cannot open Kestro file $work/nowhere/x.kst."
contains run-lost-summary "$work/out" "Error with one or more profiles"
check show-lost 0 "$ksimp" profile show Lost
contains lost-date-kept "$work/out" "DATE_START=02/03/2020"
check run-unknown 1 "$ksimp" profile run Nobody --quiet
contains run-unknown-said "$work/err" 'cannot run profile "Nobody"'

# A Maildir profile of new messages: each message once, however often it
# runs.  Deliveries here are a second older than the run that reads them (a
# run keeps reading the second it listed in, maildir_checkpoint.h).
deliver() {  # deliver SUBJECT: one message in new/, named as a delivery agent names it
  printf 'Subject: %s
From: a@example.com

Text of %s.
' "$1" "$1" \
    >"$work/Maildir/new/$(date +%s).P$$Q$1.host"
}
mkdir -p "$work/Maildir/cur" "$work/Maildir/new" "$work/Maildir/tmp"
deliver one
deliver two
mdb=$work/maildir.kst
check create-maildir-db 0 "$ksimp" create "$mdb"
check create-maildir 0 "$ksimp" profile create Home --mail-program maildir \
  --mailbox "$work/Maildir" --database "$mdb" --select new
contains create-maildir-type "$KESTRO_CONFIG_DIR/profiles/Home.emw" "TYPE=1406"
sleep 1.1
check run-maildir 0 "$ksimp" profile run Home --quiet
contains run-maildir-count "$work/out" "2 document(s) added"
check run-maildir-again 0 "$ksimp" profile run Home --quiet
contains run-maildir-again-said "$work/out" '"Home" Profile - No new messages since last import.'
deliver three
sleep 1.1
check run-maildir-new 0 "$ksimp" profile run Home --quiet
contains run-maildir-new-count "$work/out" "1 document(s) added"
# The same Maildir imported by hand: found to be one by itself.
check import-maildir 0 "$ksimp" import "$mdb" "$work/Maildir" --quiet
contains import-maildir-count "$work/out" "3 document(s) added"

check delete 0 "$ksimp" profile delete Lost
check delete-again 1 "$ksimp" profile delete Lost
check list-after 0 "$ksimp" profile list
lacks list-after-lost "$work/out" "Lost"

finish
