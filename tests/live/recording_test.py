"""The recording suite: what `dirwatch record` writes of a live forest, replayed.

The replayed rows are held against live rows from before and after the recording, which must agree
with one another first: replication goes on all the time.
"""

import json
import os
import sys
import unittest

from domain import (BRANCH_SITE, DOMAIN, FIRST, HOME_SITE, SECOND, lasting, links, record, search,
                    until, url)
from live_test import BASE, lab, sample


def setUpModule():
    lab("add-controller")


def rows_of(table, place):
    rows, done = sample(table, place)
    assert done.returncode == 0, done.stderr
    return lasting(rows)


def written(folder, name):
    with open(os.path.join(folder, name), encoding="utf-8") as file:
        return json.load(file)


class RecordingTest(unittest.TestCase):
    maxDiff = 4000
    folder = None  # the first recording, for the cases after it

    def test_10_a_replayed_forest_gives_the_live_rows(self):
        until(lambda: {failures for machine in ("dc1", "dc2")
                       for failures, _ in links(machine).values()} == {0})
        names = (f"forest-recording-{number}" for number in range(100))

        def recorded():
            before = rows_of("DCWNTDSRPL", url(FIRST))
            folder = record(next(names))
            return rows_of("DCWNTDSRPL", url(FIRST)) == before and (before, folder)
        live, folder = until(recorded)
        type(self).folder = folder
        self.assertEqual(len(live), 5)
        self.assertEqual(rows_of("DCWNTDSRPL", folder), live)
        for table in ("DCWNTDSCNT", "DCWNTDSLFO", "DCWNTDSRDS"):
            self.assertEqual(rows_of(table, folder), rows_of(table, url(FIRST)), table)
        # A walk of the whole forest comes in the order of whoever walks it.
        by_name = [sorted(rows_of("DCWNTDSFRT", place), key=lambda row: row["frthstnm"])
                   for place in (folder, url(FIRST))]
        self.assertEqual(*by_name)

    def test_11_the_files_hold_what_the_other_tools_see(self):
        folder = self.folder or record("forest-recording")
        locator = written(folder, "locator.json")["controllers"]
        self.assertEqual({(one["name"], one["site"], one["domain"], one["answers"])
                          for one in locator},
                         {(FIRST, HOME_SITE, DOMAIN, True), (SECOND, BRANCH_SITE, DOMAIN, True)})
        self.assertEqual([one["name"] for one in locator if "PDC" in one["flags"]], [FIRST])
        ((_, head),) = search(FIRST, BASE, "base", "(objectClass=*)", ["objectGUID"])
        guid = head["objectguid"][0]
        text = guid[3::-1].hex() + guid[5:3:-1].hex() + guid[7:5:-1].hex() + guid[8:].hex()
        self.assertEqual({one["domain_guid"].replace("-", "") for one in locator}, {text})
        replication = written(folder, "replication.json")["servers"]
        self.assertEqual(set(replication), {FIRST, SECOND})
        for machine, server in (("dc1", FIRST), ("dc2", SECOND)):
            found = {(link["naming_context"], link["source_dsa"].split(",")[1][3:])
                     for link in replication[server]["neighbours"]}
            self.assertEqual(found, set(links(machine)))
        self.assertEqual(written(folder, "trusts.json")["servers"],
                         {FIRST: {"trusts": []}, SECOND: {"trusts": []}})
        with open(os.path.join(folder, "README.md"), encoding="utf-8") as file:
            named = {line.split("`")[1] for line in file if line.startswith("| `")}
        self.assertEqual(named | {"README.md"}, set(os.listdir(folder)))

    def test_20_a_controller_that_is_down_is_recorded_as_one(self):
        lab("stop", "dc2")
        try:
            folder = record("one-down-recording")
        finally:
            lab("start", "dc2")
        locator = written(folder, "locator.json")["controllers"]
        self.assertEqual({one["name"]: one["answers"] for one in locator},
                         {FIRST: True, SECOND: False})
        for name in ("replication.json", "trusts.json"):
            servers = written(folder, name)["servers"]
            self.assertEqual((servers[FIRST].get("status"), servers[SECOND]["status"]), (None, 1722))
        # The recorded machine still has its rows; who is down has none to give.
        self.assertEqual(len(rows_of("DCWNTDSRPL", folder)), 5)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose", *sys.argv[1:]], failfast=False)
