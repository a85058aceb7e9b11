"""A host that is killed and started again with the same --state."""

import unittest

from running import InDirectory, RunningHost, payment

CALLBACK = {"callback": "myshop://done?status=approved&request_id=A1"}
LEFT = {"operation": "payment", "requestId": "A1", "startedAt": "2024-03-05T10:20:30Z", "callbackReceived": False}


class Restart(InDirectory):
    def host(self):
        return RunningHost("--state", str(self.directory / "state"))

    def kill_a_payment(self):
        with self.host() as host:
            host.tell({"now": "2024-03-05T10:20:30Z"})
            host.tell({"start": "reboot", "request": {"requestId": "B1", "callbackURL": "myshop://again"}})
            host.tell(payment() | {"transport": {"automatic": 4096}})
            started = {"startedAt": LEFT["startedAt"]}
            self.assertEqual(host.ask({"pending": True}, "pending"), {"pending": [
                {"operation": "reboot", "requestId": "B1", **started},
                {"operation": "payment", "requestId": "A1", **started, "transport": "automatic"}]})
            self.assertEqual(host.ask({"interrupted": True}, "interrupted"), {"interrupted": []})

    def test_a_killed_host_finds_its_payment_and_resumes_it(self):
        self.kill_a_payment()
        with self.host() as host:
            self.assertEqual(host.ask({"interrupted": True}, "interrupted")["interrupted"][1], LEFT)
            self.assertEqual(host.ask({"resume": "payment"}, "resumed"), {"resumed": "payment", "found": True})
            host.tell({"resume": "payment"})
            host.tell(CALLBACK)
            host.tell({"forget": "reboot"})
            host.tell({"interrupted": True})
            _, events = host.finish()
        self.assertEqual(events[0], {"resumed": "payment", "found": False})
        self.assertEqual((events[1]["completion"], events[1]["value"]["case"]), ("payment", "success"))
        self.assertEqual(events[2:], [{"handled": True}, {"forgotten": "reboot", "found": True}, {"interrupted": []}])

    def test_a_callback_before_the_resumption_is_delivered_after_it(self):
        self.kill_a_payment()
        with self.host() as host:
            self.assertEqual(host.ask(CALLBACK, "handled"), {"handled": True})
        with self.host() as host:
            host.tell({"interrupted": True})
            host.tell({"resume": "payment"})
            host.tell(CALLBACK)
            _, events = host.finish()
        self.assertEqual(events[0]["interrupted"][1], LEFT | {"callbackReceived": True})
        self.assertEqual(events[1], {"resumed": "payment", "found": True})
        self.assertEqual(events[2]["value"]["case"], "success")
        self.assertEqual(events[-1], {"handled": False})

    def test_without_a_directory_nothing_is_kept(self):
        with RunningHost() as host:
            host.tell(payment())
            self.assertEqual(len(host.ask({"pending": True}, "pending")["pending"]), 1)
            self.assertEqual(host.ask({"interrupted": True}, "interrupted"), {"interrupted": []})
            self.assertEqual(host.ask({"forget": "payment"}, "forgotten"), {"forgotten": "payment", "found": False})
            for wrong in ({"pending": False}, {"interrupted": False}, {"resume": True}, {"forget": "payments"}):
                self.assertIn("must be", host.ask(wrong, "error")["error"])
