#!/usr/bin/python3
"""Compares what ksimp stores for the Maildir and the single messages of the
shared corpus with what Python's mailbox and email modules read from the
same files: the number of messages and each subject.

    compare_mail.py KSIMP CORPUS_DIR

Python's subject is brought to the document's rule: the first line of the
Subject header only (the message layout takes the rest of the tag's line),
encoded words decoded, undeclared 8-bit bytes read as UTF-8 where they are
valid UTF-8, else as Windows-1252.  A Maildir's messages are compared as a
list sorted by subject: Python lists them in no particular order, ksimp in
delivery order.  Exit 0 when everything matches or differs only as
explained below, 1 otherwise, 77 when the corpus is missing.
"""

import email
import email.policy
import json
import mailbox
import os
import re
import subprocess
import sys
import tempfile

# Messages whose subject is known to come out differently, with the reason.
EXPLAINED = {
}

SUBJECT = re.compile(r"^Subject\[ (.*) \]\r$", re.M)


def cp1252(data):
    out = []
    for byte in data:
        try:
            out.append(bytes([byte]).decode("cp1252"))
        except UnicodeDecodeError:
            out.append(chr(byte))
    return "".join(out)


def undeclared(data):
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return cp1252(data)


def python_subject(message):
    raw = next((value for name, value in message._headers if name.lower() == "subject"), None)
    if raw is None:
        return ""
    first = raw.encode("ascii", "surrogateescape").split(b"\n")[0].split(b"\r")[0]
    value = undeclared(first).strip()
    return str(email.policy.default.header_factory("subject", value))


def stored_subjects(ksimp, database):
    docs = subprocess.run([ksimp, "docs", database, "--json"], check=True,
                          stdout=subprocess.PIPE).stdout.decode("utf-8")
    subjects = []
    for line in docs.splitlines():
        text = json.loads(line)["text"]
        found = SUBJECT.search(text)
        subjects.append(found.group(1) if found else "")
    return subjects


def ksimp_import(ksimp, database, file_type, paths):
    subprocess.run([ksimp, "create", database], check=True, stdout=subprocess.DEVNULL)
    run = subprocess.run([ksimp, "import", database, "--type", file_type, "--quiet"] + paths,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if run.returncode != 0:
        print("ksimp import --type %s failed:\n%s"
              % (file_type, run.stdout.decode(errors="replace")))
        return False
    return True


def compare(label, ours, theirs, failures):
    if len(ours) != len(theirs):
        failures.append("%s: %d messages stored, Python reads %d" % (label, len(ours), len(theirs)))
        return
    print("%s: %d messages stored, as many as Python reads" % (label, len(ours)))
    for index, (mine, python) in enumerate(zip(ours, theirs)):
        if mine.strip() == python.strip():
            continue
        key = (label, python)
        if key in EXPLAINED:
            print("%s: %r stored as %r: %s" % (label, python, mine, EXPLAINED[key]))
            continue
        failures.append("%s #%d: stored %r, Python reads %r" % (label, index + 1, mine, python))


def main():
    ksimp, corpus = sys.argv[1], sys.argv[2]
    maildir = os.path.join(corpus, "maildir")
    eml = os.path.join(corpus, "eml")
    if not os.path.isdir(maildir) or not os.path.isdir(eml):
        print("no shared corpus at %s" % corpus)
        return 77
    failures = []
    with tempfile.TemporaryDirectory() as work:
        os.environ["KESTRO_CONFIG_DIR"] = os.path.join(work, "config")

        database = os.path.join(work, "maildir.kst")
        if ksimp_import(ksimp, database, "maildir", [maildir]):
            messages = mailbox.Maildir(maildir, factory=None, create=False)
            theirs = [python_subject(message) for message in messages]
            compare("maildir", sorted(stored_subjects(ksimp, database)), sorted(theirs), failures)
        else:
            failures.append("maildir: not imported")

        files = sorted(os.path.join(eml, name) for name in os.listdir(eml))
        database = os.path.join(work, "eml.kst")
        if ksimp_import(ksimp, database, "eml", files):
            theirs = []
            for path in files:
                with open(path, "rb") as f:
                    theirs.append(python_subject(email.message_from_binary_file(f)))
            compare("eml", stored_subjects(ksimp, database), theirs, failures)
        else:
            failures.append("eml: not imported")

    for failure in failures:
        print(failure)
    print("%d difference(s) not explained" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
