"""Payments by each transport: what no script can show, since it depends on chance or on another process."""

import os
import random
import unittest

from running import PROGRAM, InDirectory, RunningHost, payment

# More than a link can carry, and nothing to compress.
LONG = "".join(random.Random(1).choices("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", k=120_000))


class ThroughTheStore(InDirectory):
    """A host and a payment application, each a process, with the user's pasteboard between them."""

    def host(self, *sandbox):
        answer = f"{PROGRAM} callback {self.socket}"
        application = f"{PROGRAM} sandbox --pasteboard store {' '.join(sandbox)} --open '{answer}'"
        return RunningHost("--pasteboard", "store", "--open", application, "--callbacks", str(self.socket),
                           env=os.environ | {"XDG_RUNTIME_DIR": str(self.directory)})

    def test_a_payment_goes_out_and_comes_back_and_leaves_nothing(self):
        for transport, answer, notes in [("urlScheme", "same", ""), ("pasteboard", "same", "n" * 12_000_000),
                                         ("gzip", "pasteboard", ""), ({"automatic": 2000}, "same", LONG)]:
            with self.host("--answer", answer, "--outcome", "approve") as host:
                paid = host.ask(payment(customId="table 7 ü+&", notes=notes) | {"transport": transport}, "completion")["value"]
                self.assertEqual((paid["case"], paid["response"]["customId"]), ("success", "table 7 ü+&"))
                left = host.ask({"getPasteboard": True}, "pasteboard")
                self.assertEqual(left, {"pasteboard": [], "localOnly": False, "expirationDate": None})

    def test_an_application_that_cant_answer_counts_as_not_opened(self):
        with self.host("--outcome", "tampered") as host:
            self.assertEqual(host.ask(payment(), "completion")["value"]["error"], "paymentAppNotInstalled")
