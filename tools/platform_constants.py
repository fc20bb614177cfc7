#!/usr/bin/env python3
"""Prints a C++ table of every constant that include/platform declares outside Windows.

Compiled for Windows, each line pairs the SDK's value of a name with the value that our headers give
it; a test compares them. CONSTANT(header, name, theirs, ours) and INTERFACE_ID(name, theirs, ours)
are macros of the test. Usage: platform_constants.py include/platform > constants.inc
"""

import pathlib
import re
import sys

DEFINE = re.compile(r"^\s*#\s*define\s+(\w+)\s+(\S.*?)\s*(//.*)?$")
CONSTEXPR = re.compile(r"^inline constexpr [\w: ]+? (\w+) =\s*(.*?);")
# Not numbers, or names that the SDK spells as something else than a constant.
SKIPPED = re.compile(r"^(WINAPI|APIENTRY|CALLBACK|STDMETHODCALLTYPE|__\w+|_\w+no)$")


def own_lines(path):
    """The lines that a compiler for another system than Windows sees."""
    depth, ours, lines = 0, [], []
    text = re.sub(r"\\\n", " ", path.read_text())
    text = re.sub(r"=\s*\n\s+", "= ", text)
    for line in text.split("\n"):
        if re.match(r"\s*#\s*if", line):
            windows = "_WIN32" in line and "!" not in line and "ifndef" not in line
            ours.append(not windows)
        elif re.match(r"\s*#\s*else", line):
            ours[-1] = not ours[-1]
        elif re.match(r"\s*#\s*endif", line):
            ours.pop()
        elif all(ours):
            lines.append(line)
    return lines


def enumerators(text):
    """The names of every enumeration, with their values counted on where none is written."""
    for body in re.findall(r"\benum \w+(?: *: *\w+)? *\{(.*?)\}", text, re.S):
        value = -1
        for item in re.sub(r"//.*", "", body).split(","):
            name, _, written = (part.strip() for part in item.partition("="))
            if name:
                value = int(written, 0) if written else value + 1
                yield name, str(value)


def interface_ids(text):
    flat = re.sub(r"\s+", " ", text)
    return re.findall(r"inline constexpr IID (\w+) ?(\{.*?\}\});", flat)


def main():
    names, ids = {}, {}
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.h")):
        lines = own_lines(path)
        for name, value in interface_ids("\n".join(lines)):
            ids[name] = value
        for name, value in enumerators("\n".join(lines)):
            names[name] = (path.name, value)
        for line in lines:
            match = DEFINE.match(line) or CONSTEXPR.match(line)
            if not match or SKIPPED.match(match.group(1)):
                continue
            value = match.group(2)
            # Names that stand for calls, types, pointers or text are no numbers.
            if re.search(r'"|\w+A$|^\(\*|\bextern\b|^[A-Za-z_]*[a-z]\w*$', value):
                continue
            names[match.group(1)] = (path.name, value)
    for name, (file, value) in sorted(names.items()):
        print(f'CONSTANT("{file}", "{name}", ({name}), ({value}))')
    for name, value in sorted(ids.items()):
        print(f'INTERFACE_ID("{name}", {name}, (IID {value}))')


if __name__ == "__main__":
    main()
