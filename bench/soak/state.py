# SPDX-License-Identifier: Apache-2.0
"""The station of a run, and what its servers hold: read from their databases, not from what they report.

Triggers of the database note each change in the transaction that makes it. So what a server has
carried out is known whatever becomes of the server and its messages.
"""
import json
import re
import shutil
import sqlite3
import tempfile
from contextlib import closing
from pathlib import Path

from wire import NAME, gain_name

ZONES, SINKS_OF_ZONE = 20, 12
SINK = {"location": "Hall", "ipAddress": "10.0.0.1", "type": 1, "outputGain": -6}
SOURCE = {"location": "Desk", "ipAddress": "10.0.0.2", "type": 2, "inputGain": -3}
TRIGGERS = """
    CREATE TABLE carried_out (number INTEGER PRIMARY KEY, change TEXT, kind TEXT, id INTEGER, value BLOB);
    CREATE TRIGGER putting AFTER INSERT ON kept BEGIN
        INSERT INTO carried_out (change, kind, id, value) VALUES ('put', NEW.kind, NEW.id, NEW.value); END;
    CREATE TRIGGER removal AFTER DELETE ON kept BEGIN
        INSERT INTO carried_out (change, kind, id, value) VALUES ('remove', OLD.kind, OLD.id, OLD.value); END;
"""


def write_station(file):
    zones = [f"Zone {number}" for number in range(1, ZONES + 1)]
    file.write_text(json.dumps({
        "name": "Soak", "timeZone": "UTC", "voices": [],
        "zones": [{"id": zone} for zone in zones],
        "sinks": [{"id": number, "label": f"Sink {number}", "zones": [zones[(number - 1) // SINKS_OF_ZONE]],
                   **SINK} for number in range(1, ZONES * SINKS_OF_ZONE + 1)],
        "sources": [{"id": number, "label": f"Source {number}", **SOURCE} for number in range(1, 21)],
        "dictionary": [{"item": 1, "text": "Tone", "seconds": 0.4}]}))


def add_triggers(folder):
    with closing(sqlite3.connect(folder / "schedules.db")) as database:
        database.executescript(TRIGGERS)


def read(folder, query):
    """Rows of the database of a server, which may run: of a copy, with what is not merged yet."""
    with tempfile.TemporaryDirectory() as copy:
        for file in Path(folder).glob("schedules.db*"):
            if not file.name.endswith("-shm"):
                shutil.copy(file, copy)
        with closing(sqlite3.connect(Path(copy) / "schedules.db")) as database:
            return [[cell.decode() if isinstance(cell, bytes) else cell for cell in row]
                    for row in database.execute(query)]


def carried_out(dst, folder):
    """The names of what a server has carried out, in order. A removal has a second one, its number's."""
    for change, kind, number, value in read(
            folder, "SELECT change, kind, id, value FROM carried_out ORDER BY number"):
        if kind == "gain of sink":
            yield gain_name(value)
        elif kind == "schedule":
            yield ("create " if change == "put" else "remove ") + NAME.search(value).group()
            if change == "remove":
                yield f"remove {dst}/{number}"
        else:
            yield f"{change} {kind} {number}"


def expected(station, folder):
    """What the caches hold while nothing plays: the station, and what its database has changed."""
    kept = read(folder, "SELECT kind, id, value FROM kept")
    gains = {number: float(value.split(",")[1]) for kind, number, value in kept if kind == "gain of sink"}
    return {
        "sinks": {sink["id"]: {
            "label": sink["label"], "location": sink["location"], "ipAddress": sink["ipAddress"],
            "type": sink["type"], "paZoneList": sink["zones"], "muteState": 1, "healthState": 1,
            "state": 1, "announcementType": 0, "outputGain": gains.get(sink["id"], sink["outputGain"])}
            for sink in station["sinks"]},
        "sources": {source["id"]: {
            "label": source["label"], "location": source["location"], "type": source["type"],
            "inputGain": source["inputGain"], "state": 1, "healthState": 1}
            for source in station["sources"]},
        "zones": {zone["id"]: {"activity": 0, "announcementType": 7, "health": 1}
                  for zone in station["zones"]},
        "schedules": {number: {"descrption": NAME.search(value).group(), "startYear": 2099,
                               "paZones": ["Zone 1"], "dictionaryItems": [1]}
                      for kind, number, value in kept if kind == "schedule"},
        "announcements": {},
    }


def publishes_wrong(wanted, held):
    """Whether the records of a server have other gains or schedules than its database."""
    gains = {int(key[2:]): float(json.loads(record)[11]) for key, record in held.items() if key[:2] == "3/"}
    names = {int(key[3:]): NAME.search(record.decode()).group()
             for key, record in held.items() if key[:3] == "18/"}
    return gains != {number: sink["outputGain"] for number, sink in wanted["sinks"].items()} \
        or names != {number: schedule["descrption"] for number, schedule in wanted["schedules"].items()}


def differences(wanted, caches):
    """How the caches of a client differ from that, a text for each difference."""
    found = []
    for kind, records in wanted.items():
        held = {record.get("id", record.get("Id")): record for record in caches[kind]}
        if len(held) != len(caches[kind]) or held.keys() != records.keys():
            found.append(f"{kind}: {len(caches[kind])} in place of {len(records)}, differing in "
                         f"{sorted(held.keys() ^ records.keys())[:5]}")
        for key in held.keys() & records.keys():
            wrong = {name: (held[key][name], value) for name, value in records[key].items()
                     if held[key][name] != value}
            if wrong:
                found.append(f"{kind} {key}: {wrong} (cache, server)")
    return found
