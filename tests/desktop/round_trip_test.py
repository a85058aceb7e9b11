"""A payment between two windows on a desktop of the test's own: Xvfb, xdg-open, the keyboard."""

import time
import unittest

from desktop import LONGEST_WAIT, Desktop


class RoundTrip(unittest.TestCase):
    """Each by the real xdg-open, twice: the till's link and the terminal's callback."""

    def setUp(self):
        self.desktop = Desktop()
        self.addCleanup(self.desktop.close)
        self.desktop.begin()

    def till(self):
        process = self.desktop.start("tilvanego-till")
        return process, self.desktop.window("^Till$")

    def pay(self, window, transport):
        self.desktop.enter_payment(window, transport)
        self.desktop.press(window, "Return")

    def decide(self, key):
        """The decision of the terminal's person, as soon as the payment is shown."""
        self.desktop.press(self.desktop.window(r"^Payment 12\.50 EUR"), key)
        return time.monotonic()

    def has_receipt(self, result):
        # xdotool's dots match bytes.
        self.desktop.window(f"^Payment: {result} .+ 12.50 EUR .+ Till")

    def test_every_transport_and_decision(self):
        _, till = self.till()
        for transport, name in enumerate(("in the link", "compressed", "sealed on the clipboard")):
            for key, result in ("a", "success"), ("d", "declined"), ("c", "cancelled"):
                with self.subTest(transport=name, result=result):
                    self.pay(till, transport)
                    decided = self.decide(key)
                    self.has_receipt(result)
                    print(f"{name}, {result}: {time.monotonic() - decided:.3f} s from key to receipt")

    def test_a_till_that_is_killed_while_the_person_pays(self):
        for transport in range(3):
            with self.subTest(transport=transport):
                process, till = self.till()
                self.pay(till, transport)
                self.desktop.window(r"^Payment 12\.50 EUR")
                process.kill()
                process.wait()
                # xdg-open starts it with the callback.
                self.decide("a")
                self.has_receipt("success")
                self.desktop.press(self.desktop.window("Till$"), "ctrl+q")
                self.wait_until_ended("tilvanego-till")

    def wait_until_ended(self, name):
        """Until the name is free: a second process would only hand over."""
        socket = self.desktop.home / "run" / "tilvanego" / f"{name}.callbacks"
        deadline = time.monotonic() + LONGEST_WAIT
        while socket.exists() and time.monotonic() < deadline:
            pass
        self.assertFalse(socket.exists())


if __name__ == "__main__":
    unittest.main()
