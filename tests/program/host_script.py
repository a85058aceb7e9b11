"""Runs a script through `tilvanego host` and compares what it writes, line by line.

  host_script.py PROGRAM SCRIPT

In a script a line "> INPUT" is given to the host, and "< OUTPUT" is what it must write for it, "<3 OUTPUT" three times, for
the three inputs above; in an output "…" stands for any text. "without NAME..." leaves events of these names out of the
comparison, "options OPTION..." is given to the host. The lines from "steps NAME" to "end" are played where
"do NAME TEXT | TEXT..." stands, with its texts in the places of "$1", "$2" and so on. Other lines are comments.
"""

import json
import pathlib
import re
import subprocess
import sys


def pattern(expected):
    return ".*".join(re.escape(part) for part in expected.split("…"))


class Script:
    def __init__(self, path):
        self.options, self.without, self.input, self.expected = [], set(), [], []
        self.steps, taken = {}, None
        for line in path.read_text(encoding="utf-8").splitlines():
            if line.startswith("steps "):
                taken = self.steps[line[6:]] = []
            elif line == "end":
                taken = None
            elif taken is not None:
                taken.append(line)
            else:
                self.play(line)

    def play(self, line):
        word, _, rest = line.partition(" ")
        if word == ">":
            self.input.append(rest)
        elif re.fullmatch(r"<\d*", word):
            self.expected += [rest] * int(word[1:] or 1)
        elif word == "without":
            self.without = set(rest.split())
        elif word == "options":
            self.options = rest.split()
        elif word == "do":
            name, _, texts = rest.partition(" ")
            for step in self.steps[name]:
                for number, text in enumerate(texts.split(" | "), 1):
                    step = step.replace(f"${number}", text)
                self.play(step)

    def compared(self, line):
        return next(iter(json.loads(line))) not in self.without


def main(program, path):
    script = Script(pathlib.Path(path))
    if not script.input or not script.expected:
        sys.exit(f"{path}: nothing to compare")
    done = subprocess.run([program, "host", *script.options], input="\n".join(script.input) + "\n", encoding="utf-8",
                          stdout=subprocess.PIPE, timeout=60, check=True)
    written = [line for line in done.stdout.splitlines() if script.compared(line)]
    faults = [f"expected {want}\nwritten  {got}" for want, got in zip(script.expected, written)
              if not re.fullmatch(pattern(want), got)]
    if len(script.expected) != len(written):
        faults.append(f"expected {len(script.expected)} lines, written {len(written)}:\n" + "\n".join(written))
    if faults:
        sys.exit(f"{path}:\n" + "\n".join(faults[:3]))


if __name__ == "__main__":
    main(*sys.argv[1:])
