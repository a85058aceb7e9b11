"""Payments by each transport: what no script can show, since it depends on chance or on another process."""

import json
import os
import random
import unittest

from running import PROGRAM, InDirectory, RunningHost, payment

# More than a link can carry, and nothing to compress.
LONG = "".join(random.Random(1).choices("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", k=120_000))


def by(transport, **fields):
    return payment(**fields) | {"transport": transport}


class Leaving(unittest.TestCase):
    def setUp(self):
        self.host = RunningHost()
        self.addCleanup(self.host.__exit__)

    def pasteboard(self):
        return self.host.ask({"getPasteboard": True}, "pasteboard")["pasteboard"]

    def test_a_handoff_has_one_text_under_three_types_and_no_token_in_it(self):
        token = "a-token-for-the-cipher-alone"
        credentials = {"basicToken": token, "accountId": "m-1", "environment": "PROD"}
        link = self.host.ask(by("pasteboard", credentials=credentials), "open")["open"]
        [item] = self.pasteboard()
        self.assertEqual(set(item), {"public.utf8-plain-text", "public.plain-text", "public.text"})
        [text] = set(item.values())
        self.assertIn(f"handoffId={json.loads(text)['handoffId']}&", link)
        self.assertNotIn(token, text + link)

    def test_each_handoff_is_sealed_anew_and_takes_the_place_of_the_last(self):
        seen = []
        for _ in range(2):
            self.host.ask(by("pasteboard"), "open")
            [item] = self.pasteboard()
            envelope = json.loads(item["public.text"])
            seen += [envelope["handoffId"], envelope["ciphertext"]]
            self.host.tell({"cancel": "payment"})
        self.assertEqual(len(set(seen)), 4)

    def test_what_no_compressed_link_can_carry_is_refused_by_gzip_and_sealed_by_automatic(self):
        refused = self.host.ask(by("gzip", notes=LONG), "completion")["value"]
        self.assertEqual(refused["error"], "urlPayloadTooLarge")
        self.assertEqual(self.pasteboard(), [])
        link = self.host.ask(by({"automatic": 2000}, notes=LONG), "open")["open"]
        self.assertIn("transport=pasteboard", link)
        self.assertEqual(len(self.pasteboard()), 1)

    def test_no_length_is_too_much_for_the_inline_link(self):
        for start in [by("urlScheme", notes=LONG), payment(notes=LONG)]:
            self.assertIn(f"notes={LONG}&", self.host.ask(start, "open")["open"])
            self.host.tell({"cancel": "payment"})


class ThroughTheStore(InDirectory):
    """A host and a payment application, each a process, with the user's pasteboard between them."""

    def host(self, *sandbox):
        answer = f"{PROGRAM} callback {self.socket}"
        application = f"{PROGRAM} sandbox --pasteboard store {' '.join(sandbox)} --open '{answer}'"
        return RunningHost("--pasteboard", "store", "--open", application, "--callbacks", str(self.socket),
                           env=os.environ | {"XDG_RUNTIME_DIR": str(self.directory)})

    def test_a_sealed_payment_goes_out_and_comes_back_and_leaves_nothing(self):
        for transport in ["pasteboard", "gzip"]:
            with self.host("--answer", "same", "--outcome", "approve") as host:
                paid = host.ask(by(transport, customId="table 7 ü+&"), "completion")["value"]
                self.assertEqual((paid["case"], paid["response"]["customId"]), ("success", "table 7 ü+&"))
                left = host.ask({"getPasteboard": True}, "pasteboard")
                self.assertEqual(left, {"pasteboard": [], "localOnly": False, "expirationDate": None})

    def test_a_payment_of_any_length_comes_through(self):
        with self.host("--answer", "same", "--outcome", "decline") as host:
            self.assertEqual(host.ask(by({"automatic": 2000}, notes=LONG), "completion")["value"]["case"], "declined")

    def test_any_transport_may_be_answered_by_any_other(self):
        for transport in ["urlScheme", "gzip", "pasteboard"]:
            for answer in ["url", "gzip", "pasteboard"]:
                with self.host("--answer", answer, "--outcome", "approve") as host:
                    paid = host.ask(by(transport), "completion")["value"]
                    self.assertEqual(paid["case"], "success", (transport, answer))

    def test_an_answer_that_was_changed_or_came_too_late_is_refused(self):
        for transport, outcome, error in [("gzip", "tampered", "urlPayloadDecompressionFailed"),
                                          ("pasteboard", "tampered", "pasteboardHandoffDecryptionFailed"),
                                          ("pasteboard", "expired", "pasteboardHandoffExpired")]:
            with self.host("--answer", "same", "--outcome", outcome) as host:
                self.assertEqual(host.ask(by(transport), "completion")["value"]["error"], error)


if __name__ == "__main__":
    unittest.main()
