#!/usr/bin/env python3
"""Writes recordings/german: the machine of the default recording with its counters in German.

The same objects, counters and values as in recordings/default/counters.csv, under German names, and
the two tables of counter names, English and German, as the registry of such a machine has them. The
names are plausible, not copied from any system. The result is committed and the same on every run:

    tools/make_german_recording.py
"""
import pathlib
import re

import make_default_counters as default

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "recordings/german"
FIRST_INDEX = 1848

# Whole names and pieces of names; the longest that fits is taken, what is not here stays as it is.
GERMAN = {
    "DirectoryServices": "Verzeichnisdienste",
    "Security System-Wide Statistics": "Systemweite Sicherheitsstatistiken",
    "FileReplicaSet": "Dateireplikatsatz", "Database": "Datenbank", "DHCP Server v6": "DHCPv6-Server",
    "DHCPV6 Server": "DHCP-V6-Server", "DHCP Server": "DHCP-Server",
    "DFS Replication Service Volumes": "DFS-Replikationsdienstvolumes",
    "DFS Replication Connections": "DFS-Replikationsverbindungen",
    "DFS Replicated Folders": "Replizierte DFS-Ordner",
    "Milliseconds per packet (Avg).": "Millisekunden pro Paket (Mittel).",
    "Bandwidth Savings Using DFS Replication": "Bandbreitenersparnis durch DFS-Replikation",
    "Per Second": "pro Sekunde", "Since Boot": "seit Systemstart",
    "Within Site": "innerhalb des Standorts", "Between Sites": "zwischen Standorten",
    "Before Compression": "vor Komprimierung", "After Compression": "nach Komprimierung",
    "Not Compressed": "unkomprimiert", "Not": "nicht", "Compressed": "komprimiert",
    "Full Sync": "Vollsynchronisierung", "Sync": "Synchronisierung",
    "Includes all requests": "alle Anforderungen", "Security Descriptor": "Sicherheitsbeschreibung",
    "in Error": "fehlerhaft", "In Error": "fehlerhaft", "with Error": "mit Fehler",
    "In Use": "in Gebrauch", "in Use": "in Gebrauch", "Cleaned up": "bereinigt", "from": "von",
    "with": "mit", "without": "ohne", "in": "in", "on": "bei", "of": "der", "at": "beim",
    "Aborted": "abgebrochen", "Accepted": "angenommen", "Account": "Konto", "Acks": "Bestätigungen",
    "Active": "aktiv", "Advertises": "Ankündigungen", "Applied": "übernommen",
    "Attempts": "Versuche", "Authentications": "Authentifizierungen", "Average": "mittlere",
    "Bind": "Bindungs", "Bindings": "Bindungen", "Binds": "Anbindungen", "Blocks": "Blöcke",
    "Browses": "Suchlisten", "Cache": "Zwischenspeicher", "Caching": "Zwischenspeicherungs",
    "Change": "Änderungs", "Changes": "Änderungen", "Check": "Prüfungs",
    "Cleanups": "Bereinigungen", "Client": "Client", "Closed": "geschlossene", "Commits": "Commits",
    "Committed": "bestätigte", "Communication": "Kommunikations", "Completed": "abgeschlossen",
    "Computer": "Computer", "Confirms": "Zusagen", "Conflict": "Konflikt",
    "Connections": "Verbindungen", "Converted": "konvertiert", "Created": "erstellt",
    "Creation": "Erstellungs", "Creations": "Erstellungen", "Dampened": "gedämpft",
    "Declines": "Ablehnungen", "Deleted": "gelöscht", "Directory": "Verzeichnis",
    "Discovers": "Erkundungen", "Display": "Anzeige", "Domain": "Domänen",
    "Dropped": "verworfen", "Duplicates": "Duplikate", "Dynamic": "dynamische",
    "Enumerations": "Aufzählungen", "Evaluation": "Auswertungs", "Evaluations": "Auswertungen",
    "Evaporated": "verflüchtigt", "Events": "Ereignisse", "Evictions": "Verdrängungen",
    "Examined": "untersucht", "Exclusion": "Ausschluss", "Expired": "abgelaufen",
    "Failure": "Fehlschlag", "Failures": "Fehlschläge", "Fault": "Fehler", "Faults": "Seitenfehler",
    "Fetch": "Abruf", "Fetched": "abgerufen", "File": "Datei", "Files": "Dateien",
    "Filtered": "gefiltert", "Flow": "Fluss", "Folder": "Ordner", "Free": "frei",
    "Generate": "Erzeugen", "Generated": "erzeugt", "Getting": "beim Holen", "Global": "global",
    "Group": "Gruppen", "High": "oberer", "Highest": "höchste", "Hit": "Treffer", "hit": "Treffer",
    "Hits": "Treffer", "Holding": "haltend", "Inbound": "eingehend", "Information": "Informationen",
    "Informs": "Mitteilungen", "Install": "Installieren", "Installed": "installiert",
    "Installs": "Installationen", "Issued": "ausgegebene", "Join": "Beitritts",
    "Joins": "Beitritte", "Journal": "Journal", "Latency": "Latenz", "Length": "Länge",
    "Link": "Verknüpfungs", "List": "Listen", "Local": "lokal", "Log": "Protokoll",
    "Lookup": "Nachschlage", "Lookups": "Nachschläge", "Low": "unterer", "Machine": "Maschinen",
    "Made": "gestellt", "Matches": "Übereinstimmungen", "Membership": "Mitgliedschafts",
    "Memory": "Speicher", "Message": "Meldungs", "Mismatch": "Abweichung", "Misses": "Fehlzugriffe",
    "Monitor": "Überwachungs", "Morphed": "umgeformt", "Nacks": "Zurückweisungen",
    "Name": "Namens", "New": "neue", "NoOperation": "ohne Wirkung", "Node": "Knoten",
    "Non-Transitive": "nicht transitiv", "Notifications": "Benachrichtigungen",
    "Notify": "Benachrichtigung", "Number": "Anzahl", "Object": "Objekt", "Objects": "Objekte",
    "Offers": "Angebote", "Open": "offene", "Opens": "Öffnungen", "operations": "Vorgänge",
    "Operations": "Vorgänge", "Orders": "Aufträge", "Other": "andere", "Outbound": "ausgehend",
    "Packet": "Paket", "Packets": "Pakete", "Page": "Seiten", "Pages": "Seiten",
    "Password": "Kennwort", "Pending": "ausstehende", "Percentage": "Prozentsatz",
    "Polls": "Abfragen", "Propagated": "weitergegeben", "Propagations": "Weitergaben",
    "Propagator": "Weitergabe", "Properties": "Eigenschaften", "Property": "Eigenschafts",
    "Proxy": "Stellvertreter", "Queries": "Anfragen", "Query": "Anfrage", "Queue": "Warteschlangen",
    "Queued": "eingereiht", "Read": "gelesen", "Reads": "Lesevorgänge", "rate": "rate",
    "Rebinds": "Neubindungen", "Received": "empfangen", "Record": "Datensatz",
    "Records": "Datensätze", "Recursive": "rekursive", "Regenerated": "neu erzeugt",
    "Rejected": "zurückgewiesen", "Releases": "Freigaben", "Remaining": "verbleibend",
    "Removed": "entfernt", "Rename": "Umbenennen", "Renews": "Verlängerungen",
    "Replica": "Replikat", "Replication": "Replikations", "Request": "Anforderung",
    "Requests": "Anforderungen", "Resource": "Ressourcen", "Response": "Antwort",
    "Retired": "erledigt", "Retried": "wiederholt", "Reverse": "rückwärts", "Runtime": "Laufzeit",
    "Schema": "Schema", "Search": "Such", "Searches": "Suchvorgänge", "Secure": "sichere",
    "Semaphore": "Semaphor", "Send": "Sende", "Sent": "gesendet", "Server": "Server",
    "Sessions": "Sitzungen", "Sets": "Sätze", "Size": "Größe", "Solicits": "Anfrageaufrufe",
    "Space": "Platz", "Staging": "Bereitstellungs", "Stalls": "Stillstände", "Started": "gestartet",
    "started": "gestartet", "exited": "beendet", "Succeeded": "gelungen", "Success": "Erfolg",
    "Successful": "erfolgreiche", "Synchronizations": "Synchronisierungen", "Table": "Tabellen",
    "Threads": "Threads", "Time": "Zeit", "TimeOut": "Zeitüberschreitung",
    "TimeOuts": "Zeitüberschreitungen", "Timeouts": "Zeitüberschreitungen", "Total": "gesamt",
    "Transfer": "Übertragung", "Transitive": "transitiv", "Translations": "Übersetzungen",
    "Universal": "universell", "Unjoins": "Austritte", "Unread": "ungelesen",
    "Update": "Aktualisierung", "Updates": "Aktualisierungen", "Used": "benutzt", "User": "Benutzer",
    "Value": "Wert", "Values": "Werte", "Version": "Versions", "buckets": "Behälter",
    "allocated": "belegt", "Waiting": "wartend", "Write": "Schreib", "Writes": "Schreibvorgänge",
    "Written": "geschrieben", "to": "in", "Zone": "Zonen", "part": "Teil",
    "sub-operations": "Teilvorgänge", "sec": "s",
}
PIECES = re.compile(r"(?<![\w-])(" + "|".join(
    re.escape(piece) for piece in sorted(GERMAN, key=len, reverse=True)) + r")(?![\w-])")


