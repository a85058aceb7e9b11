"""Lines of any bytes and any length: each gets its answer or one error line, and the host goes on."""

import json
import unittest

from running import host, payment, run

ASK = b'{"pending":"payment"}'
ANSWER = {"pending": "payment", "inProgress": False}


class Lines(unittest.TestCase):
    def assert_error(self, line, word=""):
        events = host(line, ASK)
        self.assertEqual(len(events), 2, events)
        self.assertEqual(list(events[0]), ["error"])
        self.assertIn(word, events[0]["error"])
        self.assertEqual(events[1], ANSWER)

    def test_bytes_that_are_no_json_are_an_error(self):
        for line in [b"\0", b"\xff\xfe{\0}\0", b'{"pending":"pay\0ment"}', b'{"pending":"\xc3("}', b'{"pending":"\xed\xa0\x80"}',
                     b'{"pending":"\\ud800"}', b"\xff" * 100, b"\r", b"{" * 100000, b"[" * 100000, b'{"a":' * 100000]:
            self.assert_error(line)

    def test_lines_may_end_by_carriage_return_or_not_at_all(self):
        self.assertEqual(host(ASK + b"\r", b" \t" + ASK), [ANSWER, ANSWER])
        self.assertEqual(run("host", given=ASK).stdout.count(b"inProgress"), 1)
        self.assertEqual(host(), [])

    def test_a_line_of_ten_megabytes_is_read(self):
        notes = "x" * 10_000_000
        events = host(json.dumps(payment(notes=notes)).encode(), ASK)
        self.assertEqual([next(iter(event)) for event in events], ["debug", "debug", "debug", "log", "open", "pending"])
        self.assertIn(notes, events[4]["open"])

    def test_a_line_of_ten_megabytes_that_is_wrong_gets_a_short_error(self):
        for line in [b"x" * 10_000_000, b'{"' + b"x" * 10_000_000 + b'":1}',
                     b'{"pending":"payment","' + "ä".encode() * 5_000_000 + b'":1}']:
            events = host(line, ASK)
            self.assertLess(len(events[0]["error"]), 1000)
            self.assertEqual(events[1], ANSWER)

    def test_a_line_beyond_the_limit_is_passed_over(self):
        limit = 64 << 20
        self.assert_error(b'{"pending":"payment"}' + b" " * limit, str(limit))

    def test_no_error_line_shows_a_token(self):
        credentials = {"basicToken": "s3cret", "accountId": "m", "environment": "CERT"}
        for fault in [{"basicToken": ["s3cret"]}, {"accountId": 7}, {"environment": 7}, {"other": "s3cret"}]:
            line = json.dumps(payment(credentials=credentials | fault)).encode()
            done = run("host", given=line)
            self.assertTrue(done.stdout.startswith(b'{"error":'), done.stdout)
            self.assertNotIn(b"s3cret", done.stdout)
