"""Payments by each transport: what no script can show, since it depends on chance."""

import json
import random
import unittest

from running import RunningHost, payment

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


if __name__ == "__main__":
    unittest.main()
