"""A desktop of its own for the two windows: Xvfb, the user's directories below a temporary one, the keyboard.

TILL and TERMINAL are the paths of the two programs."""

import contextlib
import os
import pathlib
import subprocess
import tempfile
import time

PROGRAMS = [pathlib.Path(os.environ[name]) for name in ("TILL", "TERMINAL")]
LONGEST_WAIT = 60


class Desktop(contextlib.ExitStack):
    """Until it is closed; so are the programs that it started."""

    def begin(self, **environment):
        """With these variables of the environment besides its own."""
        home = self.enter_context(tempfile.TemporaryDirectory(prefix="desktop"))
        self.home = pathlib.Path(home)
        (self.home / "bin").mkdir()
        for program in PROGRAMS:
            (self.home / "bin" / program.name).symlink_to(program.resolve())
        (self.home / "run").mkdir(mode=0o700)
        self.environment = {
            "HOME": home, "XDG_RUNTIME_DIR": f"{home}/run", "XDG_CONFIG_HOME": f"{home}/config",
            "XDG_DATA_HOME": f"{home}/data", "XDG_STATE_HOME": f"{home}/state", "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb", "PATH": f"{home}/bin:{os.environ['PATH']}",
            # The sanitizers' options.
            **{name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}, **environment}
        self.environment["DISPLAY"] = f":{self.start_server()}"
        for program in PROGRAMS:
            self.run(program.name, "--register")

    def start_server(self):
        """The number of a display."""
        reading, writing = os.pipe()
        # By itself it starts afresh whenever its last client has gone, and is then not there for the next one.
        server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-noreset", "-nolisten", "tcp", "-wr",
                                   "-screen", "0", "1600x1200x24"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        self.callback(server.wait)
        self.callback(server.terminate)  # it removes its lock
        os.close(writing)
        with os.fdopen(reading) as ready:
            return int(ready.readline())

    def start(self, *command):
        process = subprocess.Popen(command, env=self.environment, start_new_session=True)
        self.callback(process.wait)
        self.callback(process.kill)
        return process

    def run(self, *command):
        return subprocess.run(command, env=self.environment, check=True, stdout=subprocess.PIPE, encoding="utf-8",
                              timeout=LONGEST_WAIT).stdout

    def windows(self, title):
        return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding="utf-8").stdout.split()

    def window(self, title):
        """The first window whose title matches, once there is one."""
        deadline = time.monotonic() + LONGEST_WAIT
        while time.monotonic() < deadline:
            found = self.windows(title)
            if found:
                return found[0]
        titles = [self.run("xdotool", "getwindowname", one).strip() for one in self.windows(".")]
        raise AssertionError(f"no window has the title {title}, but there are {titles}")

    def press(self, window, *keys):
        # Without a window manager nobody else gives the focus.
        self.run("xdotool", "windowfocus", "--sync", window)
        self.run("xdotool", "key", "--clearmodifiers", *keys)

    def enter_payment(self, till, transport, amount="12.50"):
        """Types a payment into the till's window. The transport is the number of its line."""
        self.press(till, "alt+n")
        self.press(till, "Home", *["Down"] * transport)
        self.press(till, "alt+a")
        self.run("xdotool", "type", amount)
