"""The SYSVOL suite: the agent's test files on the real shares of two controllers.

Samba leaves the copying of SYSVOL to others, and here this test does it: it decides what becomes of
each test file that the agent writes to dc1. smbclient and the folders behind the shares say what is
there.
"""

import contextlib
import os
import re
import subprocess
import sys
import time
import unittest

from domain import DOMAIN, FIRST, SECOND, Agent, until
from live_test import lab

GAP_S = 10
TEST_FILE = re.compile(r"(\d{4}_\d\d_\d\d_\d\d_\d\d_\d\d_\d{3})_dc1\.txt")


def folder(machine):
    return os.path.join(os.environ["LAB_ROOT"], machine, "state", "sysvol", DOMAIN)


def files_on(machine):
    return {name for name in os.listdir(folder(machine)) if name not in ("Policies", "scripts")}


def listed(server):
    """The test files on the server's share, as smbclient lists them."""
    done = subprocess.run(["smbclient", "--use-kerberos=required", f"//{server}/SYSVOL", "-c",
                           f"ls {DOMAIN}/*"], capture_output=True, text=True, check=True, timeout=60)
    names = [line.split()[0] for line in done.stdout.splitlines() if line.startswith("  ")]
    return set(names) - {".", "..", "Policies", "scripts"}


def content(machine, name):
    with open(os.path.join(folder(machine), name), "rb") as file:
        return file.read()


def replicate(name, data):
    """Puts the file on dc2 as file replication does: it appears there when it is whole."""
    path = os.path.join(folder("dc2"), name)
    with open(path + ".incoming", "wb") as file:
        file.write(data)
    os.rename(path + ".incoming", path)


class SysvolAgent(Agent):
    """The agent in the middle of a test: its file is on dc1."""

    def __init__(self, gap_s=GAP_S, **environment):
        before = files_on("dc1")
        super().__init__("DCWSYSRPL", FIRST, DWA_SYSVOL_REPLICATION_TEST_INTERVAL="5",
                         DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL="0",
                         FILE_CREATION_AND_REPLICATION_START_GAP=str(gap_s), **environment)
        (self.file,) = self.until(lambda _: files_on("dc1") - before)
        self.stamp = TEST_FILE.fullmatch(self.file)[1]
        # It is made first and written then.
        until(lambda: content("dc1", self.file) == self.stamp.encode())


def setUpModule():
    lab("add-controller")


class SysvolTest(unittest.TestCase):
    maxDiff = 4000

    def assert_nothing_left(self):
        self.assertEqual((files_on("dc1"), files_on("dc2")), (set(), set()))
        self.assertEqual((listed(FIRST), listed(SECOND)), (set(), set()))

    def test_10_what_arrives_arrives_changed_and_never_arrives(self):
        # Side by side, because each takes the gap's time.
        self.assert_nothing_left()
        unforced = {"DWA_SYSVOL_FORCE_REPLICATION_FLAG": "FALSE"}
        with contextlib.ExitStack() as stack:
            whole = stack.enter_context(SysvolAgent())
            replicate(whole.file, content("dc1", whole.file))
            changed = stack.enter_context(SysvolAgent(**unforced))
            replicate(changed.file, content("dc1", changed.file) + b"\n")
            lost = stack.enter_context(SysvolAgent(**unforced))
            agents = (whole, changed, lost)
            seen = listed(FIRST), listed(SECOND)
            for agent in agents:
                # What is there after a look was there during it: dc1's file is the first to go.
                if agent.file in files_on("dc1"):
                    self.assertEqual([agent.file in names for names in seen],
                                     [True, agent is not lost])
            for agent, arrived in ((whole, 1), (changed, 0), (lost, 0)):
                row = agent.until(lambda rows: rows and rows[0])
                self.assertEqual((row["syspn"], row["sysrs"]), ("dc2", arrived), agent.said())
                self.assertLessEqual(row["sysrtst"][:16], row["timestamp"])
                self.assertLessEqual(row["sysrtst"], row["sysrtvt"])
                self.assert_stamp_is_before(agent.stamp, row["sysrtst"])
            # Each cleans up after itself, on both shares, long before it is stopped.
            until(lambda: not files_on("dc1") and not files_on("dc2"), 30)
            for agent in agents:
                self.assertIsNone(agent.process.poll())
                self.assertEqual({row["sysrs"] for row in agent.rows()}, {agent.rows()[0]["sysrs"]})
        self.assert_nothing_left()

    def assert_stamp_is_before(self, stamp, column):
        """The gap lies between the file's name, in universal time, and the start of the test."""
        made = time.mktime(time.strptime(stamp[:19], "%Y_%m_%d_%H_%M_%S")) - time.timezone
        began = time.mktime(time.strptime(str(1900 + int(column[:3])) + column[3:13],
                                          "%Y%m%d%H%M%S"))
        self.assertGreaterEqual(began - made, GAP_S - 1)

    def test_20_a_stop_in_the_middle_of_a_test_leaves_no_file_on_either_share(self):
        with SysvolAgent(gap_s=600) as agent:
            replicate(agent.file, content("dc1", agent.file))
            self.assertEqual((listed(FIRST), listed(SECOND)), ({agent.file}, {agent.file}))
            agent.stop()
            self.assertEqual(agent.rows(), [])
            self.assert_nothing_left()

    def test_30_a_partner_that_is_stopped_has_not_received_it(self):
        lab("stop", "dc2")
        try:
            with SysvolAgent(gap_s=1, DWA_SYSVOL_FORCE_REPLICATION_FLAG="FALSE") as agent:
                row = agent.until(lambda rows: rows and rows[0])
                self.assertEqual((row["syspn"], row["sysrs"]), ("dc2", 0))
                until(lambda: not files_on("dc1"), 30)
        finally:
            lab("start", "dc2")
        self.assert_nothing_left()


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose", *sys.argv[1:]], failfast=False)
