"""The trust suite: two forests that trust each other, for the tables of trusts and of their topology,
against ldapsearch and samba-tool.

The agent runs on dc1 here, because a trust is verified by the controller that it stands on. Cases
run in the order of their numbers: one makes the trust, the next ones look at it, the last takes it
away.
"""

import json
import os
import re
import subprocess
import sys
import unittest

from domain import (FIRST, Agent, lasting, on_machine, record, samba_tool, search, settings, texts,
                    until, url)
from live_test import BASE, DIRWATCH, lab, run_program, sample, write_file

OTHER = os.environ["LAB_OTHER_SERVER"]
OTHER_DOMAIN = OTHER.partition(".")[2]
DOMAIN = FIRST.partition(".")[2]
SYSTEM = "CN=System," + BASE

TYPES = {1: "DOWNLEVEL", 2: "UPLEVEL", 3: "MIT", 4: "DCE"}
DIRECTIONS = {0: "DISABLED", 1: "INBOUND_TRUST", 2: "OUTBOUND_TRUST", 3: "TWO_WAY_TRUST"}
MIRRORED = {"INBOUND_TRUST": "OUTBOUND_TRUST", "OUTBOUND_TRUST": "INBOUND_TRUST",
            "TWO_WAY_TRUST": "TWO_WAY_TRUST"}
# samba-tool's own words for a direction.
LISTED = {"INCOMING": "INBOUND_TRUST", "OUTGOING": "OUTBOUND_TRUST", "BOTH": "TWO_WAY_TRUST"}


def administrator_of_the_other():
    with open(os.environ["LAB_PASSWORD_FILE"], encoding="ascii") as file:
        return ["-U", f"Administrator@{OTHER_DOMAIN.upper()}%{file.read()}"]


def trust_the_other(*more):
    samba_tool("dc1", "domain", "trust", "create", OTHER_DOMAIN, "--type=external",
               "--direction=both", "--create-location=both", "--quarantined=no", *more,
               *administrator_of_the_other())


def distrust_the_other():
    samba_tool("dc1", "domain", "trust", "delete", OTHER_DOMAIN, "--delete-location=both",
               *administrator_of_the_other())


def listed():
    """{partner: direction} by samba-tool."""
    found = re.findall(r"Direction\[(\w+)\]\s+Name\[(.*?)\]",
                       samba_tool("dc1", "domain", "trust", "list"))
    return {name: LISTED[direction] for direction, name in found}


def stored(*names):
    """The trusted-domain objects, by ldapsearch."""
    return [entry for _, entry in search(FIRST, SYSTEM, "one", "(objectClass=trustedDomain)",
                                         ["trustPartner", "flatName", "trustDirection", "trustType",
                                          "trustAttributes", *names])]


def number(entry, name):
    return int(texts(entry, name)[0])


def verified(partner):
    """Whether samba-tool on dc1 finds the trust in order."""
    done = run_program([os.environ["LAB_PROGRAM"], "exec", "dc1", "samba-tool", "domain", "trust",
                        "validate", partner, "--validate-location=local", *settings("dc1")])
    return done.returncode == 0


def change_database(tool, change):
    """A trusted-domain object is the system's own: only the database itself takes one from hand."""
    folder = os.path.join(os.environ["LAB_ROOT"], "dc1")
    subprocess.run([os.environ["LAB_PROGRAM"], "exec", "dc1", tool, "-H",
                    os.path.join(folder, "private", "sam.ldb"),
                    "--configfile=" + settings("dc1")[1], write_file("trust.ldif", change)],
                   check=True, capture_output=True, timeout=60)


class OneWayTrust:
    """A trust with a domain that nobody runs, for the forms that no two Samba forests make."""

    def __init__(self, name, direction, type_, attributes):
        self.dn = f"CN={name},{SYSTEM}"
        change_database("ldbadd", f"dn: {self.dn}\nobjectClass: trustedDomain\n"
                        f"trustPartner: {name}\nflatName: {name.partition('.')[0].upper()}\n"
                        f"trustDirection: {direction}\ntrustType: {type_}\n"
                        f"trustAttributes: {attributes}\n")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        change_database("ldbmodify", f"dn: {self.dn}\nchangetype: delete\n")

    def becomes(self, **values):
        change_database("ldbmodify", f"dn: {self.dn}\nchangetype: modify\n" + "-\n".join(
            f"replace: {name}\n{name}: {value}\n" for name, value in values.items()))


def trust_rows():
    return sample("DCWNTDSTRS", url(FIRST), on=on_machine("dc1"))


def told(row):
    return (row["trsnbnam"], row["trsdomnam"], row["trsdir"], row["trstyp"], row["trsstat"],
            row["trsadd"], row["trsdrp"])


