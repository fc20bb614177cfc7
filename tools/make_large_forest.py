#!/usr/bin/env python3
"""Writes tests/recordings/large_forest: a made-up forest for tests, larger than the default one.

Five sites, ten domain controllers (two of them read-only, one of a child domain), a server that is no
controller any more, connections between them all, bridgeheads, links, roles, policies, containers,
people (some locked), an optional feature, lost objects, and a marker of replication that each controller saw at a time of its own. The result is
committed and the same on every run:

    tools/make_large_forest.py tests/recordings/large_forest
    tools/make_large_forest.py --check tests/recordings/large_forest
"""
import json
import pathlib
import sys

ROOT = "DC=corp,DC=example"
CHILD = "DC=lab," + ROOT
CONFIGURATION = "CN=Configuration," + ROOT
SCHEMA = "CN=Schema," + CONFIGURATION
SITES = "CN=Sites," + CONFIGURATION
TRANSPORT = "CN=IP,CN=Inter-Site Transports," + SITES

# Name, site, options (None: not set), read-only.
CONTROLLERS = [
    ("BER-DC1", "Berlin", 1, False),
    ("BER-DC2", "Berlin", 1, False),
    ("PAR-DC1", "Paris", 0, False),
    ("PAR-DC2", "Paris", 5, False),
    ("PAR-RO1", "Paris", 33, True),
    ("OSL-DC1", "Oslo", 1, False),
    ("osl-dc2", "Oslo", 1, False),
    ("LIM-DC1", "Lima", 0, False),
    ("LIM-RO1", "Lima", 32, True),
    ("QUI-DC1", "Quito", None, False),
]
CHILD_CONTROLLERS = {"QUI-DC1"}
MACHINE = "BER-DC1"
FEATURE_PATH = ["CN=Services," + CONFIGURATION]
for _name in ("Windows NT", "Directory Service", "Optional Features", "Recycle Bin Feature"):
    FEATURE_PATH.append(f"CN={_name},{FEATURE_PATH[-1]}")
SITE_NAMES = ["Berlin", "Paris", "Oslo", "Lima", "Quito"]
ROLES = {
    ROOT: "BER-DC1",
    "CN=RID Manager$,CN=System," + ROOT: "BER-DC2",
    "CN=Infrastructure," + ROOT: "PAR-DC1",
    SCHEMA: "OSL-DC1",
    "CN=Partitions," + CONFIGURATION: "LIM-DC1",
}


def site_of(controller):
    return next(site for name, site, _, _ in CONTROLLERS if name == controller)


def domain_of(controller):
    return CHILD if controller in CHILD_CONTROLLERS else ROOT


def full_name(controller):
    return controller + "." + domain_of(controller).replace("DC=", "").replace(",", ".")


def server_dn(controller):
    return f"CN={controller},CN=Servers,CN={site_of(controller)},{SITES}"


def settings_dn(controller):
    return "CN=NTDS Settings," + server_dn(controller)


def own(controller):
    """The option for what that controller alone sees; the machine's own view is everybody's."""
    return "" if controller == MACHINE else ";x-server-" + controller.lower()


class Ldif:
    def __init__(self):
        self.text = "# Written by tools/make_large_forest.py.\nversion: 1\n"

    def entry(self, dn, object_class, *lines, created="20260105080000.0Z"):
        kind, name = dn.split(",")[0].split("=", 1)
        if dn in ROLES:
            lines += (f"fSMORoleOwner: {settings_dn(ROLES[dn])}",)
        self.text += "\n".join(
            ["", f"dn: {dn}", "objectClass: top"]
            + [f"objectClass: {one}" for one in object_class.split()]
            + [f"{kind.lower()}: {name}", f"name: {name}", f"distinguishedName: {dn}",
               f"whenCreated: {created}", "whenChanged: 20260301120000.0Z", *lines, ""])


