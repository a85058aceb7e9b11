"""Makes docs/pictures: a payment between the two windows, on a desktop of its own.

TILL and TERMINAL are the paths of the two programs."""

import pathlib
import subprocess
import sys
import time

TREE = pathlib.Path(__file__).parents[1]
FOLDER = TREE / "docs/pictures"
sys.path.insert(0, str(TREE / "tests/desktop"))

from desktop import LONGEST_WAIT, Desktop  # noqa: E402  # it lies in the folder of the line above


def grab(desktop, window):
    return subprocess.run(["import", "-window", window, "+dither", "-colors", "64", "-strip", "png:-"], env=desktop.environment, check=True,
                          stdout=subprocess.PIPE).stdout


def take(desktop, window, name):
    """A picture of the window as soon as it has been drawn: it has colours, and stays as it is."""
    deadline = time.monotonic() + LONGEST_WAIT
    before = None
    while (pixels := grab(desktop, window)) != before:
        assert time.monotonic() < deadline, f"the window of {name} is never still"
        before = pixels
    (FOLDER / f"{name}.png").write_bytes(pixels)


def main():
    FOLDER.mkdir(exist_ok=True)
    with Desktop() as desktop:
        desktop.begin()
        desktop.start("tilvanego-till")
        till = desktop.window("^Till$")
        desktop.enter_payment(till, transport=2)
        take(desktop, till, "till-entry")
        desktop.press(till, "Return")
        terminal = desktop.window(r"^Payment 12\.50 EUR")
        take(desktop, terminal, "terminal")
        desktop.press(terminal, "a")
        desktop.window("^Payment: success")
        take(desktop, till, "till-receipt")


main()