def german(name):
    return PIECES.sub(lambda match: GERMAN[match.group(1)], name)


def names():
    """Each name once, the object before its counters, in the order of the default recording."""
    found = {}
    for object_name, _, counter in default.columns():
        found[object_name] = found[counter] = None
    return list(found)


def counters():
    text = default.text()
    header, rest = text.split("\r\n", 1)
    first, *paths = header[1:-1].split('","')
    translated = [first]
    for path, (object_name, instance, counter) in zip(paths, default.columns()):
        assert path.endswith("\\" + counter), path
        brackets = "" if instance is None else f"({instance})"
        translated.append(f"\\\\{default.HOST}\\{german(object_name)}{brackets}\\{german(counter)}")
    return ",".join(default.quoted(cell) for cell in translated) + "\r\n" + rest


def multi_text(name, texts):
    """A value of several texts as the registry editor exports it: 16-bit units, low byte first."""
    data = "".join(text + "\0" for text in texts) + "\0"
    octets = [f"{octet:02x}" for octet in data.encode("utf-16-le")]
    lines, line = [], f'"{name}"=hex(7):'
    for i, octet in enumerate(octets):
        line += octet + ("," if i + 1 < len(octets) else "")
        if len(line) >= 77 and i + 1 < len(octets):
            lines.append(line + "\\")
            line = "  "
    return "\n".join(lines + [line])


