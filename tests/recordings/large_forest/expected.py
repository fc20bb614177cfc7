#!/usr/bin/env python3
"""What every question about the forest beside this script has to answer, asked of every controller.

Worked out from directory.ldif and locator.json alone, the short way: by looking through all entries.
expected.txt holds the answers; the test compares the program's, line by line.

    expected.py > expected.txt
    expected.py --check expected.txt
"""
import json
import pathlib
import sys

HERE = pathlib.Path(__file__).parent
END, OBJECT_ERROR = -10, -2


def read_entries():
    entries = {}
    for block in (HERE / "directory.ldif").read_text().split("\n\n"):
        lines = [line.split(":", 1) for line in block.split("\n") if line and line[0] != "#"]
        if not lines or lines[0][0] != "dn":
            continue
        entry = entries.setdefault(lines[0][1].strip(), {})
        for name, value in lines[1:]:
            entry.setdefault(name, []).append(value.strip())
    return entries


ENTRIES = read_entries()
LOCATOR = json.loads((HERE / "locator.json").read_text())
MACHINE = ENTRIES[""]["dnsHostName"][0].split(".")[0]
CONFIGURATION = ENTRIES[""]["configurationNamingContext"][0]
SITES = "CN=Sites," + CONFIGURATION
ROOT = ENTRIES[""]["rootDomainNamingContext"][0]
IP = "CN=IP,CN=Inter-Site Transports," + SITES


def seen(dn, attribute, server=MACHINE):
    """The values as the server sees them."""
    entry = ENTRIES[dn]
    return entry.get(f"{attribute};x-server-{server.lower()}") or entry.get(attribute) or []


def one(dn, attribute, server=MACHINE):
    return (seen(dn, attribute, server) or [""])[0]


def children(dn):
    return [name for name in ENTRIES if name and name.partition(",")[2] == dn]


def parent(dn):
    return dn.partition(",")[2]


def sites():
    """Site and the names of its servers, where it has a place for them."""
    return [(one(site, "cn"), children("CN=Servers," + site)) for site in children(SITES)
            if "CN=Servers," + site in ENTRIES]


def settings(server_dn):
    name = "CN=NTDS Settings," + server_dn
    return name if name in ENTRIES else None


def is_listed_catalog(server_dn):
    return settings(server_dn) is not None and seen(settings(server_dn), "options") == ["1"]


def names(server_dns):
    return ";".join(one(dn, "dNSHostName") for dn in server_dns)


CONTROLLERS = [(site, dn) for site, dns in sites() for dn in dns if settings(dn)]
CONNECTIONS = [(dn, one(c, "fromServer")) for _, dn in CONTROLLERS for c in children(settings(dn))]


def role_owner(holder, attribute="cn"):
    return one(parent(one(holder, "fSMORoleOwner")), attribute)


def answers(site, dn):
    server = one(dn, "cn")
    yield "GetSchemaNamingContext", 0, one("", "schemaNamingContext", server)
    yield "GetConfigurationNamingContext", 0, one("", "configurationNamingContext", server)
    yield "GetDefaultNamingContext", 0, ROOT
    yield "GetDefaultNamingContextOfServer", 0, one("", "defaultNamingContext", server)
    yield "GetRootDSEInfo", 0, " ".join(
        one("", name, server) for name in ("domainControllerFunctionality", "domainFunctionality",
                                           "forestFunctionality", "rootDomainNamingContext"))
    yield "GetNamingContexts", 0, ";".join(seen("", "namingContexts", server))
    yield from connection_answers(site, dn, server)
    yield from kind_answers(dn, server)
    yield from list_answers(site, server)
    yield from role_answers(one("", "defaultNamingContext", server))
    yield from lost_answers(server)
    yield from inventory_answers(server)


def connection_answers(site, dn, server):
    own = [source for owner, source in CONNECTIONS if owner == dn]
    sources = [one(parent(source), "cn") for _, source in CONNECTIONS]
    servers = [one(name, "cn") for _, dns in sites() for name in dns]
    yield "GetDSAConnections", END, len(own)
    yield "GetInboundConnections", 0, len(own)
    yield "GetInboundConnections both", END, "%d %d" % (
        sum(servers.count(source) for source in sources), sources.count(server))
    bridgeheads = seen(IP, "bridgeheadServerListBL")
    yield "GetBridgeHeadServerCountInSite", 0, len(bridgeheads) if len(bridgeheads) < 2 else 0
    yield "IsBridgeHeadServer", 0, int(len(bridgeheads) == 1 and server.upper() in bridgeheads[0])
    yield "GetSiteLinkCount", END, len(children(IP))
    for source in own:
        yield "GetPartner", 0, one(parent(source), "cn")
        yield "GetPartner in full", 0, one(parent(source), "dNSHostName")
        yield "GetDirectPartnerSiteName", 0, one(parent(parent(parent(source))), "cn")


def kind_answers(dn, server):
    options = seen(settings(dn), "options")
    # Only names in capitals are found, and only options that are there are read.
    yield "IsGlobalCatalogServer", 0, (
        "untouched" if server != server.upper() or not options else int(options[0] != "0"))
    machine = next(c for c in LOCATOR["controllers"] if c["name"].split(".")[0] == MACHINE)
    yield "IsReadOnlyDC", 0, int("READ_ONLY" in machine["flags"])
    yield "GetDNSHostName", 0, one(dn, "dNSHostName")
    yield "GetDNSHostName by host name", 0, one(dn, "dNSHostName")


