"""The agent of an installed package as systemd runs it: told where to report, it says that it is up,
delivers rows, and goes down in order when it is asked to. Usage: notify.py SYSTEM"""

import os
import pathlib
import signal
import socket
import subprocess
import sys
import time

PATIENCE_S = 60


def main():
    system = pathlib.Path(sys.argv[1])
    logs = system / "var/log/dirwatcher"
    for folder in (logs, system / "var/lib/dirwatcher/WATCHD6_x64/logs"):
        folder.mkdir(parents=True, exist_ok=True)
    (system / "run").mkdir(exist_ok=True)
    reports = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    reports.bind(str(system / "run/notify"))
    reports.settimeout(PATIENCE_S)
    unit = (system / "lib/systemd/system/dirwatcher.service").read_text()
    environment = dict(line.split("=", 2)[1:] for line in unit.splitlines()
                       if line.startswith("Environment="))
    agent = subprocess.Popen(
        ["chroot", system, "env", *(f"{name}={value}" for name, value in environment.items()),
         "NOTIFY_SOCKET=/run/notify", "/usr/bin/DirWatcher"],
        stdout=subprocess.DEVNULL, env={"PATH": os.environ["PATH"], "LC_ALL": "C"})

    def wait_for(line):
        while line not in reports.recv(65536).decode().splitlines():
            pass
        print("said", line)

    try:
        wait_for("READY=1")
        rows = logs / "rows.json"
        until = time.monotonic() + PATIENCE_S
        while not (rows.exists() and '"table":"DCWNTDSCNT"' in rows.read_text()):
            if agent.poll() is not None or time.monotonic() > until:
                sys.exit("no rows of the containers came")
            time.sleep(0.1)
        agent.send_signal(signal.SIGTERM)
        wait_for("STOPPING=1")
        status = agent.wait(PATIENCE_S)
        if status != 0:
            sys.exit(f"the agent ended with {status}")
    finally:
        if agent.poll() is None:
            agent.kill()


main()
