#!/usr/bin/env python3
"""Makes a copy of recordings/default in which things go wrong: troubled_recording.py DEFAULT COPY.

Replication fails with codes of every kind of message text, a controller is down, the name server and
the directory disagree, a policy's file and a service are gone, and names are not all ASCII. A text of a single-byte column stays
within what Western Windows can write; wide columns go beyond.
"""
import base64
import pathlib
import shutil
import sys

NAME = "Rechner der Au\u00dfenstelle Gr\u00fcn"


class Copy:
    def __init__(self, source, folder):
        shutil.copytree(source, folder)
        self.folder = pathlib.Path(folder)

    def change(self, name, before, after, count=1):
        path = self.folder / name
        text = path.read_bytes().decode()
        if text.count(before) < count:
            sys.exit(f"{path}: {before!r} is not there {count} times")
        path.write_bytes(text.replace(before, after, count).encode())

    def remove(self, pattern):
        found = list(self.folder.glob(pattern))
        if not found:
            sys.exit(f"{self.folder}: no {pattern}")
        for path in found:
            path.unlink()


def main():
    copy = Copy(*sys.argv[1:3])
    # A text of the system, one of the network's own library, and a code that has none.
    for code, failures in ((1722, 3), (2114, 4), (8453, 5), (4999, 6)):
        copy.change("replication.json", '"last_result": 0, "failures": 0',
                    f'"last_result": {code}, "failures": {failures}')
    copy.change("locator.json", '"site": "Branch"', '"answers": false, "site": "Branch"')
    copy.change("dns.zone", "_gc._tcp                       IN SRV 0 100 3268 dc2\n", "")
    copy.change("dns.zone", "_ldap._tcp.gc._msdcs           IN SRV 0 100 3268 dc2\n",
                "_ldap._tcp.gc._msdcs           IN SRV 0 100 3268 ws-0101\n")
    copy.remove("shares/corp.example/sysvol/corp.example/Policies/{3B4C*/GPT.INI")
    copy.change("directory.ldif", "displayName: Branch Workstations",
                "displayName:: " + base64.b64encode(NAME.encode()).decode())
    copy.change("services.json", '"Name": "ADWS",', '"Name": "ADWS", "SetupError": 5,')
    copy.change("services.json", '"Name": "CryptSvc", "DisplayName": "Cryptographic Services"',
                '"Name": "CryptSvc", "DisplayName": "Kryptographische Dienste f\u00fcr Gr\u00f6\u00dfen\u4e00"')
    copy.change("commands.json", '"command": "ping * DC2.corp.example"',
                '"command": "ping * nobody.corp.example"')


if __name__ == "__main__":
    main()