def edges(entry):
    """What TrustTopology must show of a trusted-domain object of this domain."""
    direction = DIRECTIONS[number(entry, "trustDirection")]
    partner = texts(entry, "trustPartner")[0].upper()
    # (trusting, trusted): an inbound trust is one by which the partner trusts us.
    ends = (partner, DOMAIN.upper()) if direction == "INBOUND_TRUST" else (DOMAIN.upper(), partner)
    attributes = number(entry, "trustAttributes")
    place = "EXTERNAL" if not attributes & 32 and attributes & (4 | 8 | 64) else "INTERNAL"
    kind = TYPES[number(entry, "trustType")]
    rows = [(*ends, kind, direction, place)]
    if direction in MIRRORED:
        rows.append((*reversed(ends), kind, MIRRORED[direction], place))
    return rows


def topology_rows():
    rows, done = sample("DCWNTDSTTP", url(FIRST))
    return [(row["trstpfrm"], row["trstpdmnm"], row["trstptyp"], row["trstpdir"], row["trstprln"])
            for row in rows], done


def setUpModule():
    lab("add-forest")


class TrustTest(unittest.TestCase):
    maxDiff = 4000

    def test_10_no_trust_is_no_row(self):
        self.assertEqual(stored(), [])
        rows, done = trust_rows()
        self.assertEqual((rows, done.returncode, done.stderr.splitlines()[-1:]),
                         ([], 1, ["dirwatch: no rows from DCWNTDSTRS"]))
        rows, done = topology_rows()
        self.assertEqual((rows, done.returncode, done.stderr.splitlines()[-1:]),
                         ([], 1, ["dirwatch: no rows from DCWNTDSTTP"]))

    def test_20_a_real_trust_as_samba_tool_lists_and_verifies_it(self):
        trust_the_other()
        (entry,) = stored()
        self.assertEqual(listed(), {OTHER_DOMAIN: "TWO_WAY_TRUST"})
        self.assertTrue(verified(OTHER_DOMAIN))
        rows, done = trust_rows()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([told(row) for row in rows],
                         [(texts(entry, "flatName")[0], OTHER_DOMAIN, "TWO_WAY_TRUST", "UPLEVEL",
                           "Success", "FALSE", "FALSE")])
        self.assertEqual((rows[0]["trshn"], rows[0]["trsldom"], rows[0]["rowno"]), (FIRST, "", 1))

    def test_21_the_topology_of_a_real_trust(self):
        (entry,) = stored()
        rows, done = topology_rows()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(rows, edges(entry))
        self.assertEqual(rows, [
            (DOMAIN.upper(), OTHER_DOMAIN.upper(), "UPLEVEL", "TWO_WAY_TRUST", "INTERNAL"),
            (OTHER_DOMAIN.upper(), DOMAIN.upper(), "UPLEVEL", "TWO_WAY_TRUST", "INTERNAL")])

    def test_22_a_recording_of_the_trust_gives_the_live_rows_of_both_tables(self):
        folder = record("trust-recording")
        # What the commands said is no part of a recording yet: it is put in by hand.
        said = run_program(on_machine("dc1", os.path.join(
            os.path.dirname(DIRWATCH), "..", "commands", "netdom"), "verify", "dc1",
                                      "/DOMAIN:OTHER")).stdout
        with open(os.path.join(folder, "commands.json"), "w", encoding="utf-8") as file:
            json.dump({"commands": [{"command": "netdom verify dc1 /DOMAIN:OTHER",
                                     "output": said}]}, file)
        live, replayed = trust_rows()[0], sample("DCWNTDSTRS", folder)[0]
        self.assertEqual(lasting(replayed), lasting(live))
        self.assertEqual([row["trsstat"] for row in replayed], ["Success"])
        self.assertEqual(lasting(sample("DCWNTDSTTP", folder)[0]),
                         lasting(sample("DCWNTDSTTP", url(FIRST))[0]))
        with open(os.path.join(folder, "trusts.json"), encoding="utf-8") as file:
            servers = json.load(file)["servers"]
        (entry,) = stored("securityIdentifier")
        sid = entry["securityidentifier"][0]
        parts = [int.from_bytes(sid[at:at + 4], "little") for at in range(8, len(sid), 4)]
        self.assertEqual(servers[FIRST]["trusts"][0]["sid"],
                         "-".join(str(part) for part in ("S-1", sid[7], *parts)))
        with open(os.path.join(folder, "directory.ldif"), encoding="utf-8") as file:
            names = {line.partition(":")[0].lower() for line in file}
        self.assertIn("trustpartner", names)
        self.assertFalse(names & {"trustauthincoming", "trustauthoutgoing"})

    def test_30_a_trust_that_goes_and_comes_back_is_told_once_each(self):
        # A second one stays all the time: a sample without any trust tells nothing of the next one.
        with OneWayTrust("steady.example", 1, 2, 0), \
                Agent("DCWNTDSTRS", FIRST, machine="dc1") as agent:
            agent.until(lambda rows: len(rows) >= 4)
            distrust_the_other()
            agent.until(lambda rows: "TRUE" in [row["trsdrp"] for row in rows])
            self.assertEqual(listed(), {"steady.example": "INBOUND_TRUST"})
            trust_the_other("--skip-validation")
            agent.until(lambda rows: "TRUE" in [row["trsadd"] for row in rows])
            count = len(agent.rows())  # and on: it must not be told again
            agent.until(lambda rows: len(rows) >= count + 4)
            agent.stop()
            rows = agent.rows()
        self.assertEqual([row["rowno"] for row in rows], list(range(1, len(rows) + 1)))
        self.assertEqual({told(row) for row in rows if row["trsnbnam"] == "STEADY"}, {
            ("STEADY", "steady.example", "INBOUND_TRUST", "UPLEVEL", "NOT_AVAILABLE", "FALSE",
             "FALSE")})
        # How verifying it went while it was being made and taken away is nobody's promise.
        steps = []
        for row in rows:
            entry = told(row)
            if entry[0] == "OTHER" and (*entry[1:4], *entry[5:]) not in steps[-1:]:
                steps.append((*entry[1:4], *entry[5:]))
        here = (OTHER_DOMAIN, "TWO_WAY_TRUST", "UPLEVEL")
        self.assertEqual(steps, [(*here, "FALSE", "FALSE"), ("", "", "", "FALSE", "TRUE"),
                                 (*here, "TRUE", "FALSE"), (*here, "FALSE", "FALSE")])
        for column in ("trsadd", "trsdrp"):
            self.assertEqual([row[column] for row in rows].count("TRUE"), 1)
        self.assertEqual([row["trsstat"] for row in rows if row["trsdrp"] == "TRUE"], ["None"])
        # The first collection knows no domain yet, every later one that of the one before.
        self.assertEqual({row["trsldom"] for row in rows[:2]}, {""})
        self.assertEqual({row["trsldom"] for row in rows[2:]}, {DOMAIN})

    def test_31_the_trust_made_anew_is_verified_once_the_controller_has_forgotten_the_old_one(self):
        # A running Samba goes on with the secret of the trust that was there before.
        lab("stop", "dc1")
        lab("start", "dc1")
        until(lambda: verified(OTHER_DOMAIN))
        rows, done = trust_rows()
        self.assertEqual([(row["trsnbnam"], row["trsstat"]) for row in rows],
                         [("OTHER", "Success")], done.stderr)

    def test_32_a_trust_whose_other_end_is_stopped_has_failed(self):
        # The last to need the other end: it is remembered for half a minute that it did not answer.
        lab("stop", "far1")
        try:
            self.assertFalse(verified(OTHER_DOMAIN))
            rows, done = trust_rows()
            self.assertEqual([row["trsstat"] for row in rows], ["Failed"], done.stderr)
        finally:
            lab("start", "far1")

    def test_40_a_trust_taken_away_leaves_both_tables(self):
        distrust_the_other()
        self.assertEqual((stored(), listed()), ([], {}))
        self.assertEqual((topology_rows()[0], trust_rows()[0]), ([], []))

    def test_41_the_topology_of_every_kind_of_trust_as_ldapsearch_shows_it(self):
        with OneWayTrust("kinds.example", 1, 2, 8) as trust:
            for direction, type_, attributes in ((1, 2, 8), (2, 1, 64), (0, 3, 4), (3, 4, 40), (2, 3, 0)):
                trust.becomes(trustDirection=direction, trustType=type_, trustAttributes=attributes)
                (entry,) = stored()
                self.assertEqual([number(entry, name) for name in (
                    "trustDirection", "trustType", "trustAttributes")],
                                 [direction, type_, attributes])
                rows, done = topology_rows()
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(rows, edges(entry))
                self.assertEqual(len(rows), 2 if direction else 1)

    def test_42_the_list_of_every_kind_of_trust_verifies_what_points_outward(self):
        with OneWayTrust("kinds.example", 1, 2, 0) as trust:
            for direction, type_, text in ((1, 2, "NOT_AVAILABLE"), (2, 1, "Failed"),
                                           (3, 3, "Failed")):
                trust.becomes(trustDirection=direction, trustType=type_)
                rows, done = trust_rows()
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual([told(row) for row in rows], [
                    ("KINDS", "kinds.example", DIRECTIONS[direction], TYPES[type_], text, "FALSE",
                     "FALSE")])
            self.assertFalse(verified("kinds.example"))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose", *sys.argv[1:]], failfast=False)
