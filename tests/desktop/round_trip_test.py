"""A payment between two windows on a desktop of the test's own: Xvfb, xdg-open, the keyboard."""

import os
import pathlib
import subprocess
import tempfile
import time
import unittest

PROGRAMS = [pathlib.Path(os.environ[name]) for name in ("TILL", "TERMINAL")]
LONGEST_WAIT = 60


class Desktop(unittest.TestCase):
    def setUp(self):
        home = tempfile.TemporaryDirectory(prefix="desktop")
        self.addCleanup(home.cleanup)
        self.home = pathlib.Path(home.name)
        (self.home / "bin").mkdir()
        for program in PROGRAMS:
            (self.home / "bin" / program.name).symlink_to(program)
        (self.home / "run").mkdir(mode=0o700)
        self.environment = {
            "HOME": home.name, "XDG_RUNTIME_DIR": f"{home.name}/run", "XDG_CONFIG_HOME": f"{home.name}/config",
            "XDG_DATA_HOME": f"{home.name}/data", "XDG_STATE_HOME": f"{home.name}/state", "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb", "PATH": f"{home.name}/bin:{os.environ['PATH']}",
            # The sanitizers' options.
            **{name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}}
        self.environment["DISPLAY"] = f":{self.start_server()}"
        for program in PROGRAMS:
            self.run_program(program.name, "--register")

    def start_server(self):
        """The number of a display."""
        reading, writing = os.pipe()
        # By itself it starts afresh whenever its last client has gone, and is then not there for the next one.
        server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-noreset", "-nolisten", "tcp",
                                   "-screen", "0", "1600x1200x24"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)  # it removes its lock
        os.close(writing)
        with os.fdopen(reading) as ready:
            return int(ready.readline())

    def end_with_test(self, process):
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def start(self, *command):
        process = subprocess.Popen(command, env=self.environment, start_new_session=True)
        self.end_with_test(process)
        return process

    def run_program(self, *command):
        return subprocess.run(command, env=self.environment, check=True, stdout=subprocess.PIPE, encoding="utf-8",
                              timeout=LONGEST_WAIT).stdout

    def window(self, title):
        """The first window whose title matches, once there is one."""
        deadline = time.monotonic() + LONGEST_WAIT
        while time.monotonic() < deadline:
            found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], env=self.environment,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding="utf-8").stdout.split()
            if found:
                return found[0]
        self.fail(f"no window has the title {title}, but there are {self.titles()}")

    def titles(self):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "."], env=self.environment,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding="utf-8").stdout.split()
        return [self.run_program("xdotool", "getwindowname", one).strip() for one in found]

    def press(self, window, *keys):
        # Without a window manager nobody else gives the focus.
        self.run_program("xdotool", "windowfocus", "--sync", window)
        self.run_program("xdotool", "key", "--clearmodifiers", *keys)


class RoundTrip(Desktop):
    """Each by the real xdg-open, twice: the till's link and the terminal's callback."""

    def till(self):
        process = self.start("tilvanego-till")
        return process, self.window("^Till$")

    def pay(self, window, transport, amount="12.50"):
        self.press(window, "alt+n")
        self.press(window, "Home", *["Down"] * transport)
        self.press(window, "alt+a")
        self.run_program("xdotool", "type", amount)
        self.press(window, "Return")

    def decide(self, key):
        """The decision of the terminal's person, as soon as the payment is shown."""
        self.press(self.window(r"^Payment 12\.50 EUR"), key)
        return time.monotonic()

    def has_receipt(self, result):
        # xdotool's dots match bytes.
        self.window(f"^Payment: {result} .+ 12.50 EUR .+ Till")

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
                self.window(r"^Payment 12\.50 EUR")
                process.kill()
                process.wait()
                # xdg-open starts it with the callback.
                self.decide("a")
                self.has_receipt("success")
                self.press(self.window("Till$"), "ctrl+q")
                self.wait_until_ended("tilvanego-till")

    def wait_until_ended(self, name):
        """Until the name is free: a second process would only hand over."""
        socket = self.home / "run" / "tilvanego" / f"{name}.callbacks"
        deadline = time.monotonic() + LONGEST_WAIT
        while socket.exists() and time.monotonic() < deadline:
            pass
        self.assertFalse(socket.exists())


if __name__ == "__main__":
    unittest.main()
