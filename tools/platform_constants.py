#!/usr/bin/env python3
"""Prints a C++ table of every constant that include/platform declares outside Windows.

Compiled for Windows, each line pairs the SDK's value of a name with the value that our headers give
it; a test compares them. Usage: platform_constants.py include/platform > constants.inc
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


def main():
    names = {}
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.h")):
        for line in own_lines(path):
            match = DEFINE.match(line) or CONSTEXPR.match(line)
            if not match or SKIPPED.match(match.group(1)):
                continue
            value = match.group(2)
            # Names that stand for calls, types, pointers or text are no numbers.
            if re.search(r'reinterpret_cast|"|\w+A$|HKEY\)|^\(\*|\bextern\b|^\w*[a-z]\w*$', value):
                continue
            names[match.group(1)] = (path.name, value)
    for name, (file, value) in sorted(names.items()):
        print(f'{{"{file}", "{name}", (std::uint32_t)({name}), (std::uint32_t)({value})}},')


if __name__ == "__main__":
    main()
