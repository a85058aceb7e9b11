"""Reads every include of the library and holds it to the rules of CONTRIBUTING's section "Where things live"."""

import collections
import pathlib
import posixpath
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
FACADE = "tilvanego/facade/TilvaneGoSDK.h"
# Public without an umbrella: a subsystem's chief header that serves this project's programs, what one source of a host's own
# records includes, what most hosts need not compile (<chrono>), and what exists on another system.
ALONE = {
    "tilvanego/transports/PaymentPasteboardHandoff.h",
    "tilvanego/json/DescribedRecord.h",
    "tilvanego/values/ChronoDate.h",
    "tilvanego/platform/apple/ApplePlatform.h",
}
# Made from cmake/*.h.in.
MADE = {"tilvanego/Version.h", "tilvanego/Features.h"}

# What POSIX has beyond the C library.
POSIX = re.compile(
    r"(arpa|net|netinet|sys)/.*|c?signal(\.h)?|(aio|dirent|dlfcn|fcntl|fnmatch|ftw|glob|grp|iconv|ifaddrs|langinfo|libgen|mqueue|"
    r"netdb|poll|pthread|pwd|regex|sched|semaphore|spawn|strings|syslog|termios|time|ucontext|unistd|utime|wordexp)\.h"
)
# Outside platform/ these alone need a system that has it.
SYSTEM = {
    "tilvanego/http_client/FileDownload.cpp": "opens directories one in another, so that no symbolic link leads elsewhere",
    "tilvanego/http_client/FileSink.cpp": "locks, cuts and syncs the part of a file",
    "tilvanego/http_client/FileSource.cpp": "reads the file that it has open",
    "tilvanego/http_client/encodings/FileReading.cpp": "asks for size and kind of the file that it has open",
    "tilvanego/network/curl/ExitGate.cpp": "is told of a fork",
    "tilvanego/network/curl/BrokenPipe.h": "keeps a signal off the threads that send",
    "tilvanego/network/curl/Sockets.cpp": "asks a connection's sockets for their ports",
}


def arrows():
    """Each room with the rooms that it may include, from CONTRIBUTING."""
    page = (ROOT / "CONTRIBUTING.md").read_text()
    block = re.search(r"^```rooms\n(.*?)^```$", page, re.M | re.S)[1]
    lines = (line.split() for line in block.splitlines())
    return {room: {name for name in rooms if name != "-"} for room, *rooms in lines}


# The rooms that lie in another one: libraries of their own.
INNER = [name for name in arrows() if "/" in name]


def tree():
    """The library's files by their paths, and its private headers by what the rooms' CMakeLists.txt say."""
    files, private = {}, set()
    for path in sorted((ROOT / "tilvanego").rglob("*")):
        name = path.relative_to(ROOT).as_posix()
        if path.suffix in (".h", ".cpp", ".mm"):
            files[name] = path.read_text()
        elif path.name == "CMakeLists.txt":
            for names in re.findall(r"FILE_SET private_headers.*?FILES\s+([^)]*)\)", path.read_text(), re.S):
                private |= {posixpath.join(posixpath.dirname(name), header) for header in names.split()}
    return files, private


def room(name):
    """The room of a file; an umbrella header stands above them all."""
    if inner := next((inner for inner in INNER if name.startswith(f"tilvanego/{inner}/")), None):
        return inner
    return name.split("/")[1] if name.count("/") > 1 else None


def circle(edges):
    """A circle in a graph, as the list of its nodes, or nothing."""
    done = set()

    def visit(node, way):
        if node in way:
            return way[way.index(node) :] + [node]
        if node in done:
            return None
        done.add(node)
        return next(filter(None, (visit(after, way + [node]) for after in sorted(edges[node]))), None)

    return next(filter(None, (visit(node, []) for node in sorted(edges))), None)


