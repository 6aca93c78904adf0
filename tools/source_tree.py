"""The source tree for the checks: its files, its units and their includes."""

import re
import subprocess
import sys
from functools import lru_cache
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
UMBRELLA = "qel/qel.h"               # the interface without what needs Squirrel's headers
SCRIPT_UMBRELLA = "qel/script.h"      # what needs them
UMBRELLAS = (UMBRELLA, SCRIPT_UMBRELLA)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


@lru_cache(maxsize=None)
def files(*patterns):
    """Returns the files of the tree that match one of the git patterns, except ignored ones, as sorted relative paths."""
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "--", *patterns]
    listed = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout
    return sorted({name for name in listed.split("\0") if name and (ROOT / name).is_file()})


@lru_cache(maxsize=None)
def text(name):
    """Returns the text of the file with this relative path."""
    return (ROOT / name).read_text(encoding="utf-8")


@lru_cache(maxsize=None)
def units():
    """Returns the units in order: a unit may use those before it."""
    lines = text("tools/units.txt").splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def unit_of(name):
    """Returns the unit to which a path under qel/ belongs, or None."""
    folder = name.removeprefix("qel/").rpartition("/")[0]
    candidates = [unit for unit in units() if folder == unit or folder.startswith(unit + "/")]
    return max(candidates, key=len, default=None)


def public_headers():
    """Returns the headers that are not private to a unit."""
    return [name for name in files("qel/**/*.h") if not name.endswith("_p.h")]


@lru_cache(maxsize=None)
def internal_headers():
    """Returns the headers that tools/internal_headers.txt excludes from the interface."""
    internal = set()
    for line in text("tools/internal_headers.txt").splitlines():
        path = line.removeprefix("!")
        named = {name for name in public_headers() if name == path or name.startswith(path + "/")}
        if not line.startswith("#"):
            internal = internal - named if line.startswith("!") else internal | named
    return internal


def installed_headers():
    """Returns the interface: the installed headers, except those that include all others."""
    return [name for name in public_headers() if name not in internal_headers() and name not in UMBRELLAS]


def component_headers():
    """Returns the installed headers of the components."""
    return [name for name in files("components/**/*.h") if not name.endswith("_p.h")]


def include_path(name):
    """Returns how programs name a header: a component's without the component's folder."""
    return re.sub(r"^components/[^/]+/", "", name)


@lru_cache(maxsize=None)
def files_by_include_path():
    """Returns the headers of the components by the names by which they are included."""
    return {include_path(name): name for name in files("components/**/*.h")}


@lru_cache(maxsize=None)
def closure(name):
    """The file and every file of the library, its components and its hosts that it includes, directly or not."""
    seen = {name}
    waiting = [name]
    while waiting:
        current = waiting.pop()
        for form, path in includes(current):
            if form == '"':
                path = f"{current.rpartition('/')[0]}/{path}"
            path = files_by_include_path().get(path, path)
            if path.startswith(("qel/", "components/", "hosts/")) and path not in seen and (ROOT / path).is_file():
                seen.add(path)
                waiting.append(path)
    return seen


def needs_squirrel(name):
    """True if the header includes Squirrel's, directly or not."""
    return any(path == "squirrel.h" for part in closure(name) for _, path in includes(part))


def sources():
    """Returns every C++ file of the tree."""
    return files("*.h", "*.cpp")


@lru_cache(maxsize=None)
def includes(name):
    """Returns the includes of the file as (form, path) pairs; the form is '<' or '"'."""
    return INCLUDE.findall(text(name))


def finish(problems):
    """Prints the problems and ends the program, with status 1 if there were any."""
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)
