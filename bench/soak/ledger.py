# SPDX-License-Identifier: Apache-2.0
"""What the clients have asked for, what was reported to them, and what has become of it."""
from collections import Counter, defaultdict

STARTED_AGAIN = "the server has started again meanwhile"  # the one before may have carried it out
NO_ZONE = 'unknown zone "Nowhere"'  # what the clients ask for in order to be refused


class Operation:
    def __init__(self, begin, connection):
        self.begin, self.connection = begin, connection
        self.end, self.outcome, self.reason = None, "open", ""

    def is_unknown(self):
        return self.outcome in ("lost", "timedOut", "open") or self.reason == STARTED_AGAIN


class Ledger:
    def __init__(self):
        self.operations = {}  # by name: what, on what, and the number of the attempt if there are several

    def take(self, kind, words):
        name, moment, connection, *result = words
        if kind == "begin":
            self.operations[name] = Operation(int(moment) / 1000, connection)
            return
        operation = self.operations[name]
        operation.end, (operation.outcome, operation.reason) = int(moment) / 1000, result
        if name.startswith("remove") and connection != operation.connection:
            # That a schedule is missing was seen on another connection, maybe of a server without it.
            operation.outcome = "lost" if operation.outcome == "done" else operation.outcome


class Judgement:
    """Compares what was asked for with what the servers have carried out."""

    def __init__(self, ledger, wire, carried_out, outages):
        """carried_out: names, as often as that happened; outages: from when to when outcomes may be lost"""
        self.carried_out = Counter(carried_out)
        for name, records in wire.plays.items():
            self.carried_out[name] = len(records)
        self.attempts = defaultdict(list)
        for name, operation in ledger.operations.items():
            self.attempts[" ".join(name.split()[:2])].append(operation)
        requests = list(wire.requests.values())
        self.accepted = Counter(r.name for r in requests if r.answer and r.answer["outcome"] == "accepted")
        self.sent_again = sum(r.sent - 1 for r in requests)
        self.twice = [name for name, count in self.carried_out.items()
                      if count > 1 and "/" not in name]  # numbers of schedules are used again
        self.unasked = [name for name in self.carried_out
                        if name not in self.attempts and "/" not in name]
        self.lost = [name for name, count in self.accepted.items()
                     if self.carried_out[name] < (count if "/" in name else 1)
                     and not self.was_unseen(name, wire)]
        self.yet_carried_out, self.denied, self.unexplained = 0, [], []

        def was_disturbed(operation):
            return any(operation.begin < end and operation.end > start for start, end in outages)

        for name, operations in self.attempts.items():
            count = self.carried_out[name]
            if not count and any(o.outcome == "done" for o in operations) \
                    and name not in self.lost and not self.was_unseen(name, wire):
                self.lost.append(name)
            if count and not any(o.outcome == "done" or o.is_unknown() for o in operations):
                # A refusal without an id is taken for one of each operation of its type that waits.
                self.yet_carried_out += 1
                if not any(map(was_disturbed, operations)):
                    self.denied.append(name)
            self.unexplained += [f"{name}: {o.outcome} {o.reason}" for o in operations
                                 if o.end and o.outcome != "done" and o.reason != NO_ZONE
                                 and not was_disturbed(o)]

    def was_unseen(self, name, wire):
        """Whether the records of an announcement may have passed while the wire was not connected."""
        return name.startswith("play ") and any(
            o.begin < end and o.end and o.end > start
            for o in self.attempts[name] for start, end in wire.gaps)

    def faults(self):
        for text, names in (("carried out twice", self.twice), ("lost though accepted", self.lost),
                            ("carried out, without having been asked for", self.unasked),
                            ("carried out, but reported as refused or not sent", self.denied),
                            ("without success, though nothing was interrupted", self.unexplained)):
            if names:
                yield f"{len(names)} operations {text}: {', '.join(names[:5])}"

    def rows(self):
        operations = [o for attempts in self.attempts.values() for o in attempts]
        outcomes = Counter("unknown" if o.is_unknown() else o.outcome for o in operations)
        reasons = Counter(o.reason for o in operations if o.outcome == "refused")
        kinds = Counter(name.split()[0] for name in self.attempts)
        yield "operations asked for", len(operations)
        yield "  of them", ", ".join(f"{count} {kind}" for kind, count in sorted(kinds.items()))
        yield "  accepted", outcomes["done"]
        yield "  refused", outcomes["refused"]
        yield "  not sent", outcomes["notSent"] + outcomes["asBefore"]
        yield "  unknown", outcomes["unknown"]
        for reason, count in reasons.most_common(6):
            yield f"  reason: {reason[:60]}", count
        yield "requests sent again", self.sent_again
        yield "carried out", sum(n for name, n in self.carried_out.items() if "/" not in name)
        yield "  of unknown outcome", sum(
            self.carried_out[name] for name, attempts in self.attempts.items()
            if all(o.is_unknown() for o in attempts))
        yield "  reported as refused", self.yet_carried_out
        yield "  twice", len(self.twice)
        yield "  lost", len(self.lost)