def faults(files, private, allowed, test_folders):
    """What breaks a rule, a sentence each."""
    includes = {name: re.findall(r'^#include ["<]([^">]+)[">]', text, re.M) for name, text in files.items()}
    folders = collections.defaultdict(set)
    for name, included in includes.items():
        for header in included:
            if header.startswith("tilvanego/") and header not in files and header not in MADE:
                yield f"{name} includes {header}, which isn't there"
            elif header in files:
                here, there = room(name), room(header)
                if here and there != here and there not in allowed.get(here, ()):
                    yield f"{name} includes {header}: no arrow leads from {here} to {there}"
                if posixpath.dirname(header) != posixpath.dirname(name):
                    folders[posixpath.dirname(name)].add(posixpath.dirname(header))
                if header == FACADE and here and room(name) != "facade":
                    yield f"{name} includes {FACADE}, which is for hosts"
    if found := circle(folders):
        yield "folders include in a circle: " + " -> ".join(found)

    asking = {name: header for name, headers in includes.items() for header in headers if POSIX.fullmatch(header)}
    for name in sorted(name for name in asking.keys() - SYSTEM if room(name) != "platform"):
        yield f"{name} includes {asking[name]}: what only POSIX has belongs in platform/"
    for name in sorted(SYSTEM.keys() - asking):
        yield f"{name} needs nothing of POSIX any more: strike it off the list"

    for name, headers in sorted(includes.items()):
        # Its headers include none either: a host on Qt needs just its own.
        for header in headers if room(name) != "platform/qt" or name.endswith(".h") else []:
            if re.fullmatch(r"Q[A-Z]\w*", header):
                yield f"{name} includes {header}: what is Qt's belongs in the sources of platform/qt"

    for name, headers in sorted(includes.items()):
        own = re.sub(r"cpp$", "h", name)
        if own in files and own != name and headers[:1] != [own]:
            yield f"{name} doesn't include {own} first: nothing else compiles this header alone"

    for name in sorted(name for name in files if name.endswith(".h")):
        # Words that Qt makes macros of: a host includes its headers before ours.
        code = re.sub(r"//.*|\"[^\"\n]*\"", "", files[name])
        if word := re.search(r"\b(slots|signals|emit|foreach|forever)\b", code):
            yield f"{name} has {word[0]}, which is a macro of Qt's"

    for here in sorted({room(name) for name in files} - {None} - set(allowed)):
        yield f"no line of the table is for {here}"
    for folder in sorted({posixpath.dirname(name) for name in files if room(name)}):
        if folder.removeprefix("tilvanego/") not in test_folders:
            yield f"no folder of tests mirrors {folder}"

    public, waiting = set(), [name for name in files if room(name) is None] + sorted(ALONE)
    while waiting:
        if (name := waiting.pop()) not in public:
            public.add(name)
            waiting += [header for header in includes.get(name, ()) if header in files]
    for name in sorted(private & public):
        yield f"{name} is private, and an umbrella reaches it"
    for name in sorted({name for name in files if name.endswith(".h")} - private - public):
        yield f"no umbrella reaches {name}: include it there, or list it in the file set private_headers"


def mutations(files):
    """Trees with one fault each, and a word of the sentence that must name it: a check that can't fail is none."""

    def with_include(name, header):
        return {**files, name: f"#include <{header}>\n" + files[name]}

    yield with_include("tilvanego/values/URL.h", "tilvanego/json/JSON.h"), "no arrow leads from values to json"
    yield with_include("tilvanego/payment/PaymentRequest.h", "tilvanego/transports/PaymentTransports.h"), "no arrow"
    yield with_include("tilvanego/network/URLSession.h", "tilvanego/network/curl/Transfer.h"), "is private, and an umbrella reaches it"
    yield with_include("tilvanego/http_client/encodings/AnyValue.h", "tilvanego/http_client/Response.h"), "in a circle"
    yield with_include("tilvanego/facade/Facade.cpp", "tilvanego/facade/Gone.h"), "which isn't there"
    yield with_include("tilvanego/values/Date.h", "sys/time.h"), "Date.h includes sys/time.h: what only POSIX"
    yield with_include("tilvanego/platform/Clock.h", "tilvanego/platform/qt/QtTimer.h"), "no arrow leads from platform to platform/qt"
    yield with_include("tilvanego/platform/RunLoop.cpp", "QObject"), "RunLoop.cpp includes QObject: what is Qt's"
    yield with_include("tilvanego/platform/qt/QtTimer.h", "QTimer"), "QtTimer.h includes QTimer: what is Qt's"
    yield with_include("tilvanego/values/URL.cpp", "array"), "URL.cpp doesn't include tilvanego/values/URL.h first"
    yield {**files, "tilvanego/json/RecordTable.h": "int slots;\n"}, "RecordTable.h has slots"
    yield {**files, "tilvanego/network/curl/Sockets.cpp": ""}, "Sockets.cpp needs nothing of POSIX any more"
    yield {**files, "tilvanego/attic/Old.h": "namespace tilvanego {}\n"}, "no folder of tests mirrors tilvanego/attic"
    yield {**files, "tilvanego/json/Own.h": ""}, "no umbrella reaches tilvanego/json/Own.h"


def main():
    files, private = tree()
    tests = ROOT / "tests"
    test_folders = {path.parent.relative_to(tests).as_posix() for path in tests.rglob("*Test.cpp")}
    # What can't run here is checked against declarations.
    test_folders |= {path.parent.relative_to(tests).as_posix() for path in tests.rglob("declarations")}
    allowed = arrows()
    found = list(faults(files, private, allowed, test_folders))
    for changed, words in mutations(files):
        if not any(words in fault for fault in faults(changed, private, allowed, test_folders)):
            found.append(f"this test lets a fault pass: {words}")
    print("\n".join(found) or f"{len(files)} files keep to {len(allowed)} lines")
    return 1 if found else 0


sys.exit(main())
