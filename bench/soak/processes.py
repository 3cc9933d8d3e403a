# SPDX-License-Identifier: Apache-2.0
"""The processes of a run. Each ends with the run, however that ends; its memory is sampled."""
import os
import queue
import signal
import socket
import statistics
import subprocess
import threading
import time
from pathlib import Path


class Process:
    def __init__(self, name, words, folder, **pipes):
        self.name, self.started, self.samples = name, time.monotonic(), []
        self.log_path = folder / (name.replace(" ", "-") + ".log")
        with open(self.log_path, "ab") as log:
            # A group of its own: Ctrl-C is the run's to handle.
            self.process = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", *map(str, words)],
                stderr=log, start_new_session=True, text=True, **pipes)

    def has_ended(self):
        return self.process.poll() is not None

    def signal(self, number):
        os.kill(self.process.pid, number)

    def end(self, number):
        if not self.has_ended():
            self.signal(number)
            self.signal(signal.SIGCONT)
        try:
            return self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return self.process.wait()

    def log(self):
        return self.log_path.read_text(errors="replace")

    def sample(self):
        """Notes how much memory of its own the process has."""
        try:
            status = Path(f"/proc/{self.process.pid}/status").read_text()
        except OSError:
            return
        kib = [int(line.split()[1]) for line in status.splitlines() if line.startswith("RssAnon:")]
        if kib:
            self.samples.append((time.monotonic() - self.started, kib[0]))

    def growth(self, settle):
        """(KiB when it has settled, KiB at the end), or None when it has not lived for twice that."""
        settled = [kib for age, kib in self.samples if age >= settle]
        if len(settled) < 6 or self.samples[-1][0] < 2 * settle:
            return None
        return statistics.median(settled[:3]), statistics.median(settled[-3:])


class Broker:
    """A mosquitto on a free port, which it keeps when it starts again. It keeps no messages."""

    def __init__(self, folder):
        self.folder, self.port, self.runs = folder, None, []
        for _ in range(20):  # another process may take the port meanwhile
            with socket.create_server(("127.0.0.1", 0)) as free:
                self.port = free.getsockname()[1]
            if self.start():
                return
        raise RuntimeError("mosquitto does not start: " + self.runs[-1].log())

    @property
    def url(self):
        return f"mqtt://127.0.0.1:{self.port}"

    @property
    def process(self):
        return self.runs[-1]

    def start(self):
        file = self.folder / "mosquitto.conf"
        file.write_text(f"listener {self.port} 127.0.0.1\nallow_anonymous true\n"
                        "set_tcp_nodelay true\nmax_queued_messages 1000000\nlog_type error\n")
        path = os.environ["PATH"] + ":/usr/sbin"
        self.runs.append(Process(f"broker {len(self.runs) + 1}", ["mosquitto", "-c", file],
                                 self.folder, env={**os.environ, "PATH": path}))
        while not self.process.has_ended():
            try:
                socket.create_connection(("127.0.0.1", self.port), 1).close()
                return True
            except OSError:
                time.sleep(0.01)
        return False


class Client(Process):
    """A soak_client. What it writes of its operations is taken by the ledger."""

    def __init__(self, number, programs, url, folder, ledger):
        super().__init__(f"client {number}", [programs / "soak_client", url, number], folder,
                         stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.connections = []  # (s, state, reason)
        self.replies = queue.Queue()
        self.reader = threading.Thread(target=self.read, args=(ledger,), daemon=True)
        self.reader.start()

    def read(self, ledger):
        for line in self.process.stdout:
            kind, *words = line.rstrip("\n").split("\t")
            if kind == "connection":
                self.connections.append((int(words[1]) / 1000, words[0], words[2]))
            elif kind in ("begin", "end"):
                ledger.take(kind, words)
            else:
                self.replies.put((kind, words))

    def send(self, command):
        print(command, file=self.process.stdin, flush=True)

    def reply(self, wanted, limit=40):
        try:
            kind, words = self.replies.get(timeout=limit)
        except queue.Empty:
            raise RuntimeError(f"{self.name} does not reply '{wanted}' within {limit} s") from None
        if kind != wanted:
            raise RuntimeError(f"{self.name} replies '{kind}' in place of '{wanted}'")
        return words

    def synced_after(self, moment):
        """When it was synced for good after a moment, None when it is not."""
        last = self.connections[-1] if self.connections else (0, "", "")
        return last[0] if last[1] == "synced" and last[0] >= moment else None
