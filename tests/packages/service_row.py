"""Whether a file of rows has WinServices' row of the agent's own service: running, starting with the
machine, as LocalSystem, from a quoted path."""

import json
import sys

wanted = {"srvcname": "DirWatcher", "currstat": "Running", "startype": "Automatic",
          "accontid": "LocalSystem"}
rows = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8") if line.strip()]
ours = [row for row in rows
        if row["table"] == "DCWNTDSSVC" and row["srvcname"].strip() == "DirWatcher"]
if not ours:
    sys.exit(f"no row of the service among {len(rows)}")
wrong = [f"{name} is {ours[-1][name].strip()!r}, not {value!r}"
         for name, value in wanted.items() if ours[-1][name].strip() != value]
if not ours[-1]["binaryex"].strip().endswith('DirWatcher.exe"'):
    wrong.append(f"binaryex is {ours[-1]['binaryex'].strip()!r}")
sys.exit("; ".join(wrong) or 0)
