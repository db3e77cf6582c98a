# SPDX-License-Identifier: GPL-3.0-or-later
"""Who may include whom, and what every source looks like."""

import re
from pathlib import Path

LONGEST_SOURCE = 500
LICENCE = "SPDX-License-Identifier: GPL-3.0-or-later"

# The rooms that a room may include from, itself aside. Order matters for finding a file's room: longest first.
ROOMS = {
    "Platform/Linux": {"Platform", "Foundation"},
    "Platform": {"Foundation"},
    "Foundation": set(),
    "Sources": {"Platform", "Foundation"},
    "Desktop": {"Sources", "Platform", "Foundation"},
    "Assembly": {"Sources", "Platform/Linux", "Platform", "Foundation"},
    "Console": {"Assembly", "Sources", "Platform/Linux", "Platform", "Foundation"},
    "Tests": None,  # everything
    "Benchmarks": None,
    "main": None,
}

# What stands between angle brackets: the standard library alone, anything but Qt, or anything at all.
STANDARD_ONLY = {"Foundation", "Platform", "Sources"}
MAY_USE_QT = {"Desktop", "Tests", "Benchmarks", "main"}

# The five libraries of Sources and what each may build on. Their build file is held to it too.
SUBSYSTEMS = {
    "catalogue": set(),
    "mounting": {"catalogue"},
    "discovery": {"catalogue"},
    "windows": {"catalogue"},
    "controller": {"catalogue", "mounting", "discovery", "windows"},
}

# The environment is read where the program starts, and nowhere else.
MAY_READ_ENVIRONMENT = {"Platform/Linux/StandardPaths.cpp", "Console/main.cpp", "main.cpp"}

# The standard library's locks tell clang nothing of what they guard.
MAY_USE_STANDARD_LOCKS = {"Foundation/Mutex.h", "Foundation/ConditionVariable.h"}

STANDARD_HEADERS = set(
    """
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
    clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
    cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
    memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
    semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
    strstream syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility
    valarray variant vector version
    """.split()
)

INCLUDE = re.compile(r"^\s*#\s*(?:include|import|include_next)\b\s*(.*)$")
QUOTED = re.compile(r'"([^"]+)"')
ANGLED = re.compile(r"<([^>]+)>")
STANDARD_LOCK = re.compile(r"\bstd::(\w*mutex|\w*_lock|lock_guard|condition_variable\w*)\b")
QT_HEADER = re.compile(r"^(Q[A-Z]\w*|Qt\w+(/.*)?|q\w+\.h)$")


def room_of(path):
    """The room of a path below the root, None for a file that belongs to none."""
    if path == "main.cpp":
        return "main"
    for room in ROOMS:
        if path.startswith(room + "/"):
            return room
    return None


def sources(root):
    """Every C++ file of the rooms, as paths below the root."""
    found = [root / "main.cpp"] if (root / "main.cpp").exists() else []
    for top in sorted({room.split("/")[0] for room in ROOMS} - {"main"}):
        found += [each for each in (root / top).rglob("*") if each.suffix in (".h", ".cpp")]
    return sorted(each.relative_to(root).as_posix() for each in found)


def scripts(root):
    """Shell and Python files, with or without a suffix."""
    tops = [root / name for name in ("run", "test") if (root / name).is_file()]
    for top in ("scripts", ".ci", "Tests", "Packaging"):
        tops += [each for each in (root / top).rglob("*") if each.is_file() and "__pycache__" not in each.parts]
    found = []
    for each in tops:
        if each.suffix in (".py", ".sh") or (not each.suffix and each.read_bytes().startswith(b"#!")):
            found.append(each.relative_to(root).as_posix())
    return sorted(found)


