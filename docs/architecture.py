"""Draws docs/architecture.svg: the rooms with their arrows, the threads, and the way of one payment.

  architecture.py [--check]   writes the picture, or fails if the one that is there differs

Rooms and arrows come from CONTRIBUTING's table, the libraries from tilvanego/CMakeLists.txt, the rest from the texts below.
"""

import itertools
import pathlib
import re
import sys
from xml.sax.saxutils import escape

TREE = pathlib.Path(__file__).parents[1]
PICTURE = TREE / "docs/architecture.svg"
WIDTH = 960
# Fill and line of each library's boxes. The picture has a ground of its own, so it reads on light and dark pages.
COLOURS = {"SDK": ("#dbeafe", "#1d4ed8"), "HTTPClient": ("#fde7d3", "#b45309"), "Models": ("#dcf5e3", "#15803d"),
           "Sandbox": ("#f3e3fb", "#7e22ce"), "Qt": ("#fef3c7", "#a16207")}
INK, GREY, GROUND = "#1f2937", "#6b7280", "#ffffff"

THREADS = [
    ("the main thread", "SDK", ["every operation of TilvaneGo, every completion, the logger and the ports;",
                                "blocks of the MainQueue, which are all that reaches it from other threads"]),
    ("one for each opened link", "SDK", ["SpawnedOpener waits for its program, then posts \"opened\" or \"not opened\"",
                                         "to the main queue; an Application of the host's needs no thread"]),
    ("one for each URL session", "HTTPClient", ["libcurl, redirects, challenges, progress; completions of the HTTP client",
                                                "that succeed run here, those that fail on apiResponseQueue"]),
]

ACTORS = ["host", "TilvaneGo", "system (ports)", "payment application"]
# From, to, what: an arrow; the same actor twice: work of its own.
PAYMENT = [
    (0, 1, "startPayment(request, completion)"),
    (1, 1, "check the request, fill the slot, build the link"),
    (1, 2, "Pasteboard: envelope, if sealed"),
    (1, 2, "Application: openURL(link)"),
    (2, 3, "the link is opened"),
    (2, 1, "MainQueue, later: opened"),
    (3, 3, "card, amount, decision"),
    (3, 2, "opens the callback URL"),
    (2, 0, "the system brings the callback URL to the host"),
    (0, 1, "handleCallback(url)"),
    (1, 1, "read the response, compare the request id, empty the slot"),
    (1, 0, "completion(result), once"),
]


def rooms():
    """Each room with those that it includes, from the table, without those that others of them include already."""
    page = (TREE / "CONTRIBUTING.md").read_text(encoding="utf-8")
    lines = (line.split() for line in re.search(r"^```rooms\n(.*?)^```$", page, re.M | re.S)[1].splitlines())
    table = {room: [name for name in names if name != "-"] for room, *names in lines}

    def reaches(start, goal):
        return goal in table[start] or any(reaches(name, goal) for name in table[start])

    return {room: [one for one in names if not any(reaches(other, one) for other in names)]
            for room, names in table.items()}


def libraries():
    """The library of each room, from the build."""
    build = (TREE / "tilvanego/CMakeLists.txt").read_text(encoding="utf-8")
    found = re.findall(r"tilvanego_library\(tilvanego_\w+ (\w+) UMBRELLA \S+(?: EXPORT \S+)? ROOMS ([^)]*)\)", build)
    return {room: library for library, names in found for room in names.split()}


def layers(arrows):
    """The floors of the house from the ground up, and pieces of arrows from each floor to the one below.

    An arrow over several floors gets a joint, a tuple, on each floor between."""
    height = {}
    for room in arrows:  # a room stands below its includers in the table
        height[room] = 1 + max((height[name] for name in arrows[room]), default=-1)
    floors = [[room for room in arrows if height[room] == level] for level in range(max(height.values()) + 1)]
    pieces = []
    for room in arrows:
        for name in arrows[room]:
            above = room
            for level in range(height[room] - 1, height[name], -1):
                floors[level].append((room, name, level))
                pieces.append((above, floors[level][-1]))
                above = floors[level][-1]
            pieces.append((above, name))
    return floors, pieces


def places(floor, y):
    """Where the middle of each box and joint of a floor lies."""
    widths = [60 if isinstance(node, tuple) else 150 for node in floor]
    gap = (WIDTH - 60 - sum(widths)) / len(floor)
    x, found = 30 + gap / 2, {}
    for node, width in zip(floor, widths):
        found[node] = (x + width / 2, y)
        x += width + gap
    return found


def arranged(floors, pieces):
    """The order on each floor in which the fewest arrows cross and they are shortest."""
    floors = [list(floor) for floor in floors]

    def cost(level):
        x = {node: place[0] for floor in floors for node, place in places(floor, 0).items()}
        near = [(x[a], x[b]) for a, b in pieces if a in floors[level] or b in floors[level]]
        below = [(x[a], x[b]) for a, b in pieces if a in floors[level]]
        above = [(x[a], x[b]) for a, b in pieces if b in floors[level]]
        crossings = sum((p[0] - q[0]) * (p[1] - q[1]) < 0 for side in (below, above)
                        for p, q in itertools.combinations(side, 2))
        return crossings, sum(abs(a - b) for a, b in near)

    for _ in range(4):
        for level in [*range(len(floors)), *range(len(floors) - 1, -1, -1)]:
            best = None
            for order in itertools.permutations(sorted(floors[level], key=str)):
                floors[level] = list(order)
                if best is None or cost(level) < best[0]:
                    best = cost(level), list(order)
            floors[level] = best[1]
    return floors


