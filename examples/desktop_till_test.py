"""The till of desktop_till.cpp as a desktop starts it: with a callback while it waits, and after it was killed."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TILL = sys.argv.pop(1)
CALLBACK = "till://payment-done/A-1001?request_id=A-1001&status=approved"


class DesktopTill(unittest.TestCase):
    def setUp(self):
        home = tempfile.TemporaryDirectory(prefix="till")
        self.addCleanup(home.cleanup)
        self.home = pathlib.Path(home.name)
        self.opened = self.home / "opened"
        os.mkfifo(self.opened)
        # In place of the desktop: it passes the link on to the test.
        opener = self.home / "xdg-open"
        opener.write_text(f'#!/bin/sh\necho "$1" >"{self.opened}"\n')
        opener.chmod(0o700)
        self.environment = os.environ | {"XDG_RUNTIME_DIR": home.name, "XDG_STATE_HOME": home.name,
                                         "PATH": f"{home.name}:{os.environ['PATH']}"}

    def start(self, *arguments):
        till = subprocess.Popen([TILL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                encoding="utf-8", env=self.environment)
        self.addCleanup(till.communicate)
        self.addCleanup(till.kill)
        return till

    def waiting(self):
        """A till whose link has been opened."""
        till = self.start()
        self.assertRegex(self.opened.read_text(), "^tilvanego://.*A-1001")
        return till

    def ended(self, till):
        said, _ = till.communicate(timeout=30)
        return till.returncode, said

    def test_a_callback_goes_to_the_till_that_waits(self):
        till = self.waiting()
        self.assertEqual(self.ended(self.start(CALLBACK)), (0, ""))
        self.assertEqual(self.ended(till), (0, "success\n"))

    def test_a_callback_starts_the_till_that_was_killed_and_ends_its_payment(self):
        till = self.waiting()
        till.kill()
        till.wait()
        self.assertEqual(self.ended(self.start(CALLBACK)), (0, "success\n"))
        # It is over: the next till starts a payment of its own.
        self.waiting()


if __name__ == "__main__":
    unittest.main()