def subsystems(root, problems):
    """Each file of Sources without its suffix, with its subsystem, as the build file has it."""
    path = root / "Sources" / "CMakeLists.txt"
    owner = {}
    if not path.exists():
        return owner
    for match in re.finditer(r"^quorrel_subsystem\((\w+)([^)]*)\)", path.read_text(), re.MULTILINE):
        name, words = match.group(1), match.group(2).split()
        links = set()
        section = None
        for word in words:
            if word in ("SOURCES", "LINK"):
                section = word
            elif section == "SOURCES":
                owner[Path(word).stem] = name
            elif section == "LINK":
                links.add(word.removeprefix("quorrel_"))
        if name not in SUBSYSTEMS:
            problems.append(f"Sources/CMakeLists.txt: no subsystem is called {name}")
        elif links - SUBSYSTEMS[name]:
            problems.append(f"Sources/CMakeLists.txt: {name} must not link {', '.join(sorted(links - SUBSYSTEMS[name]))}")
    return owner


def includes(text):
    """Line number and operand of every include."""
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1)


def check_angled(room, header):
    if header.endswith((".h", ".hpp")) and room_of(header):
        return "a file of this project stands in quotes"
    if room in STANDARD_ONLY and header not in STANDARD_HEADERS:
        return f"{room} may use the standard library only"
    if room not in MAY_USE_QT and QT_HEADER.match(header):
        return f"{room} must not know Qt"
    return None


def check_quoted(root, path, room, header, owner):
    target = room_of(header)
    if target is None or not (root / header).exists():
        return "there is no such file, seen from the root"
    if ROOMS[room] is not None and target != room and target not in ROOMS[room]:
        return f"{room} must not include {target}"
    if room == "Sources" and target == "Sources":
        mine, other = owner.get(Path(path).stem), owner.get(Path(header).stem)
        if mine and other and mine != other and other not in SUBSYSTEMS.get(mine, set()):
            return f"{mine} must not include {other}"
    return None


def check_source(root, path, owner):
    text = (root / path).read_text(encoding="utf-8")
    lines = text.splitlines()
    room = room_of(path)
    if not lines or lines[0] != f"// {LICENCE}":
        yield f"{path}:1: the first line is not the licence's"
    if len(lines) > LONGEST_SOURCE:
        yield f"{path}: {len(lines)} lines, more than {LONGEST_SOURCE}"
    if path.endswith(".h") and "#pragma once" not in lines:
        yield f"{path}: no #pragma once"
    if room == "Sources" and Path(path).stem not in owner:
        yield f"{path}: Sources/CMakeLists.txt gives it to no subsystem"
    if room not in ("Tests", "Benchmarks") and path not in MAY_READ_ENVIRONMENT and "getenv" in text:
        yield f"{path}: reads the environment, which only {', '.join(sorted(MAY_READ_ENVIRONMENT))} may"
    if room not in ("Tests", "Benchmarks") and path not in MAY_USE_STANDARD_LOCKS and STANDARD_LOCK.search(text):
        yield f"{path}: locks are Foundation/Mutex.h's and Foundation/ConditionVariable.h's"
    for number, operand in includes(text):
        quoted, angled = QUOTED.match(operand), ANGLED.match(operand)
        if quoted:
            problem = check_quoted(root, path, room, quoted.group(1), owner)
        elif angled:
            problem = check_angled(room, angled.group(1))
        else:
            problem = "what it includes cannot be seen"
        if problem:
            yield f"{path}:{number}: {operand.strip()}: {problem}"


def check_script(root, path):
    lines = (root / path).read_text(encoding="utf-8").splitlines()
    if not any(LICENCE in line for line in lines[:2]):
        yield f"{path}: neither of the first two lines is the licence's"
    if len(lines) > LONGEST_SOURCE:
        yield f"{path}: {len(lines)} lines, more than {LONGEST_SOURCE}"


def check(root):
    """Everything that is wrong below the root."""
    problems = []
    owner = subsystems(root, problems)
    for path in sources(root):
        problems += check_source(root, path, owner)
    for path in scripts(root):
        problems += check_script(root, path)
    return problems
