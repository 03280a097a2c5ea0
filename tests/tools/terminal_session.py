#!/usr/bin/env python3
"""Runs a command on a pseudo-terminal the way a person at the keyboard
would: waits for each expected text before typing the answer that follows
it, then prints the whole screen transcript (what the terminal echoed
included) and exits with the command's status.

Usage: terminal_session.py EXPECT1 ANSWER1 [EXPECT2 ANSWER2 ...] -- COMMAND...
Exits 124 when an expected text does not appear within 20 seconds."""
import os
import pty
import select
import sys
import time


def main():
    split = sys.argv.index("--")
    script = sys.argv[1:split]
    command = sys.argv[split + 1:]
    pid, fd = pty.fork()
    if pid == 0:
        os.execvp(command[0], command)
    transcript = b""

    def read_until(text, start, seconds):
        """The end of the first `text` shown after `start`, or -1."""
        nonlocal transcript
        deadline = time.monotonic() + seconds
        while True:
            at = transcript.find(text.encode(), start)
            if at >= 0:
                return at + len(text)
            left = deadline - time.monotonic()
            if left <= 0:
                return -1
            ready, _, _ = select.select([fd], [], [], left)
            if not ready:
                continue
            try:
                chunk = os.read(fd, 4096)
            except OSError:  # the command ended and closed the terminal
                return -1
            if not chunk:
                return -1
            transcript += chunk

    seen = 0
    for expect, answer in zip(script[0::2], script[1::2]):
        seen = read_until(expect, seen, 20)
        if seen < 0:
            sys.stdout.write(transcript.decode(errors="replace"))
            print(f"\n[terminal_session: '{expect}' did not appear]")
            os.kill(pid, 9)
            sys.exit(124)
        os.write(fd, answer.encode() + b"\n")
    read_until("\0never shown\0", len(transcript), 20)  # the rest, to the end
    deadline = time.monotonic() + 20
    while True:
        done, status = os.waitpid(pid, os.WNOHANG)
        if done:
            break
        if time.monotonic() > deadline:
            sys.stdout.write(transcript.decode(errors="replace"))
            print("\n[terminal_session: the command did not end]")
            os.kill(pid, 9)
            sys.exit(124)
        time.sleep(0.1)
    sys.stdout.write(transcript.decode(errors="replace"))
    sys.exit(os.waitstatus_to_exitcode(status))


if __name__ == "__main__":
    main()
