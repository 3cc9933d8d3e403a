# SPDX-License-Identifier: Apache-2.0
"""What a run has shown, as a table and as faults."""
import state
from ledger import Judgement

GROWTH_KIB, GROWTH_RATIO = 2048, 1.1  # more than both is a leak
DATABASE_KIB = 2048  # that SQLite keeps in memory of a server's database, which the triggers fill


def rates(run):
    """Operations and records a second, while operations were asked for."""
    seconds = max(run.busy, 1)
    return len(run.ledger.operations) / seconds, sum(run.wire.records.values()) / seconds


def judge(run):
    """After the end of all processes."""
    names = [name for dst in run.servers for name in state.carried_out(dst, run.state_folder(dst))]
    judgement = Judgement(run.ledger, run.wire, names, run.outages)
    run.faults += judgement.faults()
    return list(judgement.rows())


def memory(run):
    """(name, KiB when settled, KiB at the end) of each process that has lived long enough."""
    for process in (*run.broker.runs, *run.server_runs, *run.clients):
        if growth := process.growth(run.settle):
            first, last = growth
            growth_kib = GROWTH_KIB + DATABASE_KIB * (process in run.server_runs)
            if last > max(first + growth_kib, first * GROWTH_RATIO):
                run.faults.append(f"the memory of {process.name} grows from {first} to {last} KiB")
            yield process.name, first, last


def summarise(run):
    operations, records = rates(run)
    rows = [("seconds with operations", round(run.busy)), *judge(run),
            ("operations a second", f"{operations:.1f}"),
            ("records published", sum(run.wire.records.values())),
            ("records a second", f"{records:.0f}"),
            ("changes in the clients", run.changes),
            ("records fetched again", run.fetches)]
    for name, times in (("broker restarts", run.resyncs), ("servers killed", run.takeovers)):
        rows += [(name, len(times)),
                 ("  all clients synced again after", " ".join(f"{t:.2f} s" for t in times))]
    rows += [("comparisons of all caches", run.comparisons), ("  records compared", run.compared)]
    for name, first, last in memory(run):
        rows.append((f"memory of {name}",
                     f"{first:.0f} KiB settled, {last:.0f} KiB at the end, {last - first:+.0f}"))
    width = max(len(name) for name, _ in rows)
    print()
    for name, value in rows:
        print(f"{name:{width}}  {value}")
