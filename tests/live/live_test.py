"""The live suite: rows from a real directory against what ldapsearch says of the same directory.

Runs as a client of the lab (tests/live/run_live.sh). LAB_* name the lab, DIRECTORY_PROBE and
DIRWATCH the programs under test. Cases run in the order of their numbers, because the later ones
add containers and stop servers.
"""

import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

import oracle
from cutting_proxy import CuttingProxy

# Half an hour off, so that no time text is right by accident.
os.environ["TZ"] = "LAB-05:30"
time.tzset()

DIRWATCH = os.environ.get("DIRWATCH")
PROBE = os.environ["DIRECTORY_PROBE"]
BASE = os.environ["LAB_BASE"]
LDAPI = oracle.ldapi_url()
SERVER = os.environ["LAB_SERVER"]
LDAP = "ldap://" + SERVER
LDAPS = "ldaps://" + SERVER
COLUMNS = ("cntpart", "cntcmnm", "cntdisnm", "cntcls", "cntcrts", "cntmdts")
SIMPLE = {"DIRWATCH_BIND_DN": os.environ["LAB_BIND_DN"],
          "DIRWATCH_BIND_PASSWORD_FILE": os.environ["LAB_PASSWORD_FILE"],
          "DIRWATCH_TLS_CA": os.environ["LAB_CA_FILE"]}
TRACE_TO_ERRORS = "[trace]\nflags = 128\nconsole = true\n"
needs_dirwatch = unittest.skipUnless(DIRWATCH, "DIRWATCH does not name the program")


def lab(*command):
    subprocess.run([os.environ["LAB_PROGRAM"], *command], check=True, timeout=300)


def scratch(name):
    return os.path.join(os.environ["LAB_ROOT"], name)


def write_file(name, text):
    path = scratch(name)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    return path


def run_program(arguments, timeout=120, **environment):
    return subprocess.run(arguments, capture_output=True, text=True, timeout=timeout, check=False,
                          env={**os.environ, **environment})


def sample(table, url, trace=False, on=(), **environment):
    """The rows of one sample, and the finished program; on: what runs a program on a machine."""
    command = [*on, DIRWATCH, "sample", table, "--controller", url, "--format", "json"]
    if trace:
        command += ["--config", write_file("trace.toml", TRACE_TO_ERRORS)]
    done = run_program(command, **environment)
    return [json.loads(line) for line in done.stdout.splitlines()], done


def containers(rows):
    return [{name: row[name] for name in COLUMNS} for row in rows]


def contexts():
    return oracle.root()["namingcontexts"]


class Probe:
    """directory_probe as a conversation."""

    def __init__(self, url, **environment):
        self.errors = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen([PROBE, url], stdin=subprocess.PIPE, text=True,
                                        stdout=subprocess.PIPE, stderr=self.errors,
                                        env={**os.environ, **environment})
        self.facts = self._answer()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(30)
        self.process.stdout.close()
        self.errors.close()

    def _answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError("the probe ended: " + self.trace())
        return json.loads(line)

    def trace(self):
        self.errors.seek(0)
        return self.errors.read()

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self._answer()


