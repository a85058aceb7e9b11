"""The command line: help, man page, completions, and the exit status of wrong usage."""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from running import PROGRAM, run

APP = pathlib.Path(__file__).parents[2] / "apps/tilvanego"
COMPLETE = """source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
_tilvanego "$1" "${!#}" "${@: -2:1}"; printf '%s\\n' "${COMPREPLY[@]}\""""


def helps(*command):
    """Each command below this one, as words, with its help."""
    shown = run(*command, "--help").stdout.decode()
    listed = re.search(r"^Subcommands:\n(.*?)\n\n", shown, re.M | re.S | re.I)
    below = re.findall(r"^  (\w+) ", listed[1], re.M) if listed else []
    return {command: (shown, below)} | {words: entry for name in below for words, entry in helps(*command, name).items()}


def options(shown):
    """The options that a help shows, each with its choices."""
    return {name: choices.split(",") if choices else []
            for name, choices in re.findall(r"^ +(?:-h, *)?(--[a-z-]+)[^{\n]*(?:\{(.*)\})?", shown, re.M)}


def completed(*words):
    """What bash offers in place of the last word."""
    return subprocess.run(["bash", "-c", COMPLETE, APP / "completions.bash", PROGRAM, *words], check=True,
                          capture_output=True, encoding="utf-8", timeout=60).stdout.split()


class Usage(unittest.TestCase):
    def test_every_command_has_help(self):
        found = helps()
        self.assertGreaterEqual(len(found), 11)
        for command, (shown, _) in found.items():
            self.assertIn(" ".join(["Usage: tilvanego", *command]), shown)
            self.assertIn("--help", options(shown))
        self.assertIn(b".01 decline, .02 cancel, .03 fail, .04 silent, .05 wrong-id, .06 no-status, .07 unknown-status, "
                      b".08 tampered, .09 expired, any other approve", run("sandbox", "--help").stdout)

    def test_the_man_page_has_every_command_option_and_choice(self):
        page = (APP / "tilvanego.1").read_text(encoding="utf-8")
        sections = dict(re.findall(r"^\.Ss (.*)\n((?:(?!\.S[hs]).*\n)*)", page, re.M))
        found = helps()
        commands = [" ".join(command) for command, (_, below) in found.items() if not below]
        self.assertEqual(sorted(sections), sorted(commands))
        for name, section in sections.items():
            shown = options(found[tuple(name.split())][0])
            described = dict(re.findall(r"^\.It Fl -([a-z-]+)(.*\n(?:(?!\.It|\.El).*\n)*)", section, re.M))
            self.assertEqual(sorted([*described, "help"]), sorted(option[2:] for option in shown), name)
            for option, choices in shown.items():
                if option != "--word" and (name, option) != ("demo", "--outcome"):  # other places name their choices
                    words = re.findall(r"[\w-]+", described.get(option[2:], ""))
                    self.assertEqual([choice for choice in choices if choice not in words], [], (name, option))

    def test_completions_offer_every_command_option_and_choice(self):
        for command, (shown, below) in helps().items():
            self.assertEqual(completed(*command, "--"), list(options(shown)), command)
            if below:
                self.assertEqual(completed(*command, ""), below)
            for option, choices in options(shown).items():
                if choices:
                    self.assertEqual(completed(*command, option, ""), choices, (command, option))
        for words, offered in [(["s"], ["sandbox", "send", "scheme"]),
                               (["sandbox", "--outcome", "approve", "--an"], ["--answer"]),
                               (["sandbox", "--answer", "p"], ["pasteboard"]),
                               (["host", "--open", ""], []),
                               (["send", "--include", "GE"], ["GET"]),
                               (["send", "--as", "b"], ["bytes"]),
                               (["send", "POST", "--octet", __file__[:-3]], [__file__]),
                               (["callback", __file__[:-3]], [__file__]),
                               (["model", "describe", "EBT.Mo"], ["EBT.ModelType"]),
                               (["model", "check", "TransactionRes"], ["TransactionResponse"])]:
            self.assertEqual(completed(*words), offered, words)

    def test_wrong_usage_says_what_is_wrong_on_standard_error(self):
        for arguments, named in [
            ([], b"subcommand"),
            (["pay"], b"subcommand"),
            (["host", "--replay"], b"--replay"),
            (["host", "--pasteboard", "none"], b"--pasteboard"),
            (["host", "--open", ""], b"--open"),
            (["host", "--state", ""], b"--state"),
            (["host", "--open", "echo 'half"], b"--open"),
            (["demo", "--transport", "pigeon"], b"--transport"),
            (["demo", "--outcome", "luck"], b"--outcome"),
            (["demo", "--amount", "12,5"], b"--amount"),
            (["sandbox"], b"LINK"),
            (["sandbox", "--outcome", "perhaps", "a:b"], b"--outcome"),
            (["sandbox", "--answer", "fax", "a:b"], b"--answer"),
            (["sandbox", "--fault", "fax", "a:b"], b"--fault"),
            (["sandbox", "--word", "fax", "a:b"], b"--word"),
            (["sandbox", "--keys", "fifth", "a:b"], b"--keys"),
            (["sandbox", "--pasteboard", "fax", "a:b"], b"--pasteboard"),
            (["sandbox", "--open", "'", "a:b"], b"--open"),
            (["callback"], b"SOCKET"),
            (["model"], b"subcommand"),
            (["model", "describe", "amounts"], b"amounts"),
            (["model", "decode"], b"NAME"),
            (["model", "decode", "Status"], b"Status"),
            (["model", "check", "EBT.ModelType"], b"EBT.ModelType"),
            (["callback", "socket"], b"URL"),
            (["callback", "socket", "a:b", "c:d"], b"c:d"),
        ]:
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertIn(named, done.stderr)

    def test_the_users_pasteboard_is_read_and_left_to_others_to_write(self):
        with tempfile.TemporaryDirectory() as directory:
            done = run("host", "--pasteboard", "store", given=b'{"setPasteboard":[]}\n{"getPasteboard":true}\n',
                       env=os.environ | {"XDG_RUNTIME_DIR": directory})
            refused, empty = map(json.loads, done.stdout.splitlines())
            self.assertIn("--pasteboard memory", refused["error"])
            self.assertEqual(empty, {"pasteboard": [], "localOnly": False, "expirationDate": None})
            self.assertEqual(os.listdir(directory), [])
