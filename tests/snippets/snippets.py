"""Turns the code blocks of Markdown pages, and of the comments in headers, into tests.

  snippets.py extract OUT PAGE...   writes each block as OUT/NAME.cpp or OUT/NAME.sh, the output that the page shows for
                                    it as OUT/NAME.expected, and prints "NAME RUN" lines, RUN being run or compile
  snippets.py links PAGE...         fails if a relative link leads nowhere
  snippets.py run EXPECTED COMMAND... runs the command; it must exit with 0 and, if EXPECTED is there, print just that

What is a test and what isn't stands in CONTRIBUTING.md, "Code in documentation".
"""

import os
import pathlib
import re
import subprocess
import sys

from shop import Shop

TREE = pathlib.Path(__file__).parents[2]
CODE = re.compile(r"^```.*?^```$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\((?![a-z]+:|#)([^)#]+)")
FENCE = re.compile(r"^```(\S*)\s*$")
MARK = re.compile(r"^<!-- snippet: (compile|continues) -->\s*$")
HEADING = re.compile(r"^\s*(#include|using namespace)\b")
COMMENT = re.compile(r"^\s*/// ?(.*)$")
# What can't stand in a function: a type, a specialization, a function that has a body.
DECLARATION = re.compile(r"(template|struct|class|enum)\b|[\w:<>]+ \w+\(.*\) \{$")
STANDARD = ["map", "memory", "optional", "string", "vector"]


def lines_of(page):
    """The lines of a page, numbered from 1. Those of a header are the texts of its `///` comments; others are None."""
    lines = page.read_text(encoding="utf-8").splitlines()
    if page.suffix == ".h":
        lines = [found and found[1] for found in map(COMMENT.match, lines)]
    return enumerate(lines, 1)


def blocks(page):
    """Yields (language, mark before it, number of its first line, lines) of each fenced block."""
    fence = mark = None
    for number, line in lines_of(page):
        found = FENCE.match(line or "")
        if line is None:
            if fence is not None:
                break
        elif fence is not None:
            if found and not found[1]:
                yield fence, mark, start, lines
                fence = mark = None
            else:
                lines.append(line)
        elif found:
            fence, start, lines = found[1], number + 1, []
        elif MARK.match(line):
            mark = MARK.match(line)[1]
        elif page.suffix == ".h" and line.startswith("   "):
            sys.exit(f"{page}:{number}: an example stands between ```cpp and ```, a drawing between ```text and ```")
        elif line.strip():
            mark = None
    if fence is not None:
        sys.exit(f"{page}: the block at line {start} has no end")


def is_declaration(block):
    return any(DECLARATION.match(line) for _, line in block if not HEADING.match(line))


def translation_unit(page, heading, body):
    """Numbered lines as a program, so that the compiler's messages point into the page."""
    def placed(numbered):
        # Only where the numbers jump: a block's text of several lines may stand between quotes.
        text = []
        for (before, _), (number, line) in zip([(None, "")] + numbered, numbered):
            text += [line] if before == number - 1 else [f'#line {number} "{page}"', line]
        return text

    if any(re.match(r"\s*int main\(", line) for _, line in body):
        return placed(body)
    used = {number for number, _ in heading}
    inner = [(number, line) for number, line in body if number not in used]
    if page.suffix == ".h":
        heading = [(1, f"#include <{name}>") for name in [*STANDARD, page.relative_to(TREE)]] + heading
        heading.append((1, "using namespace tilvanego;"))
        if is_declaration(body):
            return placed(heading) + placed(inner) + ["int main() {}"]
    return placed(heading) + ["int main() {"] + placed(inner) + ["}"]


class Page:
    """What a page's blocks become: {file name: text}, and the tests in their order."""

    def __init__(self, path):
        self.path, self.files, self.tests = path, {}, []
        heading, story, last = [], [], None
        is_header = path.suffix == ".h"
        title = ".".join(path.relative_to(TREE).with_suffix("").parts[1:]) if is_header else path.stem
        for language, mark, start, lines in blocks(path):
            name = f"{title}.{len(self.tests) + 1}"
            numbered = list(enumerate(lines, start))
            if language == "cpp":
                heading += [item for item in numbered if HEADING.match(item[1])]
                story = story + numbered if mark == "continues" else numbered
                run = mark != "compile" and not (is_header and is_declaration(story))
                self.add(name + ".cpp", translation_unit(path, heading, story), run)
                last = name
            elif language == "sh" and lines and lines[0].startswith("tilvanego"):
                self.add(name + ".sh", ["set -e"] + lines, True)
                last = name
            elif language == "text" and last:
                self.files[last + ".expected"] = "\n".join(lines) + "\n"
                last = None
            else:
                last = None

    def add(self, file, lines, run):
        self.files[file] = "\n".join(lines) + "\n"
        self.tests.append(f"{file} {'run' if run else 'compile'}")


def extract(out, pages):
    out.mkdir(parents=True, exist_ok=True)
    files = {}
    for page in map(Page, pages):
        if files.keys() & page.files.keys():
            sys.exit(f"{page.path}: another page with code has this name")
        files |= page.files
        print("\n".join(page.tests))
    for old in out.iterdir():
        if old.name not in files and old.is_file():
            old.unlink()
    for name, text in files.items():
        target = out / name
        if not target.exists() or target.read_text(encoding="utf-8") != text:
            target.write_text(text, encoding="utf-8")


def pattern(expected):
    """The shown output as a pattern: "…" stands for any text in a line, a line of "…" alone for any lines."""
    lines = expected.splitlines(keepends=True)
    return "".join(r"(?:.*\n)*?" if line.strip() == "…" else re.escape(line).replace("…", ".*") for line in lines)


def finished(command):
    """The ended command, with its output. A shell script that asks for $SHOP gets it."""
    def run_in(environment):
        return subprocess.run(command, stdout=subprocess.PIPE, encoding="utf-8", stdin=subprocess.DEVNULL,
                              env=environment)

    script = pathlib.Path(command[-1])
    if script.suffix != ".sh" or "$SHOP" not in script.read_text(encoding="utf-8"):
        return run_in(None)
    with Shop() as url:
        return run_in(os.environ | {"SHOP": url, "no_proxy": "127.0.0.1"})


def run(expected, command):
    done = finished(command)
    if done.returncode != 0:
        sys.exit(f"{done.stdout}exit status {done.returncode}")
    if expected.exists():
        shown = expected.read_text(encoding="utf-8")
        if not re.fullmatch(pattern(shown), done.stdout):
            sys.exit(f"--- shown in the page:\n{shown}--- printed:\n{done.stdout}")


def check_links(pages):
    dead = [f"{page}: {link}" for page in pages
            for link in LINK.findall(CODE.sub("", page.read_text(encoding="utf-8")))
            if not (page.parent / link).exists()]
    if dead:
        sys.exit("\n".join(["dead links:"] + dead))


if __name__ == "__main__":
    if sys.argv[1] == "extract":
        extract(pathlib.Path(sys.argv[2]), [pathlib.Path(page) for page in sys.argv[3:]])
    elif sys.argv[1] == "links":
        check_links([pathlib.Path(page) for page in sys.argv[2:]])
    else:
        run(pathlib.Path(sys.argv[2]), sys.argv[3:])
