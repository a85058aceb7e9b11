"""`tilvanego scheme`: what it writes for the desktop, and that it undoes just that."""
import os
import pathlib
import stat
import subprocess
import tempfile
import unittest

from running import PROGRAM, run

LIST = "[Added Associations]\ntext/plain=a.desktop;\n\n[Default Applications]\ntext/html=b.desktop\n"


class Scheme(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.home = pathlib.Path(temporary.name)
        self.list = self.home / "config" / "mimeapps.list"
        self.entry = self.home / "data" / "applications" / "tilvanego-myshop.desktop"
        (self.home / "bin").mkdir()
        self.program("xdg-open")
        self.environment = dict(
            os.environ, HOME=str(self.home), XDG_CONFIG_HOME=str(self.home / "config"), XDG_CURRENT_DESKTOP="Test",
            XDG_DATA_HOME=str(self.home / "data"), XDG_DATA_DIRS=str(self.home / "system"), XDG_CONFIG_DIRS="/none",
            PATH=str(self.home / "bin"))

    def program(self, name):
        path = self.home / "bin" / name
        path.write_text("#!/bin/sh\n")
        path.chmod(0o700)
        return path

    def scheme(self, *arguments, status=0):
        done = run("scheme", *arguments, env=self.environment)
        self.assertEqual(done.returncode, status, done.stderr)
        return (done.stdout if status == 0 else done.stderr).decode()

    def test_the_last_of_several_handlers_takes_the_list_away_that_the_first_has_made(self):
        for order in ("one", "two"), ("two", "one"):
            for name in "one", "two":
                self.scheme("install", name, "--command", str(self.program("till")))
            for name in order:
                self.assertTrue(self.list.exists())
                self.scheme("remove", name)
            self.assertFalse(self.list.exists(), order)

    def other(self, directory="system"):
        folder = self.home / directory / "applications"
        folder.mkdir(parents=True)
        (folder / "other.desktop").write_text("[Desktop Entry]\nExec=other-shop --open %u\n")
        (folder / "mimeinfo.cache").write_text("[MIME Cache]\nx-scheme-handler/myshop=missing.desktop;other.desktop;\n")
        return folder / "other.desktop"

    def test_an_installed_handler_is_shown_and_removed_without_a_trace(self):
        self.program("till")
        for before in [None, "", LIST, LIST.rstrip("\n") + "\n", "[Default Applications]\n"]:
            if before is not None:
                self.list.parent.mkdir(exist_ok=True)
                self.list.write_text(before)
                self.list.chmod(0o640)
            self.scheme("install", "MyShop", "--command", "till --callback", "--name", "Till")
            self.assertEqual(self.scheme("show", "myshop"), f"{self.entry}\ntill --callback %u\n")
            self.scheme("install", "myshop", "--command", "till")
            self.assertEqual(self.scheme("show", "myshop"), f"{self.entry}\ntill %u\n")
            self.assertIn("x-scheme-handler/myshop=tilvanego-myshop.desktop;\n", self.list.read_text())
            self.scheme("remove", "myshop")
            self.assertFalse(self.entry.exists())
            if before is None:
                self.assertFalse(self.list.exists())
            elif before != "[Default Applications]\n":
                self.assertEqual(self.list.read_text(), before)
                self.assertEqual(stat.S_IMODE(self.list.stat().st_mode), 0o640)
            self.assertIn("Nothing was installed", self.scheme("remove", "myshop", status=1))
            self.assertIn("No program", self.scheme("show", "myshop", status=1))

    def test_another_program_keeps_a_scheme_unless_told_otherwise(self):
        other = self.other()
        self.program("till")
        refused = self.scheme("install", "myshop", "--command", "till", status=1)
        self.assertIn(f"{other}, which stays as it is. Take it over with --replace.", refused)
        self.assertFalse(self.entry.exists() or self.list.exists())
        self.list.parent.mkdir()
        self.list.write_text("[Default Applications]\nx-scheme-handler/myshop=other.desktop\n")
        self.scheme("install", "myshop", "--command", "till", "--replace")
        self.assertEqual(self.scheme("show", "myshop").split("\n")[0], str(self.entry))
        self.scheme("remove", "myshop")
        self.assertEqual(self.list.read_text(), "[Default Applications]\nx-scheme-handler/myshop=other.desktop\n")

    def test_another_program_is_found_wherever_a_desktop_finds_it(self):
        self.program("till")
        self.list.parent.mkdir()
        for directory in ["data", "system"]:
            folder = self.home / directory / "applications"
            for name, listed in [("other.desktop", ""), ("vendor/a-b.desktop", ""),
                                 ("vendor/a-b.desktop", "[Default Applications]\nx-scheme-handler/myshop=vendor-a-b.desktop")]:
                other = folder / name
                other.parent.mkdir(parents=True, exist_ok=True)
                other.write_text("[Desktop Entry]\nExec=till %u\n" + (
                    "" if listed else "MimeType=a/b;x-scheme-handler/myshop;\n"))
                self.list.write_text(listed)
                self.assertIn(f"{other}, which stays", self.scheme("install", "myshop", "--command", "till", status=1))
                self.assertEqual(self.scheme("show", "myshop"), f"{other}\ntill %u\n")
                other.unlink()

    def test_a_list_that_cannot_be_read_may_name_another_program(self):
        self.other().unlink()
        large = self.home / "system" / "applications" / "mimeapps.list"
        large.write_text("#" * (4 << 20) + "\n")
        for command in [("install", "myshop", "--command", "till"), ("show", "myshop")]:
            self.assertIn(f"{large} isn't a file of at most 4 MiB", self.scheme(*command, status=1))
        self.assertFalse(self.entry.exists() or self.list.exists())
        self.scheme("install", "myshop", "--command", "till", "--replace")

    def test_an_install_that_fails_leaves_all_as_it_was(self):
        self.program("till")
        other = self.other()
        first = self.list.parent / "test-mimeapps.list"
        first.parent.mkdir()
        first.write_text("[Default Applications]\nx-scheme-handler/myshop=other.desktop\n")
        told = self.scheme("install", "myshop", "--command", "till", "--replace", status=1)
        self.assertIn(f"{other}, because {first} names it first", told)
        self.assertFalse(self.entry.exists() or self.list.exists())
        first.unlink()
        other.unlink()
        for installed in [False, True]:
            self.list.write_text(LIST + "#" * 3000)
            if installed:
                self.scheme("install", "myshop", "--command", "till")
            before = self.list.read_text(), self.entry.exists() and self.entry.read_text()
            limited = ["sh", "-c", 'ulimit -f 1; exec "$0" "$@"', PROGRAM, "scheme", "install", "myshop", "--command", "sh"]
            done = subprocess.run(limited, env=dict(self.environment, PATH=os.environ["PATH"]), capture_output=True)
            self.assertEqual((done.returncode, b"can't be written" in done.stderr), (1, True), done.stderr)
            self.assertEqual((self.list.read_text(), self.entry.exists() and self.entry.read_text()), before)

    def test_what_install_did_not_write_in_the_place_of_its_entry_stays(self):
        self.entry.parent.mkdir(parents=True)
        target = self.home / "target"
        target.write_text("mine")
        for make in [lambda: self.entry.symlink_to(target), lambda: self.entry.write_text("mine"),
                     lambda: self.entry.write_text("[Desktop Entry]\nX-TilvaneGo-Scheme=another\n")]:
            make()
            before = self.entry.read_text()
            for command in [("install", "myshop", "--command", "till", "--replace"), ("remove", "myshop")]:
                self.assertIn("no entry that install wrote", self.scheme(*command, status=1))
            self.assertEqual(self.entry.read_text(), before)
            self.assertFalse(self.list.exists())
            self.entry.unlink()

    def test_says_why_a_link_would_not_open(self):
        other = self.other()
        done = run("scheme", "show", "myshop", env=self.environment)
        self.assertEqual((done.returncode, done.stdout.decode()), (1, f"{other}\nother-shop --open %u\n"))
        self.assertIn(b"Its program, other-shop, is not there", done.stderr)
        self.program("other-shop")
        self.scheme("show", "myshop")
        for key, why in [("Hidden=true", "Hidden"), ("TryExec=/none", "TryExec, /none")]:
            written = other.read_text()
            other.write_text(written + key + "\n")
            self.assertIn(why, self.scheme("show", "myshop", status=1))
            other.write_text(written)
        self.list.parent.mkdir()
        named = "x-scheme-handler/myshop=other.desktop\n"
        for before, line in [("\ufeff[Other]\n", 1), ("a=b\n", 1), ("# x\n\n[Other]\nno sign\n", 4), ("[Other\n", 1),
                             ("[Other]\na=\udcff\n", 2)]:
            self.list.write_text(before + "[Default Applications]\n" + named, errors="surrogateescape")
            self.assertIn(f"{self.list}, which names it, because of line {line}.", self.scheme("show", "myshop", status=1))
        self.list.write_text("[Default Applications]\n" + named + named)
        self.assertIn("line 3", self.scheme("show", "myshop", status=1))
        self.list.write_text("# x\n [Other] \n\na[b]=c\n[Default Applications]\r\n" + named)
        self.scheme("show", "myshop")
        (self.home / "bin" / "xdg-open").unlink()
        self.assertIn("xdg-utils", self.scheme("show", "myshop", status=1))

    def test_every_character_of_a_command_comes_back(self):
        words = ["a b", "$HOME", "`x`", '"', "'", "\\", "100%", "%u", "", "~", "*?#()<>|&;", "ü", "a=b", "tab\there"]
        quoted = " ".join("'" + word.replace("'", "'\\''") + "'" for word in words)
        handler = self.program("my till")
        self.scheme("install", "myshop", "--command", f"'{handler}' {quoted}", "--name", "Tïll\nType=Link\\")
        text = self.entry.read_text()
        self.assertEqual(len(text.splitlines()), 9)
        self.assertIn("\nName=Tïll\\nType=Link\\\\\n", text)
        self.scheme("show", "myshop")
        self.assertEqual(decoded(text.split("\nExec=")[1].split("\n")[0]), [str(handler), *words, "%u"])

    def test_what_cannot_be_registered_is_refused(self):
        for wrong in ["", "1a", "my shop", "a/b", "ä", "a:"]:
            self.assertIn("a scheme is a letter", self.scheme("install", wrong, "--command", "till", status=2))
        for command in ["", "'till", "  "]:
            self.assertIn("--command", self.scheme("install", "myshop", "--command", command, status=2))
        self.assertIn('has a "="', self.scheme("install", "myshop", "--command", "a=b", status=1))
        for wrong in ["\x01", "\x7f", b"\xff"]:
            self.assertIn("UTF-8", self.scheme("install", "myshop", "--command", "till", "--name", wrong, status=1))
            self.assertIn("UTF-8", self.scheme("install", "myshop", "--command", wrong, "--name", "T", status=1))
        self.scheme("install", "a" * 201, "--command", "till", status=1)
        self.assertIn("Nothing was installed", self.scheme("remove", "a" * 300, status=1))
        self.list.mkdir(parents=True)
        self.assertIn(str(self.list), self.scheme("install", "myshop", "--command", "till", status=1))
        self.assertFalse(self.entry.exists())


def decoded(exec_line):
    """The words of an Exec line, by the rules of the desktop entry: first the escapes of a value, then the quotes."""
    value = exec_line.encode().decode("unicode_escape").encode("latin-1").decode()
    words, word, quoted, i = [], None, False, 0
    while i < len(value):
        c = value[i]
        if quoted and c == "\\":
            i += 1
            word += value[i]
        elif c == '"':
            quoted, word = not quoted, word or ""
        elif c == " " and not quoted:
            words, word = words + [word], None
        elif c == "%" and quoted:
            i += 1
            word += value[i]
        else:
            word = (word or "") + c
        i += 1
    return words + [word]
