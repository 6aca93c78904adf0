"""Finds wording that readers stumble over: in comments, documentation and scripts, and in the strings of the hosts.

Each pattern comes with what to write instead. A space in a pattern also matches a line break within a comment or a
paragraph. tools/wording_exceptions.txt lists the legitimate uses: a path, a colon, a space and a part of the line.
"""

import re

from source_tree import files, text

WORDING = [
    (r"\bbehind (?:it|its|the|them|that|those|each|every|this|one)\b", "after"),
    (r"\b(?:tells?|told|telling)\b", "states, reports, describes, shows"),
    (r"\bstands? (?:in|for|between|beside|behind|still|there|at|on|under|before|as)\b|\bstood\b", "is, means, contains"),
    (r"\bwere (?:it|they|he|there)\b", "if it is, even if"),
    (r"(?<!there\s)(?<!/\x20)\bis none\b|\bthat (?:is|are) no\b|\bwhat is (?:no|none)\b", "is not a, does not exist"),
    (r"\bthere (?:is|are|was|were) none\b|\b(?:has|have|had) none\b", "what is missing: if no folder matches, without a child"),
    (r"//+<? *(?:Whether|How many|How often) [^\n]*", "Returns true if; The number of"),
    (r'"{3}(?:Whether|What|How many|How long|Where)\b', "Returns, Yields"),
    (r"@return (?:whether|how many|how often)\b", "@return true if, @return the number of"),
    (r"\bgives? (?:the|a|an|its|null|0|-1|false|true|back|what)\b|\bwhat \w+(?:\(\))? g(?:ave|ives)\b", "returns, passes"),
    (r"\bso many\b|\bas many\b(?!(?: \w+){0,3} as\b)", "this number of, equally many"),
    (r"\bblanks?\b(?! lines?)", "space"),
    (r"\b(?:himself|his|him|he)\b", "the user, they"),
    (r"\blets? (?:go of|nothing)\b", "releases"),
    (r"\b(?:goes|went|going|go) on\b", "continues"),
    (r"\bmade by\b", "created by"),
    (r"\b(?:takes?|took|taken) (?:\w+ )?back\b", "rolls back, undoes"),
    (r"\banew\b", "again"),
    (r"\blook(?:s|ed)? for in\b", "searched for in"),
    (r"\bleft alone\b|\bleaves? \w+ alone\b", "not changed"),
    (r"\bas (?:it was|they were|it stands|they stand)\b(?! \w+(?:ed|en)\b)", "unchanged"),
    (r"\bfor ever\b", "without limit"),
]
GAP = r"(?: |\n *(?:(?://+<?|#|\*) *)?)"
PATTERNS = [(re.compile(pattern.replace(" ", GAP) if "//" not in pattern else pattern), advice)
            for pattern, advice in WORDING]
COMMENTS = re.compile(r"//[^\n]*(?:\n[ \t]*//[^\n]*)*")
STRINGS = re.compile(r'"(?:\\.|[^"\\\n])*"')
SCRIPT_COMMENTS = re.compile(r'"""[\s\S]*?"""|(?:^|(?<=\s))#(?!!)[^\n]*(?:\n[ \t]*#[^\n]*)*', re.MULTILINE)
EXCEPTIONS = "tools/wording_exceptions.txt"
SCRIPTS = ("run", "test", "tools/*", "cmake/*", "benchmarks/*", "fuzz/run", "tests/consumer/*", "*.cmake",
           "CMakeLists.txt", "*/CMakeLists.txt")
TABLES = (".txt", ".proto", ".inc") # data, not prose


def exceptions():
    """Returns the parts of allowed lines by file."""
    allowed = {}
    for line in text(EXCEPTIONS).splitlines():
        if line and not line.startswith("#"):
            name, _, part = line.partition(": ")
            allowed.setdefault(name, []).append(part)
    return allowed


def prose_of(name):
    """Yields (offset, text) for each part of the file that is prose."""
    whole = text(name)
    if name.endswith(".md"):
        return [(0, whole)]
    if not name.endswith((".h", ".cpp")):
        return [(found.start(), found.group()) for found in SCRIPT_COMMENTS.finditer(whole)]
    found = [*COMMENTS.finditer(whole)]
    if name.startswith("hosts/"):
        found += STRINGS.finditer(whole)
    return [(one.start(), one.group()) for one in found]


def documents():
    """Returns the names of the files with prose."""
    scripts = [name for name in files(*SCRIPTS) if name.endswith("CMakeLists.txt") or not name.endswith(TABLES)]
    return [name for name in [*files("*.h", "*.cpp", "*.md", "*.nut"), *scripts]
            if not name.startswith("resources/samples/")]


def wording_problems():
    """Yields each place with wording on the list, except those in the list of exceptions."""
    allowed = exceptions()
    for name in documents():
        whole = text(name)
        for offset, prose in prose_of(name):
            for pattern, advice in PATTERNS:
                for found in pattern.finditer(prose):
                    at = offset + found.start()
                    number = whole.count("\n", 0, at) + 1
                    line = whole.splitlines()[number - 1]
                    if not any(part in line for part in allowed.get(name, [])):
                        phrase = " ".join(found.group().split())
                        yield f'{name}:{number}: "{phrase[:40]}": say {advice}'
