"""Payments with a payment application that shares no code with the library: payment_app.mjs, which refuses whatever
isn't exactly as a form promises, and says why on standard error. The pasteboard is the file that the user's programs
share, built here byte for byte."""

import json
import os
import pathlib
import struct
import subprocess
import unittest
import zlib

from running import InDirectory, RunningHost

APP = [os.environ["NODE"], str(pathlib.Path(__file__).with_name("payment_app.mjs"))]
# A fraction of a second shows what is rounded, and how.
INSTANT, NOW, EXPIRES = "2027-01-15T08:00:00.75Z", 1_800_000_000.75, 1_800_000_300
FORMS = {"urlScheme": "inline", "gzip": "gzip", "pasteboard": "pasteboard"}

NOTES = "-._~!$'()*+,;:@/? &=#%<>[]{}^`|Grüße \"an\" alle\\/\n\t\x7f\x01 👩‍👩‍👧 שלום e\u0301"
FULL = {"requestId": "Ä|1.2 /&=+%", "amount": "1000000000000.01", "tip": "0.10", "transactionType": "auth",
        "currency": "EUR", "callbackURL": "myshop://done/till/4?lane=a%20b&x=1", "customId": "", "notes": NOTES,
        "credentials": {"basicToken": "s3cret+/=", "accountId": "Konto №7", "environment": "cert"},
        "requiresReaderReady": False}
FULL_SENT = {"request_id": "Ä|1.2 /&=+%", "amount": "1000000000000.01", "tip": "0.1", "type": "auth",
             "currency": "EUR", "return_url": "myshop://done/till/4?lane=a%20b&x=1", "custom_id": "", "notes": NOTES,
             "credentials": {"basic_token": "s3cret+/=", "account_id": "Konto №7", "environment": "CERT"},
             "require_reader_ready": False}
ANSWER = {"request_id": FULL["requestId"], "status": "approved", "approval_code": "00/7 + 1&2=3",
          "transaction_id": "T-\"1\"\\", "message": "Danke schön 🍕\n"}
RESPONSE = {"requestId": FULL["requestId"], "status": "approved", "approvalCode": "00/7 + 1&2=3",
            "transactionId": "T-\"1\"\\", "processorMessage": "Danke schön 🍕\n"}


def pasteboard_file(envelope):
    """The file with one item for this device alone: a text of three types, which stands there once."""
    def block(text):
        return struct.pack("<I", len(text)) + text

    body = (struct.pack("<BdII", 3, EXPIRES, 1, 3) + block(b"public.plain-text") + b"\0" + block(envelope.encode())
            + block(b"public.text") + b"\2" + block(b"public.utf8-plain-text") + b"\2")
    return b"TVGPASTE" + struct.pack("<III", 2, len(body), zlib.crc32(body)) + body


class PaymentApp(InDirectory):
    def pay(self, request, transport, answer):
        """What the payment application read, the completion's value, and whether a pasteboard file is left."""
        store = self.directory / "tilvanego" / "pasteboard"
        with RunningHost("--pasteboard", "store", env=os.environ | {"XDG_RUNTIME_DIR": str(self.directory)}) as host:
            host.tell({"now": INSTANT})
            asked = {"link": host.ask({"start": "payment", "transport": transport, "request": request}, "open")["open"],
                     "now": NOW, "form": answer, "answer": ANSWER}
            if store.exists():
                item = host.ask({"getPasteboard": True}, "pasteboard")["pasteboard"][0]
                asked["envelope"] = item["public.text"]
                self.assertEqual(store.read_bytes(), pasteboard_file(item["public.text"]))
            done = subprocess.run(APP, input=json.dumps(asked), stdout=subprocess.PIPE, encoding="utf-8", check=True)
            read = json.loads(done.stdout)
            if "envelope" in read:
                store.parent.mkdir(mode=0o700, exist_ok=True)
                store.touch(0o600)
                store.write_bytes(pasteboard_file(read["envelope"]))
            value = host.ask({"callback": read["callback"]}, "completion")["value"]
            left = store.exists()
            store.unlink(missing_ok=True)
            return read["form"], read["request"], value, left

    def test_each_form_carries_the_same_request_and_each_answer_the_same_result(self):
        for transport, form in FORMS.items():
            for answer in FORMS.values():
                with self.subTest(form=form, answer=answer):
                    read, request, value, left = self.pay(FULL, transport, answer)
                    self.assertEqual((read, request, value["case"]), (form, FULL_SENT, "success"))
                    self.assertEqual(value["response"] | RESPONSE, value["response"])
                    self.assertNotIn("customId", value["response"])
                    # A launch's own envelope is the payment application's to remove.
                    self.assertEqual(left, form == "pasteboard" and answer != "pasteboard")