def write_root(ldif):
    lines = ["", "dn:"]
    for number, (name, _, _, _) in enumerate(CONTROLLERS):
        option = own(name)
        lines += [f"dnsHostName{option}: {full_name(name)}",
                  f"currentTime{option}: 202603020800{number:02}.0Z",
                  f"domainControllerFunctionality{option}: {7 if number % 3 else 6}",
                  f"dsServiceName{option}: {settings_dn(name)}"]
    for name in sorted(CHILD_CONTROLLERS):
        lines += [f"defaultNamingContext{own(name)}: {CHILD}"]
        lines += [f"namingContexts{own(name)}: {one}" for one in (CHILD, CONFIGURATION, SCHEMA)]
    lines += [f"namingContexts: {one}" for one in (ROOT, CONFIGURATION, SCHEMA)]
    lines += [f"defaultNamingContext: {ROOT}", f"rootDomainNamingContext: {ROOT}",
              f"configurationNamingContext: {CONFIGURATION}", f"schemaNamingContext: {SCHEMA}",
              "domainFunctionality: 6", "forestFunctionality: 5", ""]
    ldif.text += "\n".join(lines)


def write_domain(ldif, domain):
    ldif.entry(domain, "domain domainDNS")
    for name, object_class in (("Users", "container"), ("Computers", "container"),
                               ("Infrastructure", "infrastructureUpdate"),
                               ("LostAndFound", "lostAndFound"), ("System", "container")):
        ldif.entry(f"CN={name},{domain}", object_class)
    ldif.entry(f"CN=RID Manager$,CN=System,{domain}", "rIDManager")
    ldif.entry(f"OU=Domain Controllers,{domain}", "organizationalUnit")
    for name, _, _, _ in CONTROLLERS:
        if domain_of(name) == domain:
            ldif.entry(f"CN={name.upper()},OU=Domain Controllers,{domain}",
                       "person organizationalPerson user computer",
                       f"dNSHostName: {full_name(name)}")
    ldif.entry(f"CN=Policies,CN=System,{domain}", "container")
    for number in range(4):
        ldif.entry(f"CN={{{number:08X}-0000-0000-0000-000000000000}},CN=Policies,CN=System,{domain}",
                   "container groupPolicyContainer", f"displayName: Policy {number}",
                   f"versionNumber: {number * 65537}", f"flags: {number}",
                   f"gPCFileSysPath: \\\\corp.example\\sysvol\\Policies\\{number}")


def write_people(ldif, domain, count):
    """Every seventh is locked, every fifth of the others was once; computers are nobody."""
    category = "objectCategory: CN={},CN=Schema,CN=Configuration," + ROOT
    for number in range(count):
        lines = [category.format("Person")]
        if number % 7 == 0:
            lines.append(f"lockoutTime: {134000000000000000 + number}")
        elif number % 5 == 0:
            lines.append("lockoutTime: 0")
        ldif.entry(f"CN=Person {number},CN=Users,{domain}", "person organizationalPerson user",
                   *lines)
    for number in range(4):
        ldif.entry(f"CN=PC{number},CN=Computers,{domain}",
                   "person organizationalPerson user computer", category.format("Computer"),
                   "lockoutTime: 134000000000000000")


def write_lost(ldif):
    for number in range(25):
        ldif.entry(f"CN=Lost {number},CN=LostAndFound,{ROOT}",
                   "person user" if number % 2 else "container")
    marker = f"CN={full_name(MACHINE)},CN=LostAndFound,{ROOT}"
    lines = ["presentationAddress: " + full_name(MACHINE),
             "description: Mon Mar  2 07:00:00 2026"]
    lines += [f"whenChanged{own(name)}: 202603020{7 + number // 60}{number % 60:02}00.0Z"
              for number, (name, _, _, _) in enumerate(CONTROLLERS) if name != MACHINE]
    ldif.entry(marker, "applicationEntity", *lines)


