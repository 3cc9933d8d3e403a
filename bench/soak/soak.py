#!/usr/bin/python3 -B
# SPDX-License-Identifier: Apache-2.0
"""script/soak [MINUTES], after the build: soak.py PROGRAMS MINUTES

Two servers, of which one is active, and four clients on a broker. The clients ask for 20 operations a
second, which make about 240 records. The broker is restarted, the active server is killed, the standby
takes over. At quiet points, at which no operation is in progress, what the servers publish is compared
with their databases, and the caches of all clients with that of the active server.
"""
import argparse
import json
import math
import signal
import sys
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

import state
import summary
from ledger import Ledger
from processes import Broker, Client, Process
from wire import Wire

CLIENTS, SERVERS = 4, (1, 2)
OPERATIONS, RECORDS = 19, 200  # a second: with less the run shows too little
WAITING = 10  # requests at the server, and about as many at the broker, when it is killed
LONGEST_OUTAGE = 20  # seconds


class Failed(Exception):
    """The run cannot go on."""


def wait_for(what, condition, limit=30):
    end = time.monotonic() + limit
    while not condition():
        if time.monotonic() > end:
            raise Failed(f"{what}: not within {limit} s")
        time.sleep(0.01)


class Run:
    def __init__(self, programs, minutes, folder):
        self.programs, self.seconds, self.folder = programs, 60 * minutes, folder
        self.settle, self.started = min(60, self.seconds / 4), time.monotonic()
        self.ledger, self.faults = Ledger(), []
        self.outages, self.takeovers, self.resyncs = [], [], []
        self.comparisons = self.compared = self.changes = self.fetches = 0
        self.busy = 0.0      # seconds in which operations were asked for
        self.resumed = None  # since when they are, None while they are not
        self.server_runs, self.clients, self.wire = [], [], None
        self.broker = Broker(folder)
        self.station = folder / "station.json"
        state.write_station(self.station)
        self.servers = {}

    # ------------------------------------------------------------------------------- processes

    def start_server(self, dst, *more):
        name = f"server {dst}, run {1 + sum(p.name.startswith(f'server {dst}') for p in self.server_runs)}"
        self.servers[dst] = Process(
            name, [self.programs / "paserver", "--broker", self.broker.url, "--dst", dst, "--scenario",
                   self.station, "--state", self.state_folder(dst), *more], self.folder)
        self.server_runs.append(self.servers[dst])

    def state_folder(self, dst):
        return self.folder / f"state{dst}"

    def start(self):
        for dst in SERVERS:  # each makes its database
            self.start_server(dst)
            wait_for("a server starts", lambda: "connected" in self.servers[dst].log())
            self.servers[dst].end(signal.SIGTERM)
            state.add_triggers(self.state_folder(dst))
        self.server_runs.clear()
        self.wire = Wire(self.broker.port)
        self.start_server(1, "--role", "active")
        wait_for("server 1 is active", lambda: self.wire.active() == 1)
        self.start_server(2)
        wait_for("server 2 is there", lambda: self.wire.statuses.get(2, {}).get("state") == "online")
        self.clients = [Client(number, self.programs, self.broker.url, self.folder, self.ledger)
                        for number in range(CLIENTS)]
        for client in self.clients:
            client.reply("ready")

    def living(self):
        return [self.broker.process, *self.servers.values(), *self.clients]

    def stop(self):
        if self.resumed:
            self.busy += time.monotonic() - self.resumed
        if self.wire:
            self.wire.stop()
        for process in (*self.clients, *self.servers.values(), self.broker.process):
            process.end(signal.SIGKILL)
        for client in self.clients:
            client.reader.join(5)

    # --------------------------------------------------------------------------------- events

    def note(self, text):
        print(f"{time.monotonic() - self.started:6.0f} s  {text}", flush=True)

    def send(self, command):
        for client in self.clients:
            client.send(command)

    @contextmanager
    def interruption(self, what, times):
        """Waits until all clients are synced after it, and notes how long that took."""
        start = time.monotonic()
        self.outages.append([start, math.inf])
        yield
        wait_for("the clients are synced again",
                 lambda: all(client.synced_after(start) for client in self.clients), LONGEST_OUTAGE)
        times.append(max(client.synced_after(start) - start for client in self.clients))
        self.outages[-1][1] = time.monotonic()
        self.note(f"{what}: all clients synced again after {times[-1]:.2f} s")

    def kill_server(self):
        """The standby takes over."""
        dst = self.wire.active()
        with self.interruption(f"server {dst} is killed", self.takeovers):
            self.servers[dst].end(signal.SIGKILL)
            wait_for("the standby takes over", lambda: self.wire.active() not in (dst, None))
        self.start_server(dst)

    def restart_broker(self):
        """Some requests wait at the active server, which carries them out, but its answers are lost with the
        broker. So are later requests. The clients send both again."""
        server = self.servers[self.wire.active()]
        with self.interruption("the broker is restarted", self.resyncs):
            server.signal(signal.SIGSTOP)
            wait_for("requests wait", lambda: self.wire.unanswered() >= WAITING)
            self.broker.process.signal(signal.SIGSTOP)
            server.signal(signal.SIGCONT)
            time.sleep(WAITING / OPERATIONS)
            self.broker.process.end(signal.SIGKILL)
            if not self.broker.start():
                raise Failed("mosquitto does not start again: " + self.broker.process.log())

    def compare(self):
        """Compares the caches with the servers' states while no operation is in progress."""
        self.send("pause")
        self.busy, self.resumed = self.busy + time.monotonic() - self.resumed, None
        for client in self.clients:
            client.reply("paused")
        kept = {}
        for dst in SERVERS:
            wait_for(f"the broker holds what server {dst} does", lambda: not self.wire.difference(dst), 5)
            kept[dst] = state.expected(json.loads(self.station.read_text()), self.state_folder(dst))
            if state.publishes_wrong(kept[dst], self.wire.held[dst]):
                self.faults.append(
                    f"server {dst}, comparison {self.comparisons + 1}: it does not publish what it keeps")
        self.send("state")
        active = self.wire.active()
        wanted = kept[active]
        self.changes = self.fetches = 0
        for client in self.clients:
            caches = json.loads(client.reply("state")[0])
            self.changes += caches["changes"]
            self.fetches += caches["fetchedAgain"]
            self.compared += sum(len(records) for records in wanted.values())
            found = state.differences(wanted, caches)
            if caches["active"] != active:
                found.append(f"server {caches['active']} in place of {active}")
            self.faults += [f"{client.name}, comparison {self.comparisons + 1}: {text}" for text in found[:5]]
        self.comparisons += 1
        self.note(f"the caches of {CLIENTS} clients are compared with server {active}")

    # ------------------------------------------------------------------------------- the course

    def course(self):
        """(seconds, event) in order: comparisons between interruptions."""
        unit = min(75, self.seconds / 6)
        events = [self.compare, self.kill_server, self.compare, self.restart_broker]
        count = 0
        while (count + 1.5) * unit <= self.seconds:
            yield (count + 1) * unit, events[count % 4]
            count += 1

    def work_until(self, end):
        if self.resumed is None:
            self.send("run")
            self.resumed = time.monotonic()
        while time.monotonic() < end:
            for process in self.living():
                if process.has_ended():
                    raise Failed("a process has ended by itself")
                if not process.samples or time.monotonic() > process.started + process.samples[-1][0] + 2:
                    process.sample()
            time.sleep(0.1)

    def work(self):
        self.started = time.monotonic()
        self.work_until(self.started + 2)
        self.compare()  # before memory counts, since it takes some
        for seconds, event in self.course():
            self.work_until(self.started + seconds)
            event()
        self.work_until(self.started + self.seconds)
        self.compare()
        self.check_load()

    def check_load(self):
        operations, records = summary.rates(self)
        if operations < OPERATIONS or records < RECORDS:
            self.faults.append(
                f"the load is too low: {operations:.1f} operations, {records:.0f} records a second")
        for client in self.clients:
            losses = [reason for moment, what, reason in client.connections if what == "disconnected"
                      and not any(start <= moment <= end for start, end in self.outages)]
            if losses:
                self.faults.append(
                    f"{client.name} has lost its connection though nothing was interrupted: {losses}")


def main():
    parser = argparse.ArgumentParser(prog="soak")
    parser.add_argument("programs", type=lambda folder: Path(folder).resolve())
    parser.add_argument("minutes", type=float)
    arguments = parser.parse_args()
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    code = 0
    with tempfile.TemporaryDirectory(prefix="soak-") as folder:
        run = Run(arguments.programs, arguments.minutes, Path(folder))
        try:
            run.start()
            run.work()
        except KeyboardInterrupt:
            code = 130
        except (Failed, RuntimeError, OSError) as error:
            run.faults.append(str(error))
            run.faults += [f"{process.name} has ended: {process.log()[-500:]}"
                           for process in run.living() if process.has_ended()]
        finally:
            signal.signal(signal.SIGINT, signal.SIG_IGN)
            signal.signal(signal.SIGTERM, signal.SIG_IGN)
            run.stop()
        if run.clients:
            summary.summarise(run)
    for fault in run.faults[:20]:
        print(f"soak: {fault}")
    print("soak: " + ("interrupted" if code else "failed" if run.faults else "passed"))
    return code or (1 if run.faults else 0)


if __name__ == "__main__":
    sys.exit(main())
