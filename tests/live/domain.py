"""The lab's forest as the other tools see and change it, for the comparison programs that need more
than one controller: names, searches and changes as the administrator, samba-tool on a machine, and
waiting for what the forest reaches by itself.
"""

import json
import os
import subprocess
import time

import oracle
from live_test import BASE, DIRWATCH, run_program, scratch, write_file

QUESTION_PROBE = os.environ["QUESTION_PROBE"]
FIRST = os.environ["LAB_SERVER"]
SECOND = os.environ["LAB_SECOND_SERVER"]
DOMAIN = FIRST.partition(".")[2]
HOME_SITE = "Default-First-Site-Name"
BRANCH_SITE = os.environ["LAB_SITE"]
CONFIGURATION = "CN=Configuration," + BASE
SITES = "CN=Sites," + CONFIGURATION
TRANSPORT = "CN=IP,CN=Inter-Site Transports," + SITES
ENUM_END = -10


def url(server):
    return "ldap://" + server


def settings(machine):
    return ["-s", os.path.join(os.environ["LAB_ROOT"], machine, "etc", "smb.conf")]


def samba_tool(machine, *arguments):
    """What samba-tool prints on that machine, with the machine's own rights."""
    command = [os.environ["LAB_PROGRAM"], "exec", machine, "samba-tool", *arguments]
    done = subprocess.run(command + settings(machine), capture_output=True, text=True, timeout=120,
                          check=False)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(arguments)}: {done.stdout}{done.stderr}")
    return done.stdout


def on_machine(machine, *command):
    """The command as one of that machine, which has Samba's settings there as its own."""
    namespace = os.environ["LAB_CLIENT_NAMESPACE"].removesuffix("cli") + machine
    return ["ip", "netns", "exec", namespace, "env", "SMB_CONF_PATH=" + settings(machine)[1], *command]


def ip(*arguments):
    """Changes the network of dc2's machine."""
    subprocess.run([os.environ["LAB_PROGRAM"], "exec", "dc2", "ip", *arguments], check=True,
                   timeout=30)


def administrator(server, program):
    return [program, "-x", "-H", url(server), "-D", os.environ["LAB_BIND_DN"],
            "-y", os.environ["LAB_PASSWORD_FILE"]]


def modify(server, change):
    """Applies an LDIF change as the administrator."""
    done = subprocess.run(administrator(server, "ldapmodify"), input=change, capture_output=True,
                          text=True, timeout=60, check=False)
    if done.returncode != 0:
        raise AssertionError(done.stderr + change)


def search(server, base, scope, condition, names):
    command = administrator(server, "ldapsearch") + ["-LLL", "-o", "ldif-wrap=no", "-b", base]
    command += ["-s", scope] + oracle.PAGE + [condition, *names]
    done = subprocess.run(command, capture_output=True, text=True, timeout=120, check=False)
    if done.returncode == 32:  # no such object
        return []
    if done.returncode != 0:
        raise AssertionError(done.stderr)
    return oracle.parse_ldif(done.stdout)


def texts(entry, name):
    return [value.decode() for value in entry.get(name.lower(), [])]


def until(condition, seconds=300):
    """The first true answer of a condition that the forest reaches by itself, by replicating."""
    deadline = time.monotonic() + seconds
    while not (answer := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {seconds} s")
        time.sleep(0.5)
    return answer


class Questions:
    """question_probe as a conversation with one controller."""

    def __init__(self, server):
        self.errors = open(scratch("question-probe.log"), "w+", encoding="utf-8", errors="replace")
        self.process = subprocess.Popen([QUESTION_PROBE, url(server)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=self.errors, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(60)
        self.process.stdout.close()
        self.errors.close()

    def ask(self, *words):
        self.process.stdin.write("|".join(words) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            self.errors.seek(0)
            raise AssertionError("the probe ended: " + self.errors.read()[-2000:])
        return json.loads(line)


def servers(site=None):
    """(site, cn, dNSHostName, options) of every controller, as ldapsearch lists them."""
    found = []
    for dn, entry in search(FIRST, SITES, "sub", "(objectClass=nTDSDSA)", ["options"]):
        _, server_cn, _, site_cn, _ = dn.split(",", 4)
        ((_, server),) = search(FIRST, dn.partition(",")[2], "base", "(objectClass=*)",
                                ["dNSHostName"])
        options = int(texts(entry, "options")[0]) if texts(entry, "options") else 0
        found.append((site_cn[3:], server_cn[3:], texts(server, "dNSHostName")[0], options))
    return [entry for entry in found if site in (None, entry[0])]


def owners():
    """{role: short name} by samba-tool."""
    roles = {}
    for line in samba_tool("dc1", "fsmo", "show").splitlines():
        role, _, owner = line.partition(" owner: ")
        roles[role] = owner.split(",")[1].partition("=")[2]
    return roles


def links(machine):
    """{(naming context, source's name): (failures, ever succeeded)} by samba-tool."""
    report = json.loads(samba_tool(machine, "drs", "showrepl", "--json"))
    return {(link["NC dn"], link["NTDS DN"].split(",")[1][3:]):
            (link["consecutive failures"], link["last success"] != "NTTIME(0)")
            for link in report["repsFrom"]}


def record(name):
    """A recording of dc1, in a folder that is not there yet."""
    folder = scratch(name)
    done = run_program([DIRWATCH, "record", "--controller", url(FIRST), "--output", folder])
    assert done.returncode == 0, done.stderr
    return folder


def lasting(rows):
    """The rows without the moment at which they were made."""
    return [{name: value for name, value in row.items() if name not in ("time", "timestamp")}
            for row in rows]


class Agent:
    """The agent in its everyday form, `dirwatch run`, sampling one table each second. It stops in
    its orderly way when this is left."""

    def __init__(self, table, server, machine="cli", **environment):
        name = f"agent-{time.monotonic_ns()}"
        self.output = scratch(name + ".json")
        self.trace = open(scratch(name + ".trace"), "w+", encoding="utf-8", errors="replace")
        configuration = write_file(name + ".toml", f"""
[trace]
flags = 128
console = true
[framework]
interval = "1s"
tables = ["{table}"]
[sink]
format = "json"
path = "{self.output}"
""")
        command = [DIRWATCH, "run", "--controller", url(server), "--config", configuration]
        self.process = subprocess.Popen(on_machine(machine, *command), stdout=subprocess.DEVNULL,
                                        stderr=self.trace, env={**os.environ, **environment})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        self.trace.close()

    def stop(self):
        self.process.terminate()
        assert self.process.wait(60) == 0, self.process.returncode

    def rows(self):
        """Every row so far, a sample after the other."""
        if not os.path.exists(self.output):
            return []
        with open(self.output, encoding="utf-8") as file:
            return [json.loads(line) for line in file if line.endswith("\n")]

    def until(self, wanted, seconds=120):
        """The first true answer of wanted(rows)."""
        def check():
            if self.process.poll() is not None:
                raise AssertionError("the agent ended: " + self.said())
            return wanted(self.rows())
        try:
            return until(check, seconds)
        except AssertionError as error:
            raise AssertionError(f"{error}; rows {self.rows()[-5:]}; {self.said()}") from None

    def said(self):
        self.trace.seek(0)
        return self.trace.read()[-3000:]
