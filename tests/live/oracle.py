"""What ldapsearch says of the lab's directory, and the rows that follow from it.

ldapsearch is the oracle of the live tests: nothing here uses our own programs.
"""

import base64
import datetime
import os
import subprocess

PAGE = ["-E", "pr=1000/noprompt"]


def ldapi_url():
    return "ldapi://" + os.environ["LAB_LDAPI"].replace("/", "%2F")


def parse_ldif(text):
    """Entries as (dn, {lower-case name: [values as bytes]}), in the order of the text."""
    lines = []
    for line in text.split("\n"):
        if line.startswith(" ") and lines:
            lines[-1] += line[1:]
        elif not line.startswith("#"):
            lines.append(line)
    entries = []
    current = None
    for line in lines:
        if not line or line.startswith("ref: "):
            continue
        name, _, rest = line.partition(":")
        if rest.startswith(":"):
            value = base64.b64decode(rest[1:].strip())
        else:
            value = rest[1:].encode() if rest.startswith(" ") else rest.encode()
        if name == "dn":
            current = {}
            entries.append((value.decode(), current))
        else:
            current.setdefault(name.lower(), []).append(value)
    return entries


def ldapsearch(base, scope, names, paged=False):
    command = ["ldapsearch", "-LLL", "-o", "ldif-wrap=no", "-x", "-H", ldapi_url()]
    command += ["-b", base, "-s", scope] + (PAGE if paged else []) + ["(objectClass=*)"]
    done = subprocess.run(command + names, capture_output=True, check=True, timeout=120)
    return parse_ldif(done.stdout.decode())


def root():
    """The root object: {lower-case name: [text values]}."""
    ((_, attributes),) = ldapsearch("", "base", [])
    return {name: [value.decode() for value in values] for name, values in attributes.items()}


def children(base):
    names = ["cn", "objectClass", "whenCreated", "whenChanged", "distinguishedName"]
    return ldapsearch(base, "one", names, paged=True)


def time_text(generalized):
    """The machine's local time, as the time columns show it."""
    moment = datetime.datetime.strptime(generalized.decode()[:14], "%Y%m%d%H%M%S")
    local = moment.replace(tzinfo=datetime.timezone.utc).astimezone()
    return local.strftime("%m/%d/%Y  %H:%M")


def cut(text, width):
    """A value as its column shows it: cut to the width in bytes, trailing blanks gone."""
    return text.encode()[:width].decode(errors="replace").rstrip(" ")


def container_rows(contexts):
    """What Containers must show, context by context, in the directory's own order."""
    rows = []
    for context in contexts:
        for dn, entry in children(context):
            classes = [value.decode() for value in entry["objectclass"]]
            # The class right below top decides, and either spelling inside the name counts.
            if len(classes) < 2 or not ("Container" in classes[1] or "container" in classes[1]):
                continue
            rows.append({
                "cntpart": cut(context, 256),
                "cntcmnm": cut(entry["cn"][0].decode() if "cn" in entry else "", 64),
                "cntdisnm": cut(entry["distinguishedname"][0].decode(), 256),
                "cntcls": cut(classes[1], 64),
                "cntcrts": time_text(entry["whencreated"][0]),
                "cntmdts": time_text(entry["whenchanged"][0]),
            })
    return rows
