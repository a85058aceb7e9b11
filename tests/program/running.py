"""Runs the program for the tests beside this file."""

import contextlib
import json
import os
import pathlib
import pty
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["TILVANEGO"]


def run(*arguments, given=b"", **options):
    """The finished program, its output in bytes."""
    return subprocess.run([PROGRAM, *arguments], input=given, capture_output=True, timeout=60, **options)


def host(*lines):
    """What a host writes for lines of bytes, as objects."""
    done = run("host", given=b"".join(line + b"\n" for line in lines))
    assert done.returncode == 0 and done.stderr == b"", done
    return [json.loads(line) for line in done.stdout.splitlines()]


def on_terminal(stream, *arguments, env):
    """The finished program, one of whose streams is a terminal, and what this shows."""
    controller, terminal = pty.openpty()
    done = subprocess.run([PROGRAM, *arguments], **{"stdout": subprocess.PIPE, stream: terminal}, timeout=60, env=env)
    os.close(terminal)
    shown = b""
    with open(controller, "rb", buffering=0) as screen, contextlib.suppress(OSError):  # a terminal's end is an error
        while chunk := screen.read(4096):
            shown += chunk
    return done, shown


class RunningHost:
    """A host that a test talks to line by line. Reads wait for what the host writes: no test sleeps."""

    def __init__(self, *options, env=None):
        self.process = subprocess.Popen([PROGRAM, "host", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, encoding="utf-8", env=env)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def tell(self, command):
        self.process.stdin.write(json.dumps(command) + "\n")
        self.process.stdin.flush()

    def hear(self, name):
        """The next event of this name; those before it are passed over."""
        for line in self.process.stdout:
            event = json.loads(line)
            if name in event:
                return event
        raise AssertionError(f"the host ended without {name}: {self.process.stderr.read()}")

    def ask(self, command, answer):
        self.tell(command)
        return self.hear(answer)

    def finish(self):
        """Closes the input; the exit status, with what was written since."""
        rest, _ = self.process.communicate(timeout=60)
        return self.process.returncode, [json.loads(line) for line in rest.splitlines()]


def payment(**fields):
    request = {"requestId": "A1", "amount": "12.00", "transactionType": "sale", "currency": "EUR",
               "callbackURL": "myshop://done", "requiresReaderReady": True}
    return {"start": "payment", "request": request | fields}


class InDirectory(unittest.TestCase):
    """A test with a directory of its own, short enough in its path for sockets."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tilvanego")
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)
        self.socket = self.directory / "socket"
