"""The commands, paths and names of tests that CONTRIBUTING.md and the other pages show.

What builds or installs isn't run: its script says by DRY_RUN which commands it would run, and of these each preset,
target, test and filter must be there in TILVANEGO_BUILD, a build tree of the preset dev or of one like it.
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

TREE = pathlib.Path(__file__).parents[2]
BUILD = pathlib.Path(os.environ["TILVANEGO_BUILD"])
PRESETS = json.loads((TREE / "CMakePresets.json").read_text(encoding="utf-8"))
SHOWN = re.compile(r"^```sh\n(.*?)^```$|`([^`\n]+)`", re.MULTILINE | re.DOTALL)
COMMAND = re.compile(r"scripts/\w|bash |ctest |cmake .*--preset|build/\w+/.* --gtest")
PATH = re.compile(r"(?:tilvanego|apps|tests|fuzz|bench|docs|cmake|scripts|\.ci)/\S*")
TEST = re.compile(r"TEST\((\w+), (\w+)\)")


def presets(kind):
    return [preset["name"] for preset in PRESETS[kind] if not preset.get("hidden")]


def output(*command, **environment):
    done = subprocess.run(command, cwd=TREE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8",
                          stdin=subprocess.DEVNULL, env=os.environ | environment)
    if done.returncode != 0:
        raise AssertionError(f"{shlex.join(command)} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def plan(*script):
    """The commands that a script would run."""
    lines = output(*script, DRY_RUN="1").splitlines()
    return [line for line in lines if re.match(r"cmake |ctest ", line)]


def try_tests(*selection):
    found = output("ctest", "--test-dir", str(BUILD), "-N", *selection)
    assert int(re.search(r"^Total Tests: (\d+)", found, re.MULTILINE)[1]) > 0, f"no test is chosen by {selection}"


def try_command(command):
    """Fails unless a shell line, or each of those that it joins by &&, could be run."""
    for line in re.split(r" && ", command):
        words = shlex.split(line, comments=True)
        preset = words[words.index("--preset") + 1] if "--preset" in words else None
        if words[0] == "bash" or words[0].startswith("scripts/"):
            for planned in plan(*words):
                try_command(planned)
        elif words[:2] == ["cmake", "--build"]:
            assert preset in presets("buildPresets"), f"no preset to build: {preset}"
            if preset == "dev" and "--target" in words:
                output("ninja", "-C", str(BUILD), "-t", "query", words[words.index("--target") + 1])
        elif words[0] == "cmake":
            assert preset in presets("configurePresets"), f"no preset: {preset}"
        elif words[0] == "ctest":
            assert preset in presets("testPresets"), f"no preset to test: {preset}"
            if "-R" in words:
                try_tests("-R", words[words.index("-R") + 1])
        else:
            passed = output(str(BUILD / words[0].removeprefix("build/dev/")), *words[1:])
            assert re.search(r"\[  PASSED  \] [1-9]", passed), f"no test is chosen by {words[1:]}"


def shown():
    """The lines and words that the pages set as code."""
    for page in [TREE / "README.md", TREE / "CONTRIBUTING.md", *sorted(TREE.glob("docs/*.md"))]:
        for block, word in SHOWN.findall(page.read_text(encoding="utf-8")):
            yield from [(page.name, word)] if word else [(page.name, line) for line in block.splitlines()]


class Commands(unittest.TestCase):
    def try_each(self, pattern, attempt, fewest):
        found = [(page, code) for page, code in shown() if pattern.match(code)]
        self.assertGreaterEqual(len(found), fewest)
        for page, code in found:
            with self.subTest(page=page, code=code):
                attempt(code)

    def test_those_that_the_pages_show_can_be_run(self):
        self.try_each(COMMAND, try_command, 12)

    def test_paths_that_the_pages_show_lead_somewhere(self):
        def exists(path):
            assert any(TREE.glob(re.sub(r"NAME|…", "*", path.split()[0]))), f"no such path: {path}"
        self.try_each(PATH, exists, 20)

    def test_tests_that_the_pages_name_exist(self):
        self.try_each(TEST, lambda code: try_tests("-R", r"\.{}\.{}$".format(*TEST.match(code).groups())), 1)

    def test_what_is_not_there_is_refused(self):
        for command in ["scripts/fuzz 600 url", "scripts/fuzz soon", "scripts/bench url", "scripts/format --chek",
                        "scripts/tidy url", "scripts/setup url", "scripts/test URL", "scripts/test -R NoSuchRule",
                        "scripts/package a b", "bash .ci/run fast", "cmake --preset debug", "cmake --build --preset base",
                        "cmake --build --preset dev --target url_test", "ctest --preset demo",
                        "build/dev/tests/values/values_test --gtest_filter='NoSuchRule.*'"]:
            with self.subTest(command=command), self.assertRaises(AssertionError):
                try_command(command)


class Threats(unittest.TestCase):
    page = (TREE / "docs/threats.md").read_text(encoding="utf-8")

    def test_each_fuzzer_guards_an_input_that_is_listed(self):
        fuzzers = re.findall(r"^\|(?:[^|]*\|){3}([^|]*)\|$", self.page, re.M)
        listed = [name for names in fuzzers for name in re.findall(r"`(\w+)`", names)]
        self.assertEqual(sorted(set(listed)), sorted(path.stem for path in TREE.glob("fuzz/*.cpp")))

    def test_each_limit_is_named_as_in_the_code(self):
        code = "".join(path.read_text(encoding="utf-8") for folder in ("tilvanego", "apps")
                       for path in TREE.glob(f"{folder}/**/*.[hc]*") if path.suffix in (".h", ".cpp"))
        names = [name for limit in re.findall(r"\(`([\w:, `]+)`\)", self.page) for name in re.findall(r"\w+", limit)]
        self.assertGreaterEqual(len(names), 20)
        for name in names:
            with self.subTest(name=name):
                assert re.search(rf"\b{name}\b", code), f"docs/threats.md names a limit that isn't in the code: {name}"


class Presets(unittest.TestCase):
    def test_ci_builds_each_and_runs_the_tests_of_each_that_has_some(self):
        planned = plan("bash", ".ci/run")
        for name in presets("configurePresets"):
            self.assertTrue(any(line.startswith(f"cmake --build --preset {name} ") for line in planned), name)
        for name in presets("testPresets"):
            self.assertTrue(any(line.startswith(f"ctest --preset {name} ") for line in planned), name)

    def test_each_is_described(self):
        rows = re.search(r"^\| Preset .*?\n\n", (TREE / "CONTRIBUTING.md").read_text(encoding="utf-8"), re.M | re.S)[0]
        described = [name for row in rows.split("\n")[2:-2] for name in re.findall(r"`(\w+)`", row.split("|")[1])]
        self.assertEqual(sorted(described), sorted(presets("configurePresets")))

    def test_demo_makes_warnings_errors_on_ci_alone(self):
        for ci, value in [("", ""), ("true", "true")]:
            self.assertIn(f'TILVANEGO_WARNINGS_AS_ERRORS="{value}"', output("cmake", "--preset", "demo", "-N", CI=ci))

    def test_a_folder_of_tests_that_is_unknown_cannot_be_excluded(self):
        with tempfile.TemporaryDirectory() as build, self.assertRaisesRegex(AssertionError, "no folder.*: snipets"):
            output("cmake", "-G", "Ninja", "-B", build, "-DTILVANEGO_TEST_FOLDERS_EXCLUDED=package;snipets",
                   "-DCMAKE_CXX_COMPILER=" + os.environ["CXX"])
