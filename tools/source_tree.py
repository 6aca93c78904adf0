"""What the checks know about the source tree: its files, its units and what a file includes."""

import re
import subprocess
import sys
from functools import lru_cache
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


@lru_cache(maxsize=None)
def files(*patterns):
    """The files of the tree that match one of the git patterns, ignored ones left out, as sorted relative paths."""
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "--", *patterns]
    listed = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout
    return sorted({name for name in listed.split("\0") if name and (ROOT / name).is_file()})


@lru_cache(maxsize=None)
def text(name):
    """The text of the file with this relative path."""
    return (ROOT / name).read_text(encoding="utf-8")


@lru_cache(maxsize=None)
def units():
    """The units in their order: a unit may use those before it."""
    lines = text("tools/units.txt").splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def unit_of(name):
    """The unit that a path under qel/ belongs to, or None."""
    folder = name.removeprefix("qel/").rpartition("/")[0]
    candidates = [unit for unit in units() if folder == unit or folder.startswith(unit + "/")]
    return max(candidates, key=len, default=None)


def public_headers():
    """The headers that users of the library may include, the one of all headers left out."""
    return [name for name in files("qel/**/*.h") if not name.endswith("_p.h")]


def sources():
    """Every C++ file of the tree."""
    return files("*.h", "*.cpp")


@lru_cache(maxsize=None)
def includes(name):
    """What the file includes: (form, path) pairs, the form being '<' or '"'."""
    return INCLUDE.findall(text(name))


def finish(problems):
    """Prints the problems and ends the program with the status that tells whether there were any."""
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)
