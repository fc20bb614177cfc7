#!/usr/bin/env python3
"""The agent as a service of systemd, which this script plays: it starts the program with a
notification socket, reads what it says there, and sends the signals that systemd sends.

Usage: systemd_service.py PROGRAM, with RECORDING naming the folder of a recording. Every wait ends by
what the program says or does; the limits only end a program that hangs."""

import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(sys.argv.pop(1)).resolve()
HANGS_S = 120
TRACES_OF_THE_STOP = [
    "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_STOP",
    "LaunchServiceTerminationThread: Service termination requested.",
    "StopService: Attempting shutdown",
    "StopService: Triggering termination event",
    "ServiceMain: Returned from termination event wait",
    "terminate: Terminate request received.",
    "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM",
    "Main: StartServiceCtrlDispatcher returns TRUE",
    "Main: TERMINATION",
]


class Service:
    """One start of the program, and what it has said so far."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.rows, self.trace = self.folder / "rows.json", self.folder / "agent.trc"
        config = self.folder / "dirwatch.toml"
        config.write_text(
            f'[framework]\nnode_name = "NODE1"\ninterval = "1s"\ntables = ["DCWNTDSRDS"]\n'
            f'[trace]\npath = "{self.trace}"\n[sink]\nformat = "json"\npath = "{self.rows}"\n')
        path = str(self.folder / "notify")
        pathlib.Path(path).unlink(missing_ok=True)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(path)
        self.socket.settimeout(0.2)
        self.told = []  # messages, each a dictionary
        self.process = subprocess.Popen(
            [PROGRAM], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
            env={**os.environ, "NOTIFY_SOCKET": path, "DIRWATCH_CONFIG": str(config)})

    def listen(self):
        """Takes what has come; gives back whether there was anything."""
        try:
            message = self.socket.recv(4096).decode()
        except TimeoutError:
            return False
        self.told.append(dict(line.split("=", 1) for line in message.splitlines()))
        return True

    def until(self, what, true):
        limit = time.monotonic() + HANGS_S
        while not true():
            self.listen()
            if time.monotonic() > limit:
                raise AssertionError(f"no {what}; it said {self.told}")
            if self.process.poll() is not None and not self.listen() and not true():
                raise AssertionError(f"no {what}: it ended with {self.process.returncode}, having "
                                     f"said {self.told}; {self.process.stderr.read().decode()}")

    def said(self, key, part=""):
        return any(part in message.get(key, "") for message in self.told if key in message)

    def until_ready(self):
        self.until("READY", lambda: self.said("READY"))

    def until_at_work(self):
        """Ready, and the framework has opened the trace: the lines from before stand in it."""
        self.until_ready()
        self.until_rows(1)

    def until_rows(self, count):
        self.until(f"{count} rows", lambda: self.rows.exists()
                   and len(self.rows.read_text().splitlines()) >= count)

    def signal(self, number):
        self.process.send_signal(number)

    def end(self):
        """Its exit code, and all that it said to the last."""
        code = self.process.wait(HANGS_S)
        self.process.stderr.close()
        while self.listen():
            pass
        return code

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        if not self.process.stderr.closed:
            self.process.stderr.close()
        self.socket.close()


class Systemd(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="dirwatcher_service_")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def start(self):
        service = Service(self.folder)
        self.addCleanup(service.close)
        return service

    def in_order(self, service, texts):
        lines = service.trace.read_text().splitlines()
        at = 0
        for text in texts:
            found = next((i for i in range(at, len(lines)) if text in lines[i]), None)
            self.assertIsNotNone(found, f"missing, or too early: {text}")
            at = found + 1

    def test_start_rows_stop_and_start_again(self):
        for _ in range(2):
            service = self.start()
            rows = len(service.rows.read_text().splitlines()) if service.rows.exists() else 0
            service.until_ready()
            service.until_rows(rows + 2)
            row = json.loads(service.rows.read_text().splitlines()[-1])
            self.assertEqual("DCWNTDSRDS", row["table"])
            self.assertEqual("NODE1", row["originnode"].strip())
            service.signal(signal.SIGTERM)
            self.assertEqual(0, service.end())
            states = [message["STATUS"] for message in service.told]
            self.assertEqual(["Starting", "Starting, step 1", "Starting, step 2", "Running",
                              "Stopping, step 1"], states[:5])
            self.assertEqual("Stopped", states[-1])
            self.assertLessEqual(set(states[5:-1]), {"Stopping, step 2"})
            ready = [message for message in service.told if "READY" in message]
            self.assertEqual(1, len(ready))
            self.assertEqual(str(service.process.pid), ready[0]["MAINPID"])
            hints = [message.get("EXTEND_TIMEOUT_USEC") for message in service.told[1:5]]
            self.assertEqual(["1000000", "5000000", None, "1000000"], hints)
            self.assertEqual([False] * 4 + [True],
                             ["STOPPING" in message for message in service.told[:5]])
            self.in_order(service, TRACES_OF_THE_STOP)
            service.trace.unlink()

    def test_two_stops_are_one(self):
        service = self.start()
        service.until_at_work()
        service.signal(signal.SIGTERM)
        service.signal(signal.SIGTERM)
        self.assertEqual(0, service.end())
        self.assertEqual(1, service.trace.read_text().count(
            "LaunchServiceTerminationThread: Service termination requested."))

    def test_interrupt_stops_too(self):
        service = self.start()
        service.until_at_work()
        service.signal(signal.SIGINT)
        self.assertEqual(0, service.end())
        self.in_order(service, TRACES_OF_THE_STOP)

    def test_stop_during_the_start_comes_through(self):
        service = self.start()
        service.until("first word", lambda: service.said("STATUS", "Starting"))
        service.signal(signal.SIGTERM)
        self.assertEqual(0, service.end())
        # It was ready first: only then does it take a stop.
        self.assertTrue(service.said("READY"))
        self.assertTrue(service.said("STOPPING"))
        self.assertEqual("Stopped", service.told[-1]["STATUS"])

    def test_hang_up_reloads_nothing_and_says_so(self):
        service = self.start()
        service.until_at_work()
        service.signal(signal.SIGHUP)
        service.until("answer", lambda: service.said("STATUS", "reload is not supported"))
        self.assertIn("reload is not supported", service.trace.read_text())
        self.assertIsNone(service.process.poll())
        service.signal(signal.SIGTERM)
        self.assertEqual(0, service.end())

    def test_power_failure_ends_at_once_without_the_stop(self):
        service = self.start()
        service.until_at_work()
        service.signal(signal.SIGPWR)
        self.assertEqual(0, service.end())
        self.in_order(service, ["ServiceCtrlHandler: Control Code - SERVICE_CONTROL_SHUTDOWN",
                                "LaunchServiceShutdown: TERMINATION"])
        self.assertNotIn("StopService: Attempting shutdown", service.trace.read_text())

    def test_killed_during_the_start_it_starts_again(self):
        service = self.start()
        service.until("first word", lambda: service.said("STATUS", "Starting"))
        service.signal(signal.SIGKILL)
        self.assertEqual(-signal.SIGKILL, service.end())
        service = self.start()
        service.until_ready()
        service.signal(signal.SIGTERM)
        self.assertEqual(0, service.end())

    def test_manager_that_is_gone_ends_it_with_the_error(self):
        service = self.start()
        service.until_at_work()
        service.socket.close()
        service.signal(signal.SIGTERM)
        self.assertEqual(1722 & 0xFF, service.process.wait(HANGS_S))
        self.in_order(service, ["ErrorHandler: Error code: [0x6ba]"])

    def test_without_a_manager_there_is_no_service(self):
        environment = {name: value for name, value in os.environ.items() if name != "NOTIFY_SOCKET"}
        ended = subprocess.run([PROGRAM], capture_output=True, timeout=HANGS_S, env=environment)
        self.assertEqual(1063 & 0xFF, ended.returncode)
        self.assertIn(b"To run as a console application for debugging", ended.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
