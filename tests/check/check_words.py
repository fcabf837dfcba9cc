"""Refuses texts that don't belong into the tree: notes to oneself, references to papers that
readers of the code don't have, paths of one person's machine."""
import re

import tree

# pattern, what is wrong with it
RULES = [
    (re.compile(r"\b(TODO|FIXME|XXX|HACK)\b"), "note to oneself"),
    (re.compile(r"\bParts? \d+\.\d+"), "reference to a paper outside the tree"),
    (re.compile(r"\b(the|our|this|by|per) spec(ification)?s?\b", re.I),
     "reference to a paper outside the tree"),
    (re.compile(r"\bspec\.md\b"), "reference to a paper outside the tree"),
    (re.compile(r"(?<![\w./-])/(work|root)/"), "path of one machine"),
    (re.compile(r"^(<<<<<<<|>>>>>>>) ", re.M), "left by a merge"),
]
# the rules themselves and their tests
EXEMPT = {"tests/check/check_words.py", "tests/check/test_checks.py"}
BINARY = (".png", ".ico", ".gz", ".zip", ".kr", ".sqlite")


def findings_in(path, text):
    found = []
    for rule, reason in RULES:
        for match in rule.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            found.append(f"{path}:{line}: \"{match.group(0).strip()}\": {reason}")
    return found


def main():
    found = []
    for path in tree.files():
        if path in EXEMPT or path.endswith(BINARY) or path.startswith("tests/data/"):
            continue
        found += findings_in(path, tree.read(path))
    tree.finish(found)


if __name__ == "__main__":
    main()
