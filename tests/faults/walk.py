#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Lets every call of the daemon fail, one a life, and prints what came of it.
./faults starts it."""
import argparse
import collections
import json
import queue
import re
import select
import shutil
import subprocess
import sys
import threading
import time
from pathlib import Path

from table import read_table
from verdict import DEFECT, ENDED, WENT_ON, judge

SOURCE = Path(__file__).resolve().parents[2]
KINDS = ("first", "proxy", "timer", "lookup")
# A life takes a fraction of a second; a process that is stuck is given up after 20.
LIFE_SECONDS = 200


class Players:
    """Sandboxes that play lives, each its own at a time."""

    def __init__(self, build, number):
        self.build = build
        self.jobs = queue.Queue()
        self.results = queue.Queue()
        for _ in range(number):
            threading.Thread(target=self._play, daemon=True).start()

    def _start(self):
        life = self.build / "tests/faults/fault_life"
        return subprocess.Popen([SOURCE / "tests/e2e/in_sandbox", self.build, life],
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                bufsize=1)

    def _one(self, process, fault):
        process.stdin.write((fault or "-") + "\n")
        process.stdin.flush()
        if not select.select([process.stdout], [], [], LIFE_SECONDS)[0]:
            raise OSError(f"no result within {LIFE_SECONDS} s")
        line = process.stdout.readline()
        if not line:
            raise OSError("the simulated host ended")
        return json.loads(line)

    def _play(self):
        process = None
        while True:
            fault = self.jobs.get()
            try:
                process = process or self._start()
                self.results.put(self._one(process, fault))
            except (OSError, ValueError) as error:
                process.kill()
                process.wait()
                process = None
                self.results.put({"fault": fault, "error": str(error)})

    def play(self, faults):
        """Yields lives in the order in which they end."""
        for fault in faults:
            self.jobs.put(fault)
        for _ in faults:
            yield self.results.get()


def usual_life(players):
    """A life without a fault, which must be the same each time."""
    first, second = players.play(["", ""])
    for life in (first, second):
        if life["error"]:
            sys.exit(f"faults: no life can be played here: {life['error']}")
    if first["calls"] != second["calls"]:
        sys.exit("faults: two lives without a fault differ; what follows would mean nothing")
    verdict, problems = judge(first, first)
    if verdict != WENT_ON:
        sys.exit("faults: the daemon fails without a fault: " + "; ".join(problems))
    return first


def chosen_faults(usual, errors, functions, calls_each):
    faults = []
    for function, names in errors.items():
        if functions and function not in functions:
            continue
        for kind, calls in zip(KINDS, usual["calls"].get(function, (0,) * len(KINDS))):
            for number in range(1, min(calls, calls_each or calls) + 1):
                faults += [f"{kind}:{function}:{number}:{error}" for error in names]
    return faults


def where(build, life):
    """The daemon's functions on the stack of the failing call, innermost first."""
    addresses = [hex(frame - 1) for frame in life.get("frames", [])]
    if not addresses:
        return ""
    output = subprocess.run(["addr2line", "-f", "-C", "-e", build / "daemon/tvurev", *addresses],
                            capture_output=True, text=True, check=False).stdout
    names = [re.sub(r"\(.*", "", name.replace("(anonymous namespace)::", ""))
             for name in output.splitlines()[::2]]
    return " < ".join(name for name in names
                      if name not in ("_start", "??") and "std::" not in name)


class Report:
    def __init__(self, build, usual):
        self.build, self.usual = build, usual
        self.rows = collections.defaultdict(collections.Counter)
        self.findings = []

    def take(self, life):
        function = life["fault"].split(":")[1]
        verdict, problems = judge(life, self.usual)
        if verdict != DEFECT and not life["hit"]:
            verdict, problems = DEFECT, ["the fault was not played: the lives differ"]
        self.rows[function][verdict] += 1
        if verdict == DEFECT:
            self.findings.append((life, problems))

    def print_findings(self):
        for life, problems in sorted(self.findings, key=lambda finding: finding[0]["fault"]):
            print(f"{life['fault']}: {'; '.join(problems)}")
            place = where(self.build, life)
            if place:
                print(f"    in {place}")
            print(f"    ./faults --replay {life['fault']}")

    def print_table(self):
        print(f"{'function':<16}{'calls in a life':>17}{'faults':>8}{WENT_ON:>9}"
              f"{'ended as documented':>21}{'defects':>9}")
        totals = collections.Counter()
        for function, verdicts in sorted(self.rows.items()):
            self._print_row(function, sum(self.usual["calls"][function]), verdicts)
            totals += verdicts
        self._print_row("all", sum(map(sum, self.usual["calls"].values())), totals)

    @staticmethod
    def _print_row(name, calls, verdicts):
        print(f"{name:<16}{calls:>17}{verdicts.total():>8}{verdicts[WENT_ON]:>9}"
              f"{verdicts[ENDED]:>21}{verdicts[DEFECT]:>9}")


def progress(done, total, report, started):
    width = shutil.get_terminal_size().columns - 1
    text = (f"{done} of {total} faults, {len(report.findings)} defects, "
            f"{time.monotonic() - started:.0f} s")
    if sys.stderr.isatty():
        print("\r" + text[:width].ljust(width), end="" if done < total else "\n", file=sys.stderr)
    elif done % 250 == 0 or done == total:
        print(text, file=sys.stderr, flush=True)


def walk(players, options, errors):
    usual = usual_life(players)
    unknown = set(options.functions) - set(errors)
    if unknown:
        sys.exit(f"faults: not in calls.table: {', '.join(sorted(unknown))}")
    faults = chosen_faults(usual, errors, options.functions, options.calls)
    if not faults:
        sys.exit("faults: a life does not call that")
    report = Report(options.build, usual)
    started = time.monotonic()
    for done, life in enumerate(players.play(faults), 1):
        report.take(life)
        progress(done, len(faults), report, started)
    report.print_findings()
    report.print_table()
    return 1 if report.findings else 0


def replay(players, options):
    usual = usual_life(players)
    life = next(iter(players.play([options.replay])))
    verdict, problems = judge(life, usual)
    for line in life.get("log", []) + ["--- again"] * bool(life.get("log_again")) + \
            life.get("log_again", []):
        print(line)
    print("---")
    for name in ("error", "hit", "steps", "sent", "bmc_road", "agent_road", "first_status",
                 "proxy_status", "left", "commands", "descriptors", "blocks",
                 "simulated_seconds", "started_again", "relayed_again"):
        print(f"{name}: {life.get(name)}")
    print(f"where: {where(options.build, life)}")
    print(f"{verdict}: {'; '.join(problems) or 'nothing is wrong'}")
    return 1 if verdict == DEFECT else 0


def main():
    parser = argparse.ArgumentParser(prog="faults", description=__doc__)
    parser.add_argument("functions", nargs="*", metavar="FUNCTION")
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--calls", type=int, default=0)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--replay", metavar="FAULT")
    options = parser.parse_args()
    options.build = options.build.resolve()
    players = Players(options.build, options.jobs)
    if options.replay:
        return replay(players, options)
    return walk(players, options, read_table()[0])


if __name__ == "__main__":
    sys.exit(main())
