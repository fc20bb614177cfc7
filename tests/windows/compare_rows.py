#!/usr/bin/env python3
"""Holds the rows of the Windows program against the Linux one's, table by table and byte by byte.

compare_rows.py TABLES LINUX WINDOWS [--without TABLE=REASON ...] [--only TABLE ...] [--first]
                [--names FILE]

TABLES is the output of `dirwatch tables --format json`, LINUX and WINDOWS those of `dirwatch sample
--format json` or of a JSON sink. Rows are compared in their order within a table. What must differ is
made equal first: the time of the delivery, and the columns that TABLES describes as a local time at
which the agent did something itself. Each table must have rows on both sides; one that cannot is named
with --without and its reason, and must have none. --only: the tables that were asked for. --first: of
each table only what was delivered first, for programs that sampled a different number of times or were
ended in the middle of a line. --names: a file that gets the names of the tables with rows appended.
"""
import argparse
import json
import re
import sys

OWN_TIME = "Local time at which "
DELIVERY = re.compile(rb'^\{"table":"(\w+)","time":"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)"')


def arguments():
    parser = argparse.ArgumentParser()
    for name in ("tables", "linux", "windows"):
        parser.add_argument(name)
    parser.add_argument("--without", action="append", default=[], metavar="TABLE=REASON")
    parser.add_argument("--only", action="append", default=[], metavar="TABLE")
    parser.add_argument("--first", action="store_true")
    parser.add_argument("--names")
    return parser.parse_args()


def own_times(table):
    """The columns that hold when the agent itself did something: 16 digits."""
    return [column["lower"] for column in table["columns"]
            if column["description"].startswith(OWN_TIME)]


def rows_by_table(path, tables, only_first):
    patterns = {name: [re.compile(rb'"%s":"\d{16}"' % column.encode()) for column in own_times(table)]
                for name, table in tables.items()}
    rows, deliveries = {name: [] for name in tables}, {}
    with open(path, "rb") as file:
        lines = file.read().replace(b"\r\n", b"\n").split(b"\n")
    if only_first:
        lines.pop()  # empty, or cut off
    for line in filter(None, lines):
        head = DELIVERY.match(line)
        if not head or head.group(1).decode() not in tables:
            sys.exit(f"{path}: not a row of a table: {line!r}")
        name = head.group(1).decode()
        row = line[head.end():]
        for pattern in patterns[name]:
            row, count = pattern.subn(b'"time of its own":""', row)
            if count != 1:
                sys.exit(f"{path}: {name}: a time column is not 16 digits: {line!r}")
        if not only_first or deliveries.setdefault(name, head.group(2)) == head.group(2):
            rows[name].append(row)
    return rows


def differences(name, linux, windows):
    if len(linux) != len(windows):
        yield f"{name}: {len(linux)} rows on Linux, {len(windows)} on Windows"
    for number, (one, other) in enumerate(zip(linux, windows), 1):
        if one != other:
            yield f"{name}: row {number}:\n  Linux   {one!r}\n  Windows {other!r}"


def main():
    wanted = arguments()
    with open(wanted.tables, "rb") as file:
        tables = {table["name"]: table for table in json.load(file)}
    linux = rows_by_table(wanted.linux, tables, wanted.first)
    windows = rows_by_table(wanted.windows, tables, wanted.first)
    explained = dict(one.split("=", 1) for one in wanted.without)
    wrong = []
    for name in tables:
        wrong += differences(name, linux[name], windows[name])
        if wanted.only and name not in wanted.only:
            if linux[name] or windows[name]:
                wrong.append(f"{name}: has rows, and was not asked for")
        elif name in explained:
            if linux[name] or windows[name]:
                wrong.append(f"{name}: has rows, although {explained[name]}")
        elif not linux[name]:
            wrong.append(f"{name}: has no rows")
    for text in wrong:
        print("windows:", text)
    with_rows = [name for name in tables if linux[name] and windows[name]]
    if wanted.names:
        with open(wanted.names, "a", encoding="ascii") as file:
            file.write("".join(name + "\n" for name in with_rows))
    print(f"windows: {sum(len(linux[name]) for name in with_rows)} rows of {len(with_rows)} tables, "
          f"{len(wrong)} differences from Linux" +
          "".join(f"; none of {name}: {reason}" for name, reason in explained.items()))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