class LiveTest(unittest.TestCase):
    maxDiff = 4000

    def assert_same_rows(self, rows, wanted):
        """Equal, without printing 20,000 rows when they are not."""
        self.assertGreater(len(wanted), 0)
        for row, want in zip(rows, wanted):
            self.assertEqual(row, want)
        self.assertEqual(len(rows), len(wanted))

    def assert_walk(self, answer, base):
        wanted = [{"dn": dn, "cn": e["cn"][0].decode() if "cn" in e else "",
                   "class": e["objectclass"][1].decode(),
                   "created": e["whencreated"][0].decode(),
                   "modified": e["whenchanged"][0].decode()} for dn, e in oracle.children(base)]
        self.assertEqual(answer["result"], "00000001")
        self.assertEqual(answer["again"], "00000001")
        self.assert_same_rows(answer["children"], wanted)

    # The directory, by the platform's own interface.

    def test_10_the_machine_is_the_one_that_the_root_object_names(self):
        with Probe(LDAPI) as probe:
            host, _, suffix = oracle.root()["dnshostname"][0].partition(".")
            self.assertEqual(probe.facts, {"host_name": host, "dns_suffix": suffix,
                                           "counters": False, "registry": False})

    def test_11_children_come_as_ldapsearch_lists_them_and_in_that_order(self):
        with Probe(LDAPI) as probe:
            for context in contexts():
                self.assert_walk(probe.ask("walk " + context), context)

    def test_12_octets_arrive_raw(self):
        ((_, entry),) = oracle.ldapsearch(BASE, "base", ["objectGUID", "objectSid"])
        with Probe(LDAPI) as probe:
            answer = probe.ask(f"read {BASE}; objectGUID objectSid")
        for name in ("objectGUID", "objectSid"):
            self.assertEqual(answer["attributes"][name], [entry[name.lower()][0].hex()])

    def test_13_a_missing_object_and_a_broken_name_are_told_apart(self):
        with Probe(LDAPI) as probe:
            self.assertEqual(probe.ask(f"read CN=nobody,{BASE}; cn")["result"], "80072030")
            self.assertEqual(probe.ask(f"walk CN=nobody,{BASE}")["result"], "80072030")
            self.assertEqual(probe.ask("read no name at all; cn")["result"], "80072032")

    def test_14_the_controllers_own_names_all_lead_to_the_given_address(self):
        with Probe(LDAPI, KRB5CCNAME="FILE:/nonexistent") as probe:
            for name in ("", "dc1", "DC1.corp.example", "corp.example"):
                answer = probe.ask("server " + name)
                self.assertEqual((answer["result"], answer["dnsHostName"]), ("00000000", SERVER))

    def test_15_a_name_that_is_nobodys_is_a_server_that_is_down(self):
        with Probe(LDAP) as probe:
            self.assertEqual(probe.ask("server dc9")["result"], "8007203a")
            self.assertEqual(probe.ask("server")["result"], "00000000")

    def test_16_walks_inside_a_walk_share_one_connection(self):
        wanted = []
        for dn, _ in oracle.children(BASE):
            wanted += [child for child, _ in oracle.children(dn)]
        with Probe(LDAPI) as probe:
            answer = probe.ask("nested " + BASE)
        self.assertEqual(answer["result"], "00000001")
        self.assertEqual(answer["grandchildren"], wanted)

    def test_17_a_connection_that_died_unused_is_replaced_within_the_question(self):
        with Probe(LDAPI) as probe:
            probe.ask("server")
            lab("stop", "dc1")
            try:
                self.assertEqual(probe.ask("server")["result"], "8007203a")
            finally:
                lab("start", "dc1")
            self.assert_walk(probe.ask("walk " + BASE), BASE)
            lab("stop", "dc1")
            lab("start", "dc1")
            self.assert_walk(probe.ask("walk " + BASE), BASE)

    def test_18_an_object_is_made_changed_and_removed(self):
        with Probe(LDAPI) as probe:
            answer = probe.ask(f"write CN=marker.test,CN=LostAndFound,{BASE}")
        self.assertEqual("80072030", answer["no_parent"])
        self.assertEqual(["00000000"] * 4, [answer[step] for step in
                                            ("add", "modify", "take_away", "remove")])
        self.assertEqual("80071392", answer["add_again"])
        self.assertEqual("80072030", answer["remove_again"])
        self.assertEqual(["marker.test", "first\n"], answer["added"][:2])
        self.assertRegex(answer["added"][2], r"^20\d{12}\.0Z$")
        self.assertEqual("second\n", answer["modified"])
        self.assertTrue(answer["taken_away"])

    # Identities.

    @needs_dirwatch
    def test_20_local_socket_kerberos_and_simple_bind_give_the_same_rows(self):
        wanted = oracle.container_rows(contexts())
        for url, environment in ((LDAPI, {}), (LDAP, {}), (LDAPS, SIMPLE)):
            with self.subTest(url):
                rows, done = sample("DCWNTDSCNT", url, **environment)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assert_same_rows(containers(rows), wanted)

    def refused(self, url, **environment):
        done = subprocess.run(
            [PROBE, url], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
            check=False, env={**os.environ, **environment})
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, "")
        return done.stderr

    def test_21_without_a_ticket_the_error_says_kinit(self):
        self.assertIn("kinit", self.refused(LDAP, KRB5CCNAME="FILE:/nonexistent"))

    def test_22_a_certificate_of_an_unknown_authority_is_refused(self):
        environment = {**SIMPLE, "DIRWATCH_TLS_CA": ""}
        self.assertIn("DIRWATCH_TLS_CA", self.refused(LDAPS, **environment))
        with Probe(LDAPS, **environment, DIRWATCH_TLS_VERIFY="no") as probe:
            self.assertEqual(probe.facts["host_name"], "dc1")

    def test_23_a_password_never_travels_readable_unasked(self):
        self.assertIn("DIRWATCH_ALLOW_PLAIN_BIND", self.refused(LDAP, **SIMPLE))
        with Probe(LDAP, **SIMPLE, DIRWATCH_ALLOW_PLAIN_BIND="1") as probe:
            self.assertEqual(probe.facts["host_name"], "dc1")

    def test_24_a_password_file_that_others_may_read_is_refused(self):
        path = write_file("open-password", "Passw0rd.1\n")
        os.chmod(path, 0o644)
        self.assertIn("chmod 600",
                      self.refused(LDAPS, **{**SIMPLE, "DIRWATCH_BIND_PASSWORD_FILE": path}))

    def test_25_a_wrong_password_is_told(self):
        path = write_file("wrong-password", "wrong\n")
        os.chmod(path, 0o600)
        self.assertIn("DIRWATCH_BIND_PASSWORD_FILE",
                      self.refused(LDAPS, **{**SIMPLE, "DIRWATCH_BIND_PASSWORD_FILE": path}))

    def test_26_nobody_at_the_address_is_told_with_what_to_check(self):
        self.assertIn("check the address", self.refused("ldap://dc1.corp.example:3890"))

    # Tables.

    @needs_dirwatch
    def test_30_root_dse_server_equals_the_root_object(self):
        root = oracle.root()
        rows, done = sample("DCWNTDSRDS", LDAPI)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(rows), 1)
        row = rows[0]
        forest = root["rootdomainnamingcontext"][0]
        dns = ".".join(part.partition("=")[2] for part in forest.split(","))
        self.assertEqual((row["rdsrdn"], row["rdsfdn"]), (forest, dns))
        self.assertEqual((row["rdsdcfun"], row["rdsdmfun"], row["rdsfrfun"]),
                         tuple(int(root[name][0]) for name in (
                             "domaincontrollerfunctionality", "domainfunctionality",
                             "forestfunctionality")))

    @needs_dirwatch
    def test_31_a_recording_replayed_gives_the_rows_of_the_live_directory(self):
        folder = scratch("recording")
        done = run_program([DIRWATCH, "record", "--controller", LDAPI, "--output", folder])
        self.assertEqual(done.returncode, 0, done.stderr)
        replayed, done = sample("DCWNTDSCNT", folder)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assert_same_rows(containers(replayed), oracle.container_rows(contexts()))
        live, _ = sample("DCWNTDSRDS", LDAPI)
        again, _ = sample("DCWNTDSRDS", folder)
        names = ("rdsrdn", "rdsfdn", "rdsdcfun", "rdsdmfun", "rdsfrfun")
        self.assertEqual([again[0][name] for name in names], [live[0][name] for name in names])

    @needs_dirwatch
    def test_32_a_recording_holds_no_secrets_and_is_not_overwritten(self):
        folder = scratch("recording")
        with open(os.path.join(folder, "directory.ldif"), encoding="utf-8") as file:
            names = {line.partition(":")[0].lower() for line in file}
        # The oracle sees them by the same address, so their absence is the recorder's doing.
        ((_, krbtgt),) = oracle.ldapsearch(f"CN=krbtgt,CN=Users,{BASE}", "base",
                                           ["unicodePwd", "supplementalCredentials"])
        self.assertIn("unicodepwd", krbtgt)
        self.assertFalse(names & {"unicodepwd", "supplementalcredentials", "ntpwdhistory",
                                  "dbcspwd", "lmpwdhistory", "currentvalue", "priorvalue"})
        self.assertIn("objectsid", names)
        done = run_program([DIRWATCH, "record", "--controller", LDAPI, "--output", folder])
        self.assertEqual(done.returncode, 1)
        self.assertIn("already holds a recording", done.stderr)

    # A frozen server.

    def test_40_a_frozen_server_costs_a_question_its_time_out_and_no_more(self):
        with Probe(LDAPI, DIRWATCH_LDAP_TIMEOUT="4") as probe:
            lab("freeze", "dc1")
            try:
                for _ in range(2):  # on the connection of before, then on a new one
                    answer = probe.ask("walk " + BASE)
                    self.assertEqual(answer["result"], "800705b4")
                    self.assertGreaterEqual(answer["elapsed_ms"], 3900)
                    self.assertLess(answer["elapsed_ms"], 10000)
                for url, environment in ((LDAPI, {}), (LDAP, {}), (LDAPS, SIMPLE)):
                    began = time.monotonic()
                    error = self.refused(url, DIRWATCH_LDAP_TIMEOUT="2", **environment)
                    self.assertLess(time.monotonic() - began, 10, url)
                    self.assertIn(url, error)
            finally:
                lab("thaw", "dc1")
            oracle.children(BASE)  # once it is through what was asked of it meanwhile
            self.assert_walk(probe.ask("walk " + BASE), BASE)

    # Many objects.

    @needs_dirwatch
    def test_50_twenty_thousand_containers(self):
        # A sanitizer keeps freed memory aside, which would hide what is measured here.
        measured = {"ASAN_OPTIONS": "quarantine_size_mb=1"}
        with Probe(LDAPI, **measured) as probe:
            probe.ask("count " + BASE)
            before = probe.ask("memory")["peak_kib"]
        lab("add-containers", "20000")
        wanted = oracle.container_rows(contexts())
        self.assertGreater(len(wanted), 20000)
        for url in (LDAPI, LDAP):
            rows, done = sample("DCWNTDSCNT", url)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assert_same_rows(containers(rows), wanted)
        # A walk holds a page, however many pages there are.
        with Probe(LDAPI, **measured) as probe:
            self.assertGreater(probe.ask("count " + BASE)["objects"], 20000)
            self.assertLess(probe.ask("memory")["peak_kib"], before + 16 * 1024)

    @needs_dirwatch
    def test_51_a_server_stopped_in_the_middle_of_a_walk_loses_no_row_that_was_there(self):
        wanted = oracle.container_rows(contexts())
        path = scratch("cut.sock")
        proxy = CuttingProxy(path, os.environ["LAB_LDAPI"], 5_000_000, lambda: lab("stop", "dc1"))
        try:
            rows, done = sample("DCWNTDSCNT", proxy.url, trace=True)
            self.assertTrue(proxy.struck)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertGreater(len(rows), 1000)
            self.assertLess(len(rows), 20000)
            self.assert_same_rows(containers(rows), wanted[:len(rows)])
            self.assertIn(f"LDAP walk of <{BASE}> ended early after", done.stderr)
        finally:
            proxy.close()
            lab("start", "dc1")

    @needs_dirwatch
    def test_52_the_next_sample_of_the_same_run_is_whole_again(self):
        wanted = oracle.container_rows(contexts())
        output = scratch("rows.json")

        def stop_and_start():
            lab("stop", "dc1")
            lab("start", "dc1")

        proxy = CuttingProxy(scratch("run.sock"), os.environ["LAB_LDAPI"], 5_000_000,
                             stop_and_start)
        configuration = write_file("run.toml", TRACE_TO_ERRORS + f"""
[framework]
interval = "1s"
tables = ["DCWNTDSCNT"]
[sink]
format = "json"
path = "{output}"
""")
        with open(scratch("run.trace"), "w", encoding="utf-8") as errors:
            process = subprocess.Popen(
                [DIRWATCH, "run", "--controller", proxy.url, "--config", configuration],
                stdout=subprocess.DEVNULL, stderr=errors)
        try:
            samples = self.wait_for_samples(output, len(wanted))
        finally:
            process.terminate()
            process.wait(60)
            proxy.close()
        self.assertTrue(proxy.struck)
        # The walk that was cut keeps what it had; the server is back for the contexts after it.
        delivered = sum(row["cntpart"] == BASE for row in samples[0])
        self.assertGreater(delivered, 1000)
        self.assertLess(delivered, 20000)
        in_head = [row for row in wanted if row["cntpart"] == BASE]
        others = [row for row in wanted if row["cntpart"] != BASE]
        self.assert_same_rows(samples[0], in_head[:delivered] + others)
        self.assert_same_rows(samples[1], wanted)
        with open(scratch("run.trace"), encoding="utf-8") as file:
            self.assertIn("ended early after", file.read())

    def wait_for_samples(self, output, whole):
        """The rows of the first two samples, told apart by their time stamps."""
        deadline = time.monotonic() + 240
        while time.monotonic() < deadline:
            samples = {}
            if os.path.exists(output):
                with open(output, encoding="utf-8") as file:
                    for line in file:
                        if line.endswith("\n"):
                            row = json.loads(line)
                            samples.setdefault(row["timestamp"], []).append(row)
            ordered = [containers(samples[stamp]) for stamp in sorted(samples)]
            if len(ordered) >= 2 and len(ordered[1]) >= whole:
                return ordered
            time.sleep(0.2)
        raise AssertionError("no whole second sample in time")


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main(verbosity=2)
