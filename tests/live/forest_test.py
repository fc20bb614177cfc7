"""The forest suite: two controllers in two sites, asked the questions and sampled for the tables
that need more than one of them, against ldapsearch, samba-tool and dig.

Runs as a client of the lab, after live_test.py or alone (tests/live/run_live.sh). Each case leaves
the forest as it found it, as far as the next ones look.
"""

import os
import subprocess
import sys
import time
import unittest

import oracle
from domain import (BRANCH_SITE, DOMAIN, ENUM_END, FIRST, HOME_SITE, SECOND, SITES,
                    TRANSPORT, Questions, ip, links, modify, owners, samba_tool, search, servers,
                    texts, until, url)
from live_test import BASE, DIRWATCH, lab, run_program, sample, write_file


def setUpModule():
    lab("add-controller")


class ForestTest(unittest.TestCase):
    maxDiff = 4000

    # Who is where.

    def test_10_controllers_and_catalogs_of_each_site(self):
        names = {site: [name for _, _, name, _ in servers(site)]
                 for site in (HOME_SITE, BRANCH_SITE)}
        self.assertEqual([len(list_) for list_ in names.values()], [1, 1])
        catalogs = sorted(name for _, _, name, options in servers() if options == 1)
        with Questions(FIRST) as questions:
            for site in (HOME_SITE, BRANCH_SITE):
                answer = questions.ask("controllers_in", "dc1", site)
                self.assertEqual(answer, {"result": ENUM_END, "names": names[site]})
                answer = questions.ask("catalogs_in", "dc1", site)
                self.assertEqual(answer, {"result": ENUM_END, "names": names[site]})
                answer = questions.ask("catalogs_outside", "dc1", site.upper())
                others = [name for name in catalogs if name not in names[site]]
                self.assertEqual(answer, {"result": ENUM_END, "names": others})
            answer = questions.ask("catalogs", "dc1")
            self.assertEqual((answer["result"], sorted(answer["names"])), (ENUM_END, catalogs))
            self.assertEqual(questions.ask("catalogs_in", "dc1", "Nowhere"),
                             {"result": 0, "names": []})

    def test_11_a_controller_that_stops_being_a_catalog_leaves_the_list(self):
        dn = f"CN=NTDS Settings,CN=DC2,CN=Servers,CN={BRANCH_SITE},{SITES}"
        change = f"dn: {dn}\nchangetype: modify\nreplace: options\noptions: %d\n"
        modify(FIRST, change % 0)
        try:
            with Questions(FIRST) as questions:
                self.assertEqual(questions.ask("catalogs", "dc1")["names"], [FIRST])
                self.assertEqual(questions.ask("is_catalog", "DC2"), {"result": 0, "flag": 0})
                self.assertEqual(questions.ask("is_catalog", "DC1"), {"result": 0, "flag": 1})
        finally:
            modify(FIRST, change % 1)

    def test_12_domain_controllers_of_the_domain(self):
        ou = "OU=Domain Controllers," + BASE
        wanted = [texts(entry, "dNSHostName")[0] for _, entry in search(
            FIRST, ou, "one", "(objectClass=computer)", ["dNSHostName"])]
        self.assertEqual(len(wanted), 2)
        with Questions(FIRST) as questions:
            answer = questions.ask("domain_controllers", "dc1")
        self.assertEqual((answer["result"], sorted(answer["names"])), (0, sorted(wanted)))

    def test_13_each_controller_knows_its_own_site(self):
        for server, site in ((FIRST, HOME_SITE), (SECOND, BRANCH_SITE)):
            with Questions(server) as questions:
                self.assertEqual(questions.ask("site", server.partition(".")[0]),
                                 {"status": 0, "site": site})

    def test_14_neither_controller_is_read_only(self):
        with Questions(FIRST) as questions:
            self.assertEqual(questions.ask("is_read_only", "dc1"), {"result": 0, "flag": 0})

    # Links, connections, bridgeheads.

    def test_20_site_links_and_connections(self):
        links = search(FIRST, TRANSPORT, "one", "(objectClass=*)", ["cn"])
        self.assertGreater(len(links), 0)
        with Questions(FIRST) as questions:
            self.assertEqual(questions.ask("site_links", "dc1"),
                             {"result": ENUM_END, "count": len(links)})
            for server, site in (("DC1", HOME_SITE), ("DC2", BRANCH_SITE)):
                dn = f"CN=NTDS Settings,CN={server},CN=Servers,CN={site},{SITES}"
                inbound = search(FIRST, dn, "one", "(objectClass=nTDSConnection)", ["fromServer"])
                self.assertGreater(len(inbound), 0, server)
                self.assertEqual(questions.ask("connections", server, site),
                                 {"result": ENUM_END, "count": len(inbound)})
                answer = questions.ask("inbound", server)
                self.assertEqual((answer["result"], answer["count"]), (0, len(inbound)))
            sources = [texts(entry, "fromServer")[0].split(",")[1][3:] for _, entry in search(
                FIRST, SITES, "sub", "(objectClass=nTDSConnection)", ["fromServer"])]
            answer = questions.ask("inbound", "DC2")
            self.assertEqual(
                (answer["second_result"], answer["known"], answer["from_server"]),
                (ENUM_END, len(sources), sources.count("DC2")))

    def test_21_a_site_link_more_is_counted(self):
        dn = f"CN=Second link,{TRANSPORT}"
        sites = "".join(f"siteList: CN={site},{SITES}\n" for site in (HOME_SITE, BRANCH_SITE))
        with Questions(FIRST) as questions:
            before = questions.ask("site_links", "dc1")["count"]
            modify(FIRST, f"dn: {dn}\nchangetype: add\nobjectClass: siteLink\n{sites}")
            try:
                self.assertEqual(questions.ask("site_links", "dc1")["count"], before + 1)
            finally:
                modify(FIRST, f"dn: {dn}\nchangetype: delete\n")

    def test_22_one_bridgehead_counts_and_is_found_and_two_read_as_an_array(self):
        def choose(server, site, verb):
            modify(FIRST, f"dn: CN={server},CN=Servers,CN={site},{SITES}\nchangetype: modify\n"
                          f"{verb}: bridgeheadTransportList\n"
                          f"bridgeheadTransportList: {TRANSPORT}\n")

        def published():
            ((_, transport),) = search(FIRST, TRANSPORT, "base", "(objectClass=*)",
                                       ["bridgeheadServerListBL"])
            return texts(transport, "bridgeheadServerListBL")

        with Questions(FIRST) as questions:
            self.assertEqual(published(), [])
            self.assertEqual(questions.ask("bridgeheads", "dc1"), {"result": 0, "count": 0})
            choose("DC1", HOME_SITE, "add")
            try:
                self.assertEqual(len(published()), 1)
                self.assertEqual(questions.ask("bridgeheads", "dc1"), {"result": 0, "count": 1})
                self.assertEqual(questions.ask("is_bridgehead", "dc1"), {"result": 0, "flag": 1})
                self.assertEqual(questions.ask("is_bridgehead", "dc2")["flag"], 0)
                choose("DC2", BRANCH_SITE, "add")
                try:
                    # Several values come as an array of variants, which this count passes over.
                    self.assertEqual(len(published()), 2)
                    self.assertEqual(questions.ask("bridgeheads", "dc1")["count"], 0)
                finally:
                    choose("DC2", BRANCH_SITE, "delete")
            finally:
                choose("DC1", HOME_SITE, "delete")

    def test_23_the_inter_site_checker_is_off_when_the_site_says_so(self):
        dn = f"CN=NTDS Site Settings,CN={HOME_SITE},{SITES}"
        with Questions(FIRST) as questions:
            for options, enabled in ((16, 0), (17, 0), (18, 1), (0, 1)):
                modify(FIRST, f"dn: {dn}\nchangetype: modify\nreplace: options\n"
                              f"options: {options}\n")
                self.assertEqual(questions.ask("inter_site_checker", "dc1"),
                                 {"result": 0, "flag": enabled}, options)

    # Roles.

    def assert_roles(self, server):
        holders = owners()
        with Questions(server) as questions:
            answer = questions.ask("roles", server.partition(".")[0], BASE)
        self.assertEqual(answer["results"], [0] * 6)
        self.assertEqual(
            [answer[name].upper() for name in ("pdc", "rid", "infrastructure", "schema", "naming")],
            [holders[role].upper() for role in (
                "PdcEmulationMasterRole", "RidAllocationMasterRole", "InfrastructureMasterRole",
                "SchemaMasterRole", "DomainNamingMasterRole")])
        self.assertEqual(answer["pdc_full"].lower(), f"{answer['pdc'].lower()}.{DOMAIN}")
        return holders

    def test_30_the_five_role_owners_before_and_after_two_roles_move(self):
        before = self.assert_roles(FIRST)
        self.assertEqual(set(before.values()), {"DC1"})
        for role in ("pdc", "naming"):
            samba_tool("dc2", "fsmo", "transfer", "--role=" + role)
        try:
            until(lambda: owners()["PdcEmulationMasterRole"] == "DC2" and
                  owners()["DomainNamingMasterRole"] == "DC2")
            after = self.assert_roles(FIRST)
            self.assertEqual(after["PdcEmulationMasterRole"], "DC2")
            self.assertEqual(after["RidAllocationMasterRole"], "DC1")
            self.assert_roles(SECOND)
        finally:
            for role in ("pdc", "naming"):
                samba_tool("dc1", "fsmo", "transfer", "--role=" + role)
            until(lambda: set(owners().values()) == {"DC1"})

    # Replication.

    @staticmethod
    def neighbours(questions, server):
        answer = questions.ask("neighbours", server)
        assert answer["status"] == 0 and answer["ok"] == 1, answer
        return {(link["context"], link["source"].split(",")[1][3:]):
                (link["failures"], link["ever_succeeded"]) for link in answer["neighbours"]}, answer

    def test_40_replica_neighbours_as_samba_tool_lists_them(self):
        for machine, server in (("dc1", FIRST), ("dc2", SECOND)):
            with Questions(server) as questions:
                found, answer = self.neighbours(questions, server)
                self.assertEqual(found, links(machine))
                self.assertEqual(len(found), 5)
                self.assertEqual({link["last_result"] for link in answer["neighbours"]}, {0})
                other = SECOND if server == FIRST else FIRST
                partners = questions.ask("partners_in_domain", server)["names"]
                self.assertEqual([name.lower() for name in partners], [other])

    def test_41_failures_count_up_while_the_partner_is_stopped(self):
        with Questions(FIRST) as questions:
            lab("stop", "dc2")
            try:
                def failing(at_least):
                    found, answer = self.neighbours(questions, FIRST)
                    counts = [failures for failures, _ in found.values()]
                    return min(counts) >= at_least and answer
                first = until(lambda: failing(1))
                second = until(lambda: failing(3))
                self.assertNotIn(0, {link["last_result"] for link in first["neighbours"]})
                # samba-tool sees the same count, or the next one if a try came between.
                wanted = links("dc1")
                for link in second["neighbours"]:
                    key = (link["context"], link["source"].split(",")[1][3:])
                    self.assertLessEqual(link["failures"], wanted[key][0])
                    self.assertGreaterEqual(link["failures"], 3)
                    self.assertTrue(link["ever_succeeded"])
            finally:
                lab("start", "dc2")
            until(lambda: failing(0) and
                  {f for f, _ in self.neighbours(questions, FIRST)[0].values()} == {0})

    def test_42_a_ping_tells_who_answers_who_is_silent_and_who_is_nobody(self):
        with Questions(FIRST) as questions:
            # The lab's machines are closer than a millisecond, and a ping says so as 0 or little more.
            answer = questions.ask("reach", SECOND)
            self.assertIn(answer["average_ms"], range(0, 1000))
            self.assertEqual(answer["bound"], 1)
            # A server that is stopped still has a machine that answers.
            lab("stop", "dc2")
            try:
                answer = questions.ask("reach", SECOND)
                self.assertIn(answer["average_ms"], range(0, 1000))
                self.assertEqual(answer["bound"], 0)
                ip("link", "set", "eth0", "down")
                try:
                    self.assertEqual(questions.ask("reach", SECOND)["average_ms"], -2)
                finally:
                    ip("link", "set", "eth0", "up")
            finally:
                lab("start", "dc2")
            self.assertEqual(questions.ask("reach", "nobody." + DOMAIN)["average_ms"], -1)

    # The marker of the latency measurement.

    def test_50_the_consistency_object_is_made_read_and_changed_on_both_controllers(self):
        for own, other in ((FIRST, SECOND), (SECOND, FIRST)):
            dn = f"CN={own},CN=LostAndFound,{BASE}"
            names = ["presentationAddress", "description", "whenChanged", "objectClass"]
            with Questions(own) as questions:
                self.assertEqual(questions.ask("consistency", own, BASE, own)["result"], -2)
                self.assertEqual(questions.ask("create", own, BASE)["result"], 0)
                self.assertEqual(questions.ask("create", own, BASE)["result"], -2)
                ((_, made),) = search(own, dn, "base", "(objectClass=*)", names)
                self.assertEqual(texts(made, "objectClass")[-1], "applicationEntity")
                self.assertEqual(texts(made, "presentationAddress"), [own])
                self.assertTrue(made["description"][0].endswith(b"\n"))
                time.sleep(1.1)  # the text has whole seconds, and must differ
                self.assertEqual(questions.ask("update", own, BASE)["result"], 0)
                ((_, changed),) = search(own, dn, "base", "(objectClass=*)", names)
                self.assertNotEqual(changed["description"], made["description"])
                self.assertEqual(changed["presentationaddress"], made["presentationaddress"])
                answer = questions.ask("consistency", own, BASE, own)
                self.assertEqual(
                    (answer["result"], answer["name"], answer["description"].encode()),
                    (0, own, changed["description"][0]))
                until(lambda: [entry["description"] for _, entry in search(
                    other, dn, "base", "(objectClass=*)", names)] == [changed["description"]])
                answer = questions.ask("consistency", other, BASE, own)
                self.assertEqual((answer["result"], answer["description"].encode()),
                                 (0, changed["description"][0]))

    # Tables.

    def test_60_forest_topology(self):
        rows, done = sample("DCWNTDSFRT", url(FIRST))
        self.assertEqual(done.returncode, 0, done.stderr)
        wanted = sorted(
            (name.upper(), DOMAIN.upper(), site, cn, "FALSE", DOMAIN.upper(),
             f"CN={cn},CN=Servers,CN={site},{SITES}") for site, cn, name, _ in servers())
        self.assertEqual(len(wanted), 2)
        self.assertEqual(sorted((row["frthstnm"], row["frtdmnm"], row["frtsitnm"], row["frtcmnnm"],
                                 row["frtisrodc"], row["frtprdn"], row["frtdisnm"])
                                for row in rows), wanted)

    def policies(self):
        wanted = {}
        for _, entry in search(FIRST, f"CN=Policies,CN=System,{BASE}", "one", "(objectClass=*)",
                               ["cn", "displayName", "versionNumber", "flags", "gPCFileSysPath",
                                "whenCreated", "whenChanged"]):
            guid = texts(entry, "cn")[0]
            flags = int(texts(entry, "flags")[0])
            with open(self.policy_file(guid), encoding="ascii") as file:
                version = int(file.read().partition("Version=")[2])
            wanted[guid] = (texts(entry, "displayName")[0], int(texts(entry, "versionNumber")[0]),
                            version, flags if flags else -1,
                            oracle.time_text(entry["whencreated"][0]),
                            oracle.time_text(entry["whenchanged"][0]))
        return wanted

    @staticmethod
    def policy_file(guid):
        return os.path.join(os.environ["LAB_ROOT"], "dc1", "state", "sysvol", DOMAIN, "Policies",
                            guid, "GPT.INI")

    def policy_rows(self):
        rows, done = sample("DCWNTDSGPO", url(FIRST))
        self.assertEqual(done.returncode, 0, done.stderr)
        return {row["gpoguid"]: (row["gponam"], row["gpover"], row["gposvv"], row["gposta"],
                                 row["gpocrt"], row["gpomrt"]) for row in rows}

    def test_61_group_policies_also_with_a_version_changed_behind_the_directory(self):
        wanted = self.policies()
        self.assertEqual(len(wanted), 2)
        self.assertEqual(self.policy_rows(), wanted)
        guid = next(iter(wanted))
        with open(self.policy_file(guid), encoding="ascii") as file:
            before = file.read()
        try:
            with open(self.policy_file(guid), "w", encoding="ascii", newline="") as file:
                file.write("[General]\r\nVersion=65537\r\n")
            changed = self.policies()
            self.assertEqual(changed[guid][2], 65537)
            self.assertEqual(self.policy_rows(), changed)
            os.unlink(self.policy_file(guid))
            self.assertEqual(self.policy_rows()[guid][2], -1)
        finally:
            with open(self.policy_file(guid), "w", encoding="ascii") as file:
                file.write(before)

    def test_62_lost_and_found_objects(self):
        dn = f"CN=Left behind,CN=LostAndFound,{BASE}"
        modify(FIRST, f"dn: {dn}\nchangetype: add\nobjectClass: container\n")
        try:
            wanted = sorted((texts(entry, "name")[0][:64], texts(entry, "objectClass")[-1])
                            for _, entry in search(FIRST, "CN=LostAndFound," + BASE, "one",
                                                   "(objectClass=*)", ["name", "objectClass"]))
            self.assertIn(("Left behind", "container"), wanted)
            rows, done = sample("DCWNTDSLFO", url(FIRST))
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(sorted((row["lfonam"], row["lfotyp"]) for row in rows), wanted)
        finally:
            modify(FIRST, f"dn: {dn}\nchangetype: delete\n")

    def test_63_object_count_and_locked_users(self):
        everything = search(FIRST, BASE, "sub", "(objectCategory=*)", ["1.1"])
        with Questions(FIRST) as questions:
            self.assertEqual(questions.ask("objects"), {"result": 0, "count": len(everything)})
            self.assertEqual(questions.ask("locked_users"), {"result": 0, "count": 0})
            samba_tool("dc1", "domain", "passwordsettings", "set",
                       "--account-lockout-threshold=3")
            samba_tool("dc1", "user", "create", "unlucky", "Right.Passw0rd")
            wrong = write_file("unlucky-password", "wrong")
            for _ in range(4):
                subprocess.run(["ldapsearch", "-x", "-H", url(FIRST), "-D", f"unlucky@{DOMAIN}",
                                "-y", wrong, "-b", "", "-s", "base"], capture_output=True,
                               check=False, timeout=30)
            locked = search(FIRST, BASE, "sub", "(&(objectClass=user)(lockoutTime>=1))", ["cn"])
            self.assertEqual(len(locked), 1)
            self.assertEqual(questions.ask("locked_users"), {"result": 0, "count": 1})
            samba_tool("dc1", "user", "delete", "unlucky")
            self.assertEqual(questions.ask("locked_users"), {"result": 0, "count": 0})

    @staticmethod
    def dns(verb, name, target):
        with open(os.environ["LAB_PASSWORD_FILE"], encoding="ascii") as file:
            account = "Administrator%" + file.read()
        samba_tool("dc1", "dns", verb, FIRST, "_msdcs." + DOMAIN, name, "SRV",
                   f"{target} 389 0 100", "-U", account)

    @staticmethod
    def published(name):
        done = subprocess.run(["dig", "+short", "@" + FIRST, f"{name}._msdcs.{DOMAIN}", "SRV"],
                              capture_output=True, text=True, check=True, timeout=30)
        return sorted(line.split()[3].rstrip(".").lower() for line in done.stdout.splitlines())

    def mismatches(self):
        rows, done = sample("DCWNTDSDAD", url(FIRST))
        if rows:
            self.assertEqual(done.returncode, 0, done.stderr)
        else:  # all agrees, and nothing else kept the rows away
            self.assertEqual((done.returncode, done.stderr.splitlines()[-1:]),
                             (1, ["dirwatch: no rows from DCWNTDSDAD"]))
        return sorted((row["dadsrm"].lower(), row["dadtor"], row["dadt"]) for row in rows)

    def test_70_dns_and_directory_agree_then_a_record_too_many_and_one_too_few(self):
        name = "_ldap._tcp.dc"
        self.assertEqual(self.published(name), [FIRST, SECOND])
        self.assertEqual(self.mismatches(), [])
        rows, done = sample("DCWNTDSDAI", url(FIRST))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([rows[0][column] for column in (
            "daigcm", "daigcb", "daindm", "daidcm", "daidcb", "daipdcm", "daipdcb")], [0] * 7)
        self.assertEqual((rows[0]["daifst"], rows[0]["daihn"].lower(), rows[0]["daidom"]),
                         (DOMAIN, FIRST, DOMAIN))
        ghost = f"ghost.{DOMAIN}"
        self.dns("add", name, ghost)
        self.dns("delete", name, SECOND)
        try:
            self.assertEqual(self.published(name), sorted([FIRST, ghost]))
            self.assertEqual(self.mismatches(), sorted([(ghost, 1, 1), (SECOND, 1, 0)]))
            rows, done = sample("DCWNTDSDAI", url(FIRST))
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual([rows[0][column].lower() if isinstance(rows[0][column], str) else
                              rows[0][column] for column in (
                                  "daidcm", "daimdc", "daidcb", "daibdc", "daindm", "daimnr",
                                  "daigcm", "daigcb", "daipdcm", "daipdcb")],
                             [1, SECOND, 1, ghost, 1, SECOND, 0, 0, 0, 0])
        finally:
            self.dns("delete", name, ghost)
            if SECOND not in self.published(name):  # its own updater may have been quicker
                self.dns("add", name, SECOND)

    # Tables of the background threads, collected by the sample itself here.

    def one_row(self, table, server):
        rows, done = sample(table, url(server))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(rows), 1)
        return rows[0]

    def partner_rows(self, server):
        rows, done = sample("DCWNTDSRPL", url(server))
        self.assertEqual(done.returncode, 0, done.stderr)
        return rows

    def test_80_replication_partners_as_samba_tool_lists_them(self):
        # What an earlier case stopped is forgotten with the next success.
        until(lambda: {failures for machine in ("dc1", "dc2")
                       for failures, _ in links(machine).values()} == {0})

        def dns_form(context):
            return ".".join(part.partition("=")[2] for part in context.split(","))

        for machine, server, site, other_site in (("dc1", FIRST, HOME_SITE, BRANCH_SITE),
                                                  ("dc2", SECOND, BRANCH_SITE, HOME_SITE)):
            wanted = sorted((partner, dns_form(context), failures, "InterSite", other_site, site,
                             server)
                            for (context, partner), (failures, _) in links(machine).items())
            self.assertEqual(len(wanted), 5)
            found = sorted((row["rplpart"], row["rpldir"], row["rplfail"], row["rpltype"],
                            row["rplpst"], row["rplsite"], row["rplhn"].lower())
                           for row in self.partner_rows(server))
            self.assertEqual(found, wanted)

    def test_81_failures_of_a_stopped_partner_show_in_its_rows(self):
        lab("stop", "dc2")
        try:
            rows = until(lambda: [row for row in self.partner_rows(FIRST) if row["rplfail"] >= 2])
            highest = max(failures for failures, _ in links("dc1").values())
            for row in rows:
                self.assertEqual(row["rplpart"], "DC2")
                self.assertLessEqual(row["rplfail"], highest)
        finally:
            lab("start", "dc2")
        until(lambda: {row["rplfail"] for row in self.partner_rows(FIRST)} == {0})

    def test_82_availability_with_every_server_up(self):
        row = self.one_row("DCWNTDSDCA", FIRST)
        catalogs = [name for _, _, name, options in servers() if options == 1]
        self.assertEqual(
            [row[name] for name in ("dcarpp", "dcarppp", "dcagc", "dcagcp", "dcagcb", "dcasgc",
                                    "dcasgcp", "dcasgcb", "dcasdc", "dcasdcb")],
            [1, 1, len(catalogs), len(catalogs), len(catalogs), 1, 1, 1, 1, 1])
        self.assertEqual(set(owners().values()), {"DC1"})
        for role in ("rid", "dn", "inf", "sch", "pdc"):
            self.assertEqual(row["dca" + role].upper(), f"{HOME_SITE}\\DC1".upper())
            self.assertEqual(row["dcap" + role], row["dca" + role])
            self.assertIn(row[f"dca{role}p"], range(0, 1000))
            self.assertEqual(row[f"dca{role}b"], 1)
        self.assertEqual((row["dcafsmo"], row["dcasite"], row["dcahn"].lower(), row["dcafst"],
                          row["dcadom"], row["dcagcs"]),
                         ("Domain_Naming", HOME_SITE, FIRST, DOMAIN, DOMAIN, "TRUE"))

    def test_83_availability_with_one_server_stopped_then_gone(self):
        lab("stop", "dc2")
        try:
            row = self.one_row("DCWNTDSDCA", FIRST)
            self.assertEqual([row[name] for name in ("dcarpp", "dcarppp", "dcagc", "dcagcp", "dcagcb")],
                             [1, 1, 2, 2, 1])
            ip("link", "set", "eth0", "down")
            try:
                row = self.one_row("DCWNTDSDCA", FIRST)
                self.assertEqual(
                    [row[name] for name in ("dcarpp", "dcarppp", "dcagc", "dcagcp", "dcagcb",
                                            "dcasgcp", "dcapdcb")], [1, 0, 2, 1, 1, 1, 1])
            finally:
                ip("link", "set", "eth0", "up")
        finally:
            lab("start", "dc2")

    def test_84_availability_names_the_new_holder_of_a_role_that_moved(self):
        samba_tool("dc2", "fsmo", "transfer", "--role=pdc")
        try:
            until(lambda: owners()["PdcEmulationMasterRole"] == "DC2")
            row = self.one_row("DCWNTDSDCA", FIRST)
            self.assertEqual(row["dcapdc"].upper(), f"{BRANCH_SITE}\\DC2".upper())
            self.assertEqual((row["dcapdcb"], row["dcafsmo"]), (1, "Domain_Naming"))
            self.assertIn(row["dcapdcp"], range(0, 1000))
            self.assertEqual(row["dcarid"].upper(), f"{HOME_SITE}\\DC1".upper())
        finally:
            samba_tool("dc1", "fsmo", "transfer", "--role=pdc")
            until(lambda: set(owners().values()) == {"DC1"})

    def test_85_latency_of_a_change_that_really_replicates(self):
        def changed(server):
            found = search(server, f"CN=dc1,CN=LostAndFound,{BASE}", "base", "(objectClass=*)",
                           ["whenChanged"])
            return found and found[0][1]["whenchanged"][0]

        def arrived():
            row = self.one_row("DCWNTDSRLT", FIRST)
            return row["rltlat"] != -1 and row

        row = until(arrived)
        self.assertEqual((row["rltpart"], row["rltpst"], row["rltdn"].lower(), row["rlthn"].lower()),
                         ("DC2", BRANCH_SITE, SECOND, FIRST))
        moments = [time.mktime(time.strptime(changed(server).decode()[:14], "%Y%m%d%H%M%S"))
                   for server in (FIRST, SECOND)]
        self.assertEqual(row["rltlat"], int(moments[1] - moments[0]) - row["rltcld"])
        self.assertIn(row["rltcld"], range(-2, 3))  # both read one clock, one after the other


if __name__ == "__main__":
    assert DIRWATCH and run_program([DIRWATCH, "--version"]).returncode == 0
    unittest.main(argv=[sys.argv[0], "--verbose", *sys.argv[1:]], failfast=False)
