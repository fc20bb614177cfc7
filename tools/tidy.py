#!/usr/bin/env python3
"""Our own tidy: habits of this code base that no compiler checks.

  door         above the seam nothing of the operating system but include/platform, no clocks and
               threads of the standard library, no raw close call, no include from below the seam
  catalogue    a column's name stands in the catalogue; elsewhere only as row.set<"NAME">
  budget       a function fits 70 lines, a file 500
  assertions   every test asserts something

Exceptions stand in tools/tidy_exceptions.txt, one a line: check, file, reason. The list only
shrinks: an exception that is no longer needed is a finding too.
"""

import pathlib
import re
import subprocess
import sys

ABOVE = ("agent", "collectors", "counters", "directory", "services", "tables", "trust_topology",
         "include")
BELOW = ("platform", "framework", "cli", "tests", "bench", "fuzz", "lab")
STANDARD_BANNED = {"thread", "mutex", "condition_variable", "chrono", "future", "shared_mutex",
                   "semaphore", "unistd.h", "pthread.h", "windows.h", "dlfcn.h", "fcntl.h"}
RAW_CLOSE = re.compile(r"\b(CloseHandle|RegCloseKey|PdhCloseQuery|SysFreeString|VariantClear|"
                       r"SafeArrayDestroy|ADsFreeEnumerator|CloseServiceHandle|FindClose|_pclose|fclose)\s*\(|->Release\(\)")
FUNCTION_LINES = 70
FILE_LINES = 500


class Tidy:
    def __init__(self, root):
        self.root = pathlib.Path(root)
        self.findings = []
        self.exceptions = {}
        self.used = set()
        path = self.root / "tools/tidy_exceptions.txt"
        for line in path.read_text().splitlines() if path.exists() else []:
            if line.strip() and not line.startswith("#"):
                check, file, reason = line.split(None, 2)
                self.exceptions[(check, file)] = reason

    def report(self, check, file, line, text):
        if (check, file) in self.exceptions:
            self.used.add((check, file))
            return
        self.findings.append(f"{file}:{line}: {check}: {text}")

    def files(self):
        listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=self.root,
                                capture_output=True, text=True, check=True).stdout.split("\n")
        return [f for f in listed if f and (self.root / f).is_file()]

    def run(self):
        columns = self.column_names()
        for file in self.files():
            path = self.root / file
            try:
                text = path.read_text(encoding="utf-8")
            except UnicodeDecodeError:
                continue
            lines = text.split("\n")
            if path.suffix not in (".cpp", ".h"):
                continue
            top = file.split("/")[0]
            if top in ABOVE:
                self.door(file, lines)
                if not file.startswith("tables/catalogue"):
                    self.catalogue(file, lines, columns)
            self.budget(file, lines)
            if file.startswith("tests/"):
                self.assertions(file, text)
        for check, file in self.exceptions:
            if (check, file) not in self.used:
                self.findings.append(f"tools/tidy_exceptions.txt: {check} {file} is no longer needed")

    def column_names(self):
        names = set()
        for path in (self.root / "tables/catalogue").glob("*.h"):
            names |= set(re.findall(r'(?:integer|text|utf8)\(\s*"(\w+)"', path.read_text()))
        return names

    def door(self, file, lines):
        for number, line in enumerate(lines, 1):
            if re.search(r"\b_WIN32\b", line) and not file.startswith("include/"):
                self.report("door", file, number, "_WIN32 above the seam")
            match = re.match(r'\s*#\s*include\s+([<"])([^>"]+)[>"]', line)
            if match:
                self.check_include(file, number, match)
            code = line.split("//")[0]
            if not file.startswith("include/") and RAW_CLOSE.search(code):
                self.report("close", file, number, "a raw close call outside an owner: " + code.strip())

    def check_include(self, file, number, match):
        name = match.group(2)
        if file.startswith("include/platform/"):
            return
        if match.group(1) == "<":
            if name in STANDARD_BANNED or name.startswith(("sys/", "net/", "arpa/", "linux/")):
                self.report("door", file, number, f"<{name}> above the seam")
        elif name.split("/")[0] in BELOW:
            self.report("door", file, number, f'"{name}" is below the seam')

    def catalogue(self, file, lines, columns):
        lower = {c.lower() for c in columns}
        for number, line in enumerate(lines, 1):
            code = line.split("//")[0]
            for match in re.finditer(r'(<?)"(\w+)"', code):
                if match.group(2) in lower and match.group(2) not in ("zvalue", "zattrib"):
                    self.report("catalogue", file, number, f"a column's name again: {match.group(0)}")

    def budget(self, file, lines):
        if len(lines) - 1 > FILE_LINES:
            self.report("file-size", file, 1, f"{len(lines) - 1} lines, over {FILE_LINES}")
        start = None
        for number, line in enumerate(lines, 1):
            head = re.match(r"^(\s*)(?!.*\b(namespace|class|struct|enum|union|extern|switch|if|for|"
                            r"while|do|else|try|catch)\b).*\)[^;{}=]*\{$", line)
            if start is None and head and len(head.group(1)) <= 2:
                start = (number, head.group(1))
            elif start is not None and re.match(r"^" + start[1] + r"\}", line):
                if number - start[0] > FUNCTION_LINES:
                    self.report("function-size", file, start[0],
                                f"a function of {number - start[0]} lines, over {FUNCTION_LINES}")
                start = None

    def assertions(self, file, text):
        for match in re.finditer(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\) \{$(.*?)^\}", text,
                                 re.M | re.S):
            if not re.search(r"\b(EXPECT|ASSERT|ADD_FAILURE|FAIL|SUCCEED_IF|Expect|expect_|check_|"
                             r"Check|sweep)\w*", match.group(3)):
                line = text.count("\n", 0, match.start()) + 1
                self.report("assertions", file, line, f"{match.group(1)}.{match.group(2)} asserts nothing")


def main():
    tidy = Tidy(sys.argv[1] if len(sys.argv) > 1 else ".")
    tidy.run()
    for finding in tidy.findings:
        print(finding)
    print(f"tidy: {len(tidy.findings)} findings")
    return 1 if tidy.findings else 0


if __name__ == "__main__":
    sys.exit(main())