def write_site(ldif, site):
    ldif.entry(f"CN={site},{SITES}", "site")
    ldif.entry(f"CN=NTDS Site Settings,CN={site},{SITES}", "applicationSiteSettings nTDSSiteSettings")
    ldif.entry(f"CN=Servers,CN={site},{SITES}", "serversContainer")
    members = [one for one in CONTROLLERS if one[1] == site]
    for name, _, options, read_only in members:
        ldif.entry(server_dn(name), "server", f"dNSHostName: {full_name(name)}")
        lines = [] if options is None else [f"options: {options}"]
        lines.append("msDS-isRODC: " + ("TRUE" if read_only else "FALSE"))
        ldif.entry(settings_dn(name), "applicationSettings nTDSDSA", *lines)
        for number, source in enumerate(sources_of(name, site)):
            ldif.entry(f"CN={name}-{number},{settings_dn(name)}", "leaf nTDSConnection",
                       f"fromServer: {settings_dn(source)}", "enabledConnection: TRUE")
    if site == "Berlin":
        ldif.entry(f"CN=BER-FILE1,CN=Servers,CN=Berlin,{SITES}", "server",
                   "dNSHostName: BER-FILE1.corp.example")


def sources_of(name, site):
    """Everybody of the site replicates with everybody; the first of each with the first of Berlin."""
    sources = [one for one, where, _, _ in CONTROLLERS if where == site and one != name]
    first = next(one for one, where, _, _ in CONTROLLERS if where == site)
    if name == first and site == "Berlin":
        sources += [next(o for o, w, _, _ in CONTROLLERS if w == s) for s in SITE_NAMES[1:]]
    elif name == first:
        sources.append(MACHINE)
    return [] if name == "LIM-RO1" else sources


def directory():
    ldif = Ldif()
    write_root(ldif)
    write_domain(ldif, ROOT)
    write_people(ldif, ROOT, 60)
    write_lost(ldif)
    write_domain(ldif, CHILD)
    write_people(ldif, CHILD, 15)
    ldif.entry(CONFIGURATION, "configuration")
    ldif.entry(SCHEMA, "dMD")
    ldif.entry("CN=Partitions," + CONFIGURATION, "crossRefContainer")
    for name in FEATURE_PATH:
        ldif.entry(name, "msDS-OptionalFeature" if name == FEATURE_PATH[-1] else "container")
    ldif.entry(SITES, "sitesContainer")
    for site in SITE_NAMES:
        write_site(ldif, site)
    ldif.entry("CN=Inter-Site Transports," + SITES, "interSiteTransportContainer")
    ldif.entry(TRANSPORT, "interSiteTransport", "bridgeheadServerListBL: " + server_dn("OSL-DC1"))
    for site in SITE_NAMES[1:]:
        ldif.entry(f"CN=Berlin-{site},{TRANSPORT}", "siteLink", "cost: 100")
    ldif.entry("CN=Subnets," + SITES, "subnetContainer")
    return ldif.text


def locator():
    controllers = [
        {"name": full_name(name), "address": f"10.53.2.{number + 11}", "site": site,
         "flags": ["LDAP", "DS", "KDC", "READ_ONLY" if read_only else "WRITABLE"]}
        for number, (name, site, _, read_only) in enumerate(CONTROLLERS)]
    return json.dumps({"forest": "corp.example", "controllers": controllers}, indent=1) + "\n"


def registry():
    return f"""Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters]
"Hostname"="{MACHINE}"
"Domain"="corp.example"
"""


def main():
    check = sys.argv[1:2] == ["--check"]
    folder = pathlib.Path(sys.argv[2 if check else 1])
    stale = []
    for name, text in (("directory.ldif", directory()), ("locator.json", locator()),
                       ("registry.reg", registry())):
        if not check:
            (folder / name).write_text(text)
        elif (folder / name).read_text() != text:
            stale.append(name)
    for name in stale:
        print(f"{folder / name}: is not what the script writes")
    return 1 if stale else 0


if __name__ == "__main__":
    sys.exit(main())
