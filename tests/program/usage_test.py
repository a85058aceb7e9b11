"""The command line: help, and the exit status of wrong usage."""

import json
import os
import tempfile
import unittest

from running import run


class Usage(unittest.TestCase):
    def test_every_command_has_help(self):
        for arguments in [[], ["demo"], ["host"], ["callback"], ["sandbox"], ["send"], ["model"],
                          ["model", "list"], ["model", "describe"], ["model", "decode"], ["model", "check"]]:
            done = run(*arguments, "--help")
            self.assertEqual((done.returncode, done.stderr), (0, b""), arguments)
            self.assertIn(b"Usage: tilvanego " + " ".join(arguments).encode(), done.stdout)
        self.assertIn(b".01 decline, .02 cancel, .03 fail, .04 silent, .05 wrong-id, .06 no-status, .07 unknown-status, "
                      b".08 tampered, .09 expired, any other approve", run("sandbox", "--help").stdout)

    def test_wrong_usage_says_what_is_wrong_on_standard_error(self):
        for arguments, named in [
            ([], b"subcommand"),
            (["pay"], b"subcommand"),
            (["host", "--replay"], b"--replay"),
            (["host", "--pasteboard", "none"], b"--pasteboard"),
            (["host", "--open", ""], b"--open"),
            (["host", "--open", "echo 'half"], b"--open"),
            (["demo", "--transport", "pigeon"], b"--transport"),
            (["demo", "--outcome", "luck"], b"--outcome"),
            (["demo", "--amount", "12,5"], b"--amount"),
            (["sandbox"], b"LINK"),
            (["sandbox", "--outcome", "perhaps", "a:b"], b"--outcome"),
            (["sandbox", "--answer", "fax", "a:b"], b"--answer"),
            (["sandbox", "--fault", "fax", "a:b"], b"--fault"),
            (["sandbox", "--word", "fax", "a:b"], b"--word"),
            (["sandbox", "--keys", "fifth", "a:b"], b"--keys"),
            (["sandbox", "--pasteboard", "fax", "a:b"], b"--pasteboard"),
            (["sandbox", "--open", "'", "a:b"], b"--open"),
            (["callback"], b"SOCKET"),
            (["model"], b"subcommand"),
            (["model", "describe", "amounts"], b"amounts"),
            (["model", "decode"], b"NAME"),
            (["model", "decode", "Status"], b"Status"),
            (["model", "check", "EBT.ModelType"], b"EBT.ModelType"),
            (["callback", "socket"], b"URL"),
            (["callback", "socket", "a:b", "c:d"], b"c:d"),
        ]:
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertIn(named, done.stderr)

    def test_the_users_pasteboard_is_read_and_left_to_others_to_write(self):
        with tempfile.TemporaryDirectory() as directory:
            done = run("host", "--pasteboard", "store", given=b'{"setPasteboard":[]}\n{"getPasteboard":true}\n',
                       env=os.environ | {"XDG_RUNTIME_DIR": directory})
            refused, empty = map(json.loads, done.stdout.splitlines())
            self.assertIn("--pasteboard memory", refused["error"])
            self.assertEqual(empty, {"pasteboard": [], "localOnly": False, "expirationDate": None})
            self.assertEqual(os.listdir(directory), [])


if __name__ == "__main__":
    unittest.main()
