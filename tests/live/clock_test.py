"""The clock suite: latency and availability where time itself is not what it seems. dc2's clock is
set apart from dc1's, and dc1 answers an echo request late.
"""

import os
import re
import subprocess
import sys
import time
import unittest

from domain import (FIRST, SECOND, Agent, Questions, links, modify, on_machine, search, until,
                    url)
from live_test import BASE, lab, sample

APART_S = 120
LATE_MS = 150
MARKER = f"CN=dc1,CN=LostAndFound,{BASE}"


def seconds(generalized):
    """A directory's time as seconds, whichever zone."""
    return int(time.mktime(time.strptime(generalized[:14], "%Y%m%d%H%M%S")))


def clock(server):
    ((_, root),) = search(server, "", "base", "(objectClass=*)", ["currentTime"])
    return seconds(root["currenttime"][0].decode())


def marker(server):
    """(description, when it was changed there) of the latency measurement's object, or None."""
    found = search(server, MARKER, "base", "(objectClass=*)", ["description", "whenChanged"])
    return found and (found[0][1]["description"][0], seconds(found[0][1]["whenchanged"][0].decode()))


def latency_row():
    rows, done = sample("DCWNTDSRLT", url(FIRST))
    assert len(rows) == 1, done.stderr
    return rows[0]


def replicating():
    """Whether every link of both controllers has succeeded in its last attempt."""
    return {failures for machine in ("dc1", "dc2") for failures, _ in links(machine).values()} == {0}


def setUpModule():
    lab("add-controller")


class ClockTest(unittest.TestCase):
    maxDiff = 4000

    def test_10_latency_of_a_change_that_replicates_between_clocks_set_apart(self):
        lab("stop", "dc2")
        lab("start", "dc2", f"+{APART_S}")
        try:
            if marker(FIRST):
                modify(FIRST, f"dn: {MARKER}\nchangetype: delete\n")
            until(lambda: marker(SECOND) == [])
            until(replicating)
            # The oracle itself sees the clocks apart; both are read one after the other.
            self.assertIn(clock(SECOND) - clock(FIRST) - APART_S, range(-3, 4))
            # The first row makes the marker, and one after it finds that it has arrived.
            row = until(lambda: (row := latency_row())["rltlat"] != -1 and row)
            own, copy = marker(FIRST), marker(SECOND)
            self.assertEqual(own[0], copy[0])
            self.assertIn(row["rltcld"] - APART_S, range(-3, 4))
            self.assertEqual(row["rltlat"], copy[1] - own[1] - row["rltcld"])
        finally:
            lab("stop", "dc2")
            lab("start", "dc2")

    def test_20_the_change_of_the_clock_difference_from_sample_to_sample(self):
        with Agent("DCWNTDSRLT", FIRST) as agent:
            agent.until(lambda rows: len(rows) >= 2)
            lab("stop", "dc2")
            lab("start", "dc2", f"-{APART_S}")
            try:
                agent.until(lambda rows: rows[-1]["rltcld"] < -APART_S / 2)
                count = len(agent.rows())
                agent.until(lambda rows: len(rows) >= count + 2)
                agent.stop()
            finally:
                lab("stop", "dc2")
                lab("start", "dc2")
            rows = agent.rows()
        self.assertEqual({row["rltpart"] for row in rows}, {"DC2"})
        self.assertEqual(rows[0]["rltccd"], 0)
        self.assertEqual([row["rltccd"] for row in rows[1:]],
                         [row["rltcld"] - rows[at]["rltcld"] for at, row in enumerate(rows[1:])])
        self.assertLess(min(row["rltccd"] for row in rows), -APART_S + 4)
        self.assertIn(rows[0]["rltcld"], range(-2, 3))

    def test_30_role_holders_answer_as_late_as_the_ping_program_says(self):
        with LateEcho():
            def heard():
                """The row's figures and the program's, where both saw the machine undisturbed."""
                before = ping_average_ms(FIRST)
                rows, done = sample("DCWNTDSDCA", url(FIRST))
                assert done.returncode == 0, done.stderr
                after = ping_average_ms(FIRST)
                found = {rows[0][f"dca{role}p"] for role in ("pdc", "rid", "inf", "sch", "dn")}
                self.assertGreaterEqual(min(*found, before, after), LATE_MS)
                return max(found) - min(found) <= 10 and \
                    all(abs(figure - found_ms) <= 10 for figure in (before, after)
                        for found_ms in found)
            until(heard)
        with Questions(FIRST) as questions:
            until(lambda: abs(questions.ask("reach", FIRST)["average_ms"] - ping_average_ms(FIRST)) < 5)
            self.assertLess(ping_average_ms(FIRST), LATE_MS)


class LateEcho:
    """dc1 answers echo requests late: its kernel keeps silent, and late_echo.py answers for it."""

    SWITCH = "/proc/sys/net/ipv4/icmp_echo_ignore_all"

    def __enter__(self):
        program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "late_echo.py")
        self.process = subprocess.Popen(
            on_machine("dc1", sys.executable, "-B", program, str(LATE_MS)), stdout=subprocess.PIPE)
        assert self.process.stdout.readline() == b"ready\n"
        self.switch("1")
        return self

    def switch(self, value):
        subprocess.run(on_machine("dc1", "sh", "-c", f"echo {value} >{self.SWITCH}"), check=True,
                       timeout=30)

    def __exit__(self, *_):
        self.switch("0")
        self.process.terminate()
        self.process.wait(30)
        self.process.stdout.close()


def ping_average_ms(host):
    done = subprocess.run(["ping", "-n", "-c", "2", host], capture_output=True, text=True, check=True,
                          timeout=60, env={**os.environ, "LC_ALL": "C"})
    return float(re.search(r"min/avg/max/mdev = [\d.]+/([\d.]+)/", done.stdout)[1])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose", *sys.argv[1:]], failfast=False)
