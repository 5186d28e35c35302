"""Names for mutants that survive edits elsewhere in a file, and the list of survivors that are known.

The list is a text file. A line "unseen: REASON" or "open: REASON" opens a group, and each line below it that
begins with two spaces names a mutant by its name, which is followed by words for the reader:

    unseen: Only speed differs: the slow way gives the same answer.
      1f00ba12 src/json/read/lexer.h Lexer::scan half: a && b => a

"unseen" mutants cannot be told from the library by any caller; "open" mutants could be, but no test does it yet."""

import hashlib
import re


def named(mutants):
    """Returns a dict of name -> mutant. A name depends on file, function, operator and text, not on lines, and not on
    the folder within the family."""
    seen, names = {}, {}
    for mutant in sorted(mutants, key=lambda m: (m.path, m.start, -m.end, m.operator, m.text)):
        path = re.sub(r"^(src/[a-z]+)/.*/", r"\1/", mutant.path)
        key = (path, mutant.function, mutant.operator, mutant.shown)
        seen[key] = seen.get(key, 0) + 1
        text = "\0".join((path, mutant.function, mutant.operator, *mutant.shown, str(seen[key])))
        names[hashlib.sha256(text.encode()).hexdigest()[:8]] = mutant
    return names


def described(name, mutant):
    return f"{name} {mutant.path} {mutant.function} {mutant.operator}: {mutant.shown[0]} => {mutant.shown[1]}"


def read(path):
    """Returns a dict of name -> (kind, reason)."""
    kept, group = {}, None
    with open(path) as file:
        for number, line in enumerate(file, 1):
            head = re.match(r"(unseen|open): (.+)", line)
            entry = re.match(r"  ([0-9a-f]{8})\b", line)
            if head:
                group = (head[1], head[2])
            elif entry and group:
                if entry[1] in kept:
                    raise SystemExit(f"{path}:{number}: {entry[1]} is there twice")
                kept[entry[1]] = group
            elif line.strip() and not line.startswith("#"):
                raise SystemExit(f"{path}:{number}: neither a reason nor a mutant")
    return kept