def name_table(language, translate):
    # The system's own tables begin so: the highest index of the counters that it came with.
    texts = ["1", "1847"]
    for i, name in enumerate(names()):
        texts += [str(FIRST_INDEX + 2 * i), translate(name)]
    key = rf"HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Perflib\{language}"
    return f"[{key}]\n{multi_text('Counter', texts)}\n"


MACHINE = r"""Windows Registry Editor Version 5.00

; A made-up controller of a made-up forest, set up in German.

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\Tcpip\Parameters]
"Hostname"="DC1"
"Domain"="corp.example"

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Nls\Language]
"Default"="0407"
"InstallLanguage"="0407"

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion]
"ProductName"="Windows Server 2022 Standard"
"CurrentMajorVersionNumber"=dword:0000000a
"CurrentMinorVersionNumber"=dword:00000000
"CurrentBuildNumber"="20348"

; The names of the counters and their indexes, in English and in German.

"""


def main():
    translations = {}
    for name in names():
        local = german(name)
        assert local not in translations, f"{name} and {translations[local]} are both {local}"
        assert len(local.encode()) < 128, local
        translations[local] = name
    FOLDER.mkdir(exist_ok=True)
    (FOLDER / "counters.csv").write_bytes(counters().encode())
    registry = MACHINE + name_table("009", str) + "\n" + name_table("007", german)
    (FOLDER / "registry.reg").write_bytes(registry.encode())


if __name__ == "__main__":
    main()