class Drawing:
    def __init__(self):
        self.parts = []

    def text(self, x, y, words, size=15, anchor="middle", colour=INK, weight="normal", halo=False):
        around = f' stroke="{GROUND}" stroke-width="5" paint-order="stroke"' if halo else ""
        self.parts.append(f'<text x="{x:.0f}" y="{y:.0f}" font-size="{size}" text-anchor="{anchor}" fill="{colour}" '
                          f'font-weight="{weight}"{around}>{escape(words)}</text>')

    def box(self, x, y, width, height, words, library):
        fill, line = COLOURS[library]
        self.parts.append(f'<rect x="{x - width / 2:.0f}" y="{y - height / 2:.0f}" width="{width}" height="{height}" '
                          f'rx="7" fill="{fill}" stroke="{line}" stroke-width="1.5"/>')
        self.text(x, y + 5, words, weight="bold")

    def path(self, way, arrow=True, dashed=False, colour=GREY):
        end = ' marker-end="url(#arrow)"' if arrow else ""
        dash = ' stroke-dasharray="4 4"' if dashed else ""
        self.parts.append(f'<path d="{way}" fill="none" stroke="{colour}" stroke-width="1.5"{dash}{end}/>')

    def heading(self, y, words):
        self.text(30, y, words, size=19, anchor="start", weight="bold")


def draw_rooms(drawing, top):
    arrows, library = rooms(), libraries()
    drawing.heading(top, "Rooms: an arrow leads to what a room includes")
    x = 30
    for name, colours in COLOURS.items():
        drawing.parts.append(f'<rect x="{x}" y="{top + 16}" width="16" height="16" rx="3" fill="{colours[0]}" '
                             f'stroke="{colours[1]}" stroke-width="1.5"/>')
        drawing.text(x + 24, top + 29, f"TilvaneGo::{name}", size=14, anchor="start")
        x += 44 + 8 * len(f"TilvaneGo::{name}")
    floors, pieces = layers(arrows)
    floors = arranged(floors, pieces)
    step, place = 86, {}
    for level, floor in enumerate(floors):
        place |= places(floor, top + 75 + step * (len(floors) - 1 - level))

    follower = dict(piece for piece in pieces if isinstance(piece[0], tuple))
    for room, nodes in ((room, [b for a, b in pieces if a == room]) for room in arrows):
        for node in nodes:
            x, y = place[room][0], place[room][1] + 17
            way = f"M{x:.0f} {y:.0f}"
            while True:
                joint = isinstance(node, tuple)
                to_x, to_y = place[node][0], place[node][1] - (0 if joint else 24)
                way += f" C{x:.0f} {y + 32:.0f} {to_x:.0f} {to_y - 32:.0f} {to_x:.0f} {to_y:.0f}"
                if not joint:
                    break
                x, y, node = to_x, to_y, follower[node]
            drawing.path(way)
    for room in arrows:
        drawing.box(*place[room], 150, 34, room, library[room])
    return top + 75 + step * (len(floors) - 1) + 30


def draw_threads(drawing, top):
    drawing.heading(top, "Threads: the core starts none and holds no lock")
    for number, (name, library, lines) in enumerate(THREADS):
        y = top + 50 + 66 * number
        drawing.box(150, y, 240, 46, name, library)
        for line, words in enumerate(lines):
            drawing.text(290, y - 4 + 20 * line, words, anchor="start")
    return top + 50 + 66 * (len(THREADS) - 1) + 30


def draw_payment(drawing, top):
    drawing.heading(top, "The way of one payment")
    x = [100, 390, 640, 850]
    end = top + 95 + 38 * len(PAYMENT)
    for place, actor in zip(x, ACTORS):
        drawing.path(f"M{place} {top + 60} V{end - 30}", arrow=False, dashed=True)
    for place, actor in zip(x, ACTORS):
        drawing.box(place, top + 42, 190 if place == x[-1] else 140, 34, actor, "Sandbox" if place == x[-1] else "SDK")
    for number, (start, goal, words) in enumerate(PAYMENT):
        y = top + 95 + 38 * number
        if start == goal:
            drawing.parts.append(f'<circle cx="{x[start]}" cy="{y}" r="4.5" fill="{INK}"/>')
            anchor, shift = ("end", -12) if start == len(x) - 1 else ("start", 12)
            drawing.text(x[start] + shift, y + 5, words, size=14, anchor=anchor, halo=True)
            continue
        side = 1 if goal > start else -1
        drawing.path(f"M{x[start]} {y + 4} H{x[goal] - 9 * side}", colour=INK)
        drawing.text((x[start] + x[goal]) / 2, y - 3, words, size=14)
    return end - 10


def picture():
    drawing = Drawing()
    bottom = draw_rooms(drawing, 42)
    bottom = draw_threads(drawing, bottom + 45)
    height = draw_payment(drawing, bottom + 45)
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height:.0f}" '
        'font-family="Helvetica, Arial, \'DejaVu Sans\', sans-serif">',
        "<title>Rooms, threads, and the way of one payment</title>",
        '<defs><marker id="arrow" viewBox="0 0 10 10" refX="2" refY="5" markerWidth="7" markerHeight="7" orient="auto">'
        f'<path d="M0 0 L10 5 L0 10 z" fill="{INK}"/></marker></defs>',
        f'<rect width="{WIDTH}" height="{height:.0f}" rx="10" fill="{GROUND}" stroke="{GREY}"/>',
        *drawing.parts, "</svg>", ""])


def main():
    drawn = picture()
    if sys.argv[1:] == ["--check"]:
        there = PICTURE.read_text(encoding="utf-8") if PICTURE.exists() else ""
        sys.exit(None if there == drawn else f"{PICTURE.relative_to(TREE)} isn't what is drawn now: run scripts/draw")
    PICTURE.write_text(drawn, encoding="utf-8")


main()