def list_answers(site, server):
    catalogs = [(where, dn) for where, dn in CONTROLLERS if is_listed_catalog(dn)]
    yield "GetGCList", END, names(dn for _, dn in catalogs)
    yield "GetGCList of the site", END, names(dn for where, dn in catalogs if where == site)
    yield "GetGCListOutSite", END, names(dn for where, dn in catalogs if where != site)
    yield "GetDCList", END, names(dn for where, dn in CONTROLLERS if where == site)
    unit = "OU=Domain Controllers," + one("", "defaultNamingContext", server)
    yield "GetDomainControllers", 0, names(children(unit))


def role_answers(domain):
    def owner(holder, attribute="cn"):
        name = role_owner(holder, attribute) if seen(holder, "fSMORoleOwner") else ""
        return (0, name) if name else (OBJECT_ERROR, "untouched")

    yield "GetPDCFSMO", *owner(domain)
    yield "GetPDCFSMO in full", *owner(domain, "dNSHostName")
    yield "GetRIDFSMO", *owner("CN=RID Manager$,CN=System," + domain)
    yield "GetInfrastructureFSMO", *owner("CN=Infrastructure," + domain)
    yield "GetSchemaFSMO", *owner(one("", "schemaNamingContext"))
    yield "GetDomainNamingFSMO", *owner("CN=Partitions," + CONFIGURATION)


def lost_answers(server):
    marker = f"CN={one('', 'dnsHostName')},CN=LostAndFound,{ROOT}"
    changed = one(marker, "whenChanged", server)
    yield "GetConsistencyObject", 0, " ".join(
        (one(marker, "name"), changed[:14], one(marker, "description")))
    yield "LostObjectsEnum", 0, ";".join(
        one(dn, "name") + "/" + seen(dn, "objectClass")[-1]
        for dn in children("CN=LostAndFound," + ROOT))


def inventory_answers(server):
    def topology(site, dn):
        host = one(dn, "dNSHostName").upper()
        domain = host.partition(".")[2]
        above = domain.partition(".")[2]
        if domain == ROOT.replace("DC=", "").replace(",", ".").upper():
            above = domain
        elif "." not in above:
            above = domain
        mark = one(settings(dn), "msDS-isRODC")
        return f"{host}/{domain}/{site}/{one(dn, 'cn')}/{dn}/{mark}/{above}"

    def policy(dn):
        flags = int(one(dn, "flags"))
        return "/".join((one(dn, "displayName"), one(dn, "cn"), one(dn, "versionNumber"), "-1",
                         str(flags or -1), time_text(one(dn, "whenCreated")),
                         time_text(one(dn, "whenChanged"))))

    contexts = {value for name, values in ENTRIES[""].items()
                if name.split(";")[0] == "namingContexts" for value in values}
    containers = [dn for context in seen("", "namingContexts", server) for dn in children(context)
                  if dn not in contexts and "ontainer" in seen(dn, "objectClass")[1]]
    yield "GetForestTopologyInfo", 0, ";".join(topology(site, dn) for site, dn in CONTROLLERS)
    yield "GetAllCNTList", END, ";".join(
        f"{one(dn, 'cn')}/{seen(dn, 'objectClass')[1]}/{dn}" for dn in containers)
    policies = "CN=Policies,CN=System," + one("", "defaultNamingContext", server)
    yield "GetAllGPOList", END, ";".join(policy(dn) for dn in children(policies))


def domain_answers():
    """The questions that name no server and so go to the machine's own domain, here the root."""
    contexts = {value for name, values in ENTRIES[""].items()
                if name.split(";")[0] == "namingContexts" for value in values}
    other = tuple(context for context in contexts if context != ROOT)
    own = [dn for dn in ENTRIES if dn.endswith(ROOT) and not dn.endswith(other)]
    categorised = [dn for dn in own if seen(dn, "objectCategory")]
    people = [dn for dn in categorised if one(dn, "objectCategory").startswith("CN=Person,")
              and "user" in seen(dn, "objectClass")]
    yield "GetNumberOfUsersLocked", 0, sum(int(one(dn, "lockoutTime") or 0) >= 1 for dn in people)
    yield "GetNumberOfObjectsInDomain", 0, len(categorised)
    features = "CN=Optional Features,CN=Directory Service,CN=Windows NT,CN=Services," + CONFIGURATION
    for name in ("Recycle Bin Feature", "Another Feature"):
        yield "IsOptionalFeatureEnabled", 0, f"{name} {int(f'CN={name},{features}' in ENTRIES)}"


def time_text(time):
    return f"{time[4:6]}/{time[6:8]}/{time[:4]}  {time[8:10]}:{time[10:12]}"


def main():
    text = "".join(f"{one(dn, 'cn')} {question}: {result} {answer}\n"
                   for site, dn in CONTROLLERS for question, result, answer in answers(site, dn))
    text += "".join(f"{question}: {result} {answer}\n"
                    for question, result, answer in domain_answers())
    if sys.argv[1:2] != ["--check"]:
        sys.stdout.write(text)
        return 0
    if pathlib.Path(sys.argv[2]).read_text() == text:
        return 0
    print(f"{sys.argv[2]}: is not what the script works out")
    return 1


if __name__ == "__main__":
    sys.exit(main())
