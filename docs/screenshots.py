"""Makes docs/pictures: a payment between the two windows, on a desktop of its own.

TILL and TERMINAL are the paths of the two programs."""

import pathlib
import subprocess
import sys
import time

TREE = pathlib.Path(__file__).parents[1]
FOLDER = TREE / "docs/pictures"
sys.path.insert(0, str(TREE / "tests/desktop"))

from desktop import LONGEST_WAIT, Desktop  # noqa: E402

# For Qt's own theme of that name: what a person chooses in the settings of a desktop.
DARK = """[Colors:Window]
BackgroundNormal=35,38,41
ForegroundNormal=239,240,241
[Colors:View]
BackgroundNormal=27,30,32
ForegroundNormal=239,240,241
[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=239,240,241
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=252,252,252
"""


def grab(desktop, window, *options):
    # A palette without dithering: a tenth of the bytes, and the same to the eye.
    return subprocess.run(["import", "-window", window, *options, "+dither", "-colors", "64", "-strip", "png8:-"],
                          env=desktop.environment, check=True, stdout=subprocess.PIPE).stdout


def take(desktop, window, name, *options):
    """A picture of the window as soon as it stays as it is."""
    deadline = time.monotonic() + LONGEST_WAIT
    before = None
    while (picture := grab(desktop, window, *options)) != before:
        assert time.monotonic() < deadline, f"what {name}.png shows is never still"
        before = picture
    (FOLDER / f"{name}.png").write_bytes(picture)
    print(f"docs/pictures/{name}.png: {len(picture)} bytes")


def take_payment():
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


def take_both():
    """Both windows side by side, small, while a payment waits."""
    height, left, gap, right = 490, 640, 16, 540
    with Desktop() as desktop:
        desktop.begin()
        desktop.start("tilvanego-terminal")
        terminal = desktop.window("^Payment terminal")
        desktop.run("xdotool", "windowsize", "--sync", terminal, str(right), str(height))
        desktop.run("xdotool", "windowmove", "--sync", terminal, str(left + gap), "0")
        desktop.start("tilvanego-till")
        till = desktop.window("^Till$")
        desktop.run("xdotool", "windowsize", "--sync", till, str(left), str(height))
        desktop.enter_payment(till, transport=2)
        desktop.press(till, "Return")
        desktop.window(r"^Payment 12\.50 EUR")
        take(desktop, "root", "payment", "-crop", f"{left + gap + right}x{height}+0+0", "+repage")


def take_dark():
    with Desktop() as desktop:
        desktop.begin(QT_SCALE_FACTOR="1.5", QT_QPA_PLATFORMTHEME="kde", KDE_SESSION_VERSION="5", XDG_CURRENT_DESKTOP="X-Generic")
        settings = desktop.home / "config/kdeglobals"
        settings.parent.mkdir(exist_ok=True)
        settings.write_text(DARK, encoding="utf-8")
        desktop.start("tilvanego-till")
        till = desktop.window("^Till$")
        desktop.enter_payment(till, transport=0)
        desktop.press(till, "Return")
        take(desktop, desktop.window(r"^Payment 12\.50 EUR"), "terminal-dark")


FOLDER.mkdir(exist_ok=True)
take_payment()
take_both()
take_dark()
