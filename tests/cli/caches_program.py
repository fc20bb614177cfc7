#!/usr/bin/env python3
"""The programs as people use them: dirwatch caches beside an agent in another process, and Ctrl-C in
a sample that waits for a collection. Usage: caches_program.py DIRWATCH RECORDING"""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

dirwatch, recording = sys.argv[1], pathlib.Path(sys.argv[2])
PATIENCE_S = 120
LISTEN = {k: v for k, v in os.environ.items() if not k.startswith("DWA_")}


def caches():
    asked = subprocess.run([dirwatch, "caches", "--format", "json"], capture_output=True, text=True)
    return asked.returncode, json.loads(asked.stdout) if asked.stdout else None


def wait_for(what, condition):
    until = time.monotonic() + PATIENCE_S
    while time.monotonic() < until:
        found = condition()
        if found:
            return found
        time.sleep(0.1)
    sys.exit(f"never came: {what}")


def caches_of_another_process():
    agent = subprocess.Popen([dirwatch, "run"], env={**LISTEN, "DWA_CACHE_INTERVAL": "1"},
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        def filled():
            # Another agent of this machine may have started meanwhile.
            status, told = caches()
            if told is None or told["process"] != agent.pid:
                return None
            rows = {job["job"]: job["rows"] for job in told["jobs"]}
            return (status, told) if rows["DCWNTDSDCA"] and rows["DCWNTDSTTP"] else None
        status, told = wait_for("the rows of a running agent", filled)
        assert status == 0, status
        assert told["cache_interval_s"] == 1, told
        print("dirwatch caches shows process", agent.pid)
    finally:
        agent.kill()
        agent.wait()
    status, told = caches()
    assert told is None and status == 1 or told["process"] != agent.pid, "a killed agent is shown"


def interrupted_sample(folder):
    commands = folder / "commands.json"
    slow = '{"command": "netdom verify * /DOMAIN:PARTNER", '
    text = commands.read_text()
    assert slow in text
    commands.write_text(text.replace(slow, slow + '"takes_s": 100000, '))
    sample = subprocess.Popen(
        [dirwatch, "sample", "DCWNTDSTRS", "--real-time", "--controller", str(folder)],
        env={**LISTEN, "DWA_CACHE_INTERVAL": "5"}, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        text=True)
    try:
        guard = threading.Timer(PATIENCE_S, sample.kill)
        guard.start()
        line = sample.stderr.readline()
        assert "waiting for DCWNTDSTRS (runs netdom verify DC1 /DOMAIN:PARTNER" in line, line
        sample.send_signal(signal.SIGINT)
        output, errors = sample.communicate()
        guard.cancel()
        assert sample.returncode == 130, (sample.returncode, errors)
        assert "dirwatch: interrupted" in errors, errors
        assert output == "", output
        print("dirwatch sample ends at Ctrl-C")
    finally:
        sample.kill()


caches_of_another_process()
with tempfile.TemporaryDirectory() as work:
    copy = pathlib.Path(work) / "recording"
    shutil.copytree(recording, copy)
    interrupted_sample(copy)
