"""The demo: every operation out and back, readable, and without secrets."""

import os
import unittest

from running import on_terminal, run


def results(*arguments):
    done = run("demo", *arguments)
    lines = done.stdout.decode().splitlines()
    return done.returncode, [line.split(maxsplit=2)[2] for line in lines if line.startswith("  the result")]


class Demo(unittest.TestCase):
    def test_every_transport_and_every_operation_is_shown_to_its_end(self):
        self.assertEqual(results(), (0, 4 * ["success"] + ["initialized"] + 7 * ["success"]))

    def test_each_transport_carries_a_payment_by_itself(self):
        for transport, mark in [("urlScheme", b"?request_id="), ("gzip", b"payload=hidden"),
                                ("pasteboard", b"handoffId="), ("automatic", b"payload=hidden")]:
            shown = run("demo", "--transport", transport).stdout
            self.assertEqual((shown.count(b"the result"), shown.count(b"success")), (1, 1), transport)
            self.assertIn(mark, shown)

    def test_an_answer_may_be_changed_on_its_way_or_come_too_late(self):
        for outcome, error in [("tampered", "DecryptionFailed"), ("expired", "Expired")]:
            self.assertEqual(results("--transport", "pasteboard", "--outcome", outcome),
                             (0, ["failure, pasteboardHandoff" + error]))

    def test_amount_outcome_and_transport_narrow_it(self):
        only = ["--transport", "urlScheme"]
        self.assertEqual(results(*only), (0, ["success"]))
        self.assertEqual(results(*only, "--amount", "7.01"), (0, ["declined"]))
        self.assertEqual(results(*only, "--amount", "7.01", "--outcome", "cancel"), (0, ["cancelled"]))
        self.assertEqual(results(*only, "--amount", "-1"), (0, ["failure, invalidRequest"]))
        status, [silence] = results(*only, "--outcome", "silent")
        self.assertEqual((status, silence[:4]), (0, "none"))
        self.assertEqual(results(*only, "--outcome", "expired")[0], 1)

    def test_no_token_and_no_card_is_shown(self):
        shown = run("demo").stdout
        self.assertIn(b"basic_token=hidden", shown)
        self.assertIn(b"clearPan: hidden", shown)
        for secret in [b"a-secret", b"4111111111111111"]:
            self.assertNotIn(secret, shown)

    def test_colours_are_for_terminals_that_want_them(self):
        def shown(**environment):
            environment = {k: v for k, v in os.environ.items() if k != "NO_COLOR"} | environment
            return on_terminal("stdout", "demo", "--transport", "urlScheme", env=environment)[1]

        self.assertIn(b"\x1b[", shown())
        self.assertNotIn(b"\x1b[", shown(NO_COLOR="1"))
        self.assertNotIn(b"\x1b[", run("demo").stdout)
