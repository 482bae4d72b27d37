#!/usr/bin/env -S python3 -B
"""Runs the benchmark programs in turns and prints tables, as Markdown, and the figures as JSON.

usage: run.py [--brief] [--inputs] [--rounds N] [--doc FILE] BUILD WRAPPER_BUILD

BUILD and WRAPPER_BUILD are the build folders of the repository and of bench/wrapper. Everything is
written below BUILD/bench. --brief only shows that everything works: its figures mean nothing.
--inputs measures only the reading of inputs. --doc also puts each table in place of the one that
follows its marker in FILE.
"""

import argparse
import collections
import itertools
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile
import time

import inputs

# What is to be reached: ratios, shares, and times in ns.
ONE_ROW = {"bare": 1.05, "wrapper": 1.0}
MANY_WRITTEN = {"bare": 1.05, "wrapper": 1.0}
MANY_READ = {"bare": 1.5, "owning": 1.15, "wrapper": 1.0}
TARGETS = {
    "launch/file/learned": {"bare": 1.10},
    "launch/memory/evaluation-alone": {"bare": 1.10},
    "event/other-identifier": {"ns": 300},
    "event/other-type": {"ns": 300},
    "event/ignored-app": {"ns": 300},
    "event/launcher": {"ns": 300},
    "event/wrong-version": {"ns": 300},
    "host/share of the host": {"share": 0.25},
    "host/memory growth after the first thousandth": {"share": 0.01},
} | inputs.TARGETS
AT_LEAST = {"mbPerSecond"}
SETTINGS = ["synchronous=NORMAL", "no lookaside", "lookaside 1200 x 400", "cache of 10 pages",
            "cache of 20000 pages", "mapped 64 MiB", "multi-thread", "single-thread",
            "no memory statistics"]


def target_of(case, cases):
    parts = case.split("/")
    if parts[0] == "memory":
        call, rows = parts[2], int(parts[3])
        if rows == 1:
            return ONE_ROW
        if rows < 100 or call == "count":
            return {"wrapper": 1.0}
        return MANY_READ if call.startswith("read") else MANY_WRITTEN
    if parts[0] == "growth":
        # No faster than the SQL of the smallest size grows, but for the noise.
        smallest = min((c for c in cases if c.startswith(f"growth/{parts[1]}/") and
                        c.endswith(parts[3])), key=lambda c: int(c.split("/")[2]))
        return {"bare": 1.1 * cases[smallest]["bare"]}
    return TARGETS.get(case, {})


class Bench:
    def __init__(self, build, wrapper_build, directory, brief, rounds):
        self.bin = build.resolve() / "bin"
        self.lib = build.resolve() / "lib"
        self.wrapper = wrapper_build.resolve() / "WrapperBench"
        self.directory = directory
        self.brief = brief
        self.rounds = 1 if brief else rounds
        # Of each case, the values of each of its figures in the rounds.
        self.values = collections.defaultdict(lambda: collections.defaultdict(list))

    def run(self, *command):
        done = subprocess.run([str(part) for part in command], cwd=self.directory,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0:
            sys.exit(f"{done.stderr}bench: {command[0]} ended with {done.returncode}")

    def measure(self, program, pattern, seconds, *options):
        """Runs the cases of a program in random order; its figures by case."""
        out = self.directory / "out.json"
        self.run(program, *options, f"--benchmark_filter={pattern}",
                 f"--benchmark_min_time={0.001 if self.brief else seconds}",
                 "--benchmark_enable_random_interleaving", f"--benchmark_out={out}",
                 "--benchmark_out_format=json")
        cases = json.loads(out.read_text())["benchmarks"]
        return {case["run_name"].replace("/manual_time", ""): case for case in cases}

    def measure_all(self):
        self.measure_rounds()
        print("the host", file=sys.stderr)
        self.host()
        self.footprint()
        self.inputs()

    def inputs(self):
        print("the reading of inputs", file=sys.stderr)
        inputs.InputCases(self).measure()

    def measure_rounds(self):
        for n in range(self.rounds):
            print(f"round {n + 1} of {self.rounds}", file=sys.stderr)
            self.store()
            self.launches()
            self.settings()

    def note(self, case, **figures):
        for name, value in figures.items():
            self.values[case][name].append(value)

    def measure_store(self, program):
        # On files a turn takes longer, and its time varies more.
        return self.measure(program, "memory", 0.1) | self.measure(program, "file", 0.3)

    def store(self):
        for case, f in self.measure_store(self.bin / "StoreBench").items():
            self.note(case, ns=f["store"], bare=f["store/bare"],
                      owning=f["store/bare"] / f["owning/bare"])
        for case, f in self.measure_store(self.wrapper).items():
            # Bare SQL took part in both programs, so that they can be compared by it.
            self.note(case, wrapper=self.values[case]["bare"][-1] / f["wrapper/bare"])

    def launches(self):
        figures = self.measure(self.bin / "LaunchBench", "launch/file", 2.0)
        figures |= self.measure(self.bin / "LaunchBench", "memory|growth|event", 0.3)
        for case, f in figures.items():
            if "p50" not in f:
                self.note(case, ns=f["real_time"])
                continue
            self.note(case, ns=f["p50"], p90=f["p90"], p99=f["p99"], bare=f["ratio"])
            if "alone" not in case and "removal" not in case:
                self.note(case, first=f["first"])
            if "disk" in f:
                self.note(case, disk=f["disk"])

    def settings(self):
        """What SQLite's settings change, each against the default of the same round."""
        roads = "^launch/(file/learned|memory/learned|memory/evaluation)/"
        default = self.measure(self.bin / "LaunchBench", roads, 1.0, "--sqlite=default")
        for setting in SETTINGS:
            for case, f in self.measure(self.bin / "LaunchBench", roads, 1.0,
                                        f"--sqlite={setting}").items():
                self.note(case.replace("launch", f"setting/{setting}"), ns=f["p50"],
                          default=f["p50"] / default[case]["p50"])

    def write_trace(self, events):
        trace = self.directory / f"{events}.jsonl"
        with trace.open("w") as file:
            for n in range(events // 3):
                app, other = (f"com.example.application{(n + i) % 50}/.Main" for i in (0, 1))
                t = 5000 * n
                for event in ({"t": t, "hintId": 4225, "hintType": 1, "appName": app},
                              {"t": t + 700 + n % 300, "hintId": 4103, "appName": app},
                              {"t": t + 4000, "hintId": 4097, "appName": other}):
                    file.write(json.dumps(event) + "\n")
        return trace

    def write_log(self, launches):
        log = self.directory / f"{launches}.log"
        with log.open("w") as file:
            for n in range(launches):
                second = 5 * n
                clock = time.strftime("%m-%d %H:%M:%S", time.gmtime(second))
                activity = f"com.example.application{n % 50}/.Main"
                file.write(f"{clock}.100  1000  1000 I ActivityManager: START u0 {{act=android.intent"
                           f".action.MAIN flg=0x10200000 cmp={activity}}} from uid 10008\n"
                           f"{clock}.900  1000  1000 I ActivityManager: Displayed {activity}: "
                           f"+{700 + n % 90}ms\n")
        return log

    def play(self, mode, trace, events):
        out = self.directory / "out.json"
        self.run(self.bin / "HostBench", mode, trace, events, out)
        return json.loads(out.read_text())

    def host(self):
        events = 3000 if self.brief else 99999
        trace = self.write_trace(events)
        for _ in range(self.rounds):
            whole = self.play("replay", trace, events)
            alone = self.play("silent", trace, events)
            self.note("host/replay", perSecond=events / whole["seconds"])
            self.note("host/share of the host",
                      share=1 - alone["featureCpuSeconds"] / whole["cpuSeconds"])
            launches = events // 3
            log = self.write_log(launches)
            begin = time.monotonic()
            self.run(self.bin / "kestrelhost", "import", log)
            self.note("host/import", perSecond=2 * launches / (time.monotonic() - begin))
        million = 3000 if self.brief else 999999
        memory = self.play("replay", self.write_trace(million), million)["memoryKib"]
        for when, kib in zip(("a thousandth", "half", "all"), memory):
            self.note(f"host/memory after {when} of {million + 1} events", kib=kib)
        self.note("host/memory growth after the first thousandth", share=memory[2] / memory[0] - 1)

    def footprint(self):
        stripped = self.directory / "stripped.so"
        self.run("llvm-strip-19", "-o", stripped, self.lib / "libkestrelstarts.so")
        self.note("footprint/stripped", kib=stripped.stat().st_size / 1024)
        out = self.directory / "out.json"
        self.run(self.bin / "HostBench", "footprint", out)
        result = json.loads(out.read_text())
        self.note("footprint/loaded, resident", kib=result["loading"]["residentKib"])
        self.note("footprint/loaded, written to", kib=result["loading"]["dirtyKib"])
        for case, name in (("learnedLaunch", "learned launch"), ("boostRequest", "boost request")):
            self.note(f"footprint/allocated by a {name}", allocations=result[case]["count"],
                      kib=result[case]["bytes"] / 1024)


def duration(ns):
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{ns / size:.3g} {unit}"
    return f"{ns:.0f} ns"


def time_of(f):
    if "ns" in f:
        return duration(f["ns"])
    if "perSecond" in f:
        return f"{f['perSecond']:.0f}/s"
    if "share" in f:
        return f"{f['share']:.0%}"
    count = f"{f['allocations']:.0f}, " if "allocations" in f else ""
    return f"{count}{f['kib']:.1f} KiB"


def misses(name, value, limit):
    if name in AT_LEAST:
        return value < limit
    # A wrapper that is equal may come out faster: that much is noise.
    return value > limit + (0.02 if name == "wrapper" else 0)


def verdict(case, cases):
    limits = target_of(case, cases)
    figures = cases[case]
    missed = [name for name, limit in limits.items()
              if name in figures and misses(name, figures[name], limit)]
    if missed:
        return "missed: " + ", ".join(missed)
    return "met" if limits else ""


def ratio(figures, name):
    return f"{figures[name]:.2f}" if name in figures else ""


def row(case, cases):
    f = cases[case]
    time_ = lambda name: duration(f[name]) if name in f else ""
    disk = f"{max(f['disk'], 0):.0%}" if "disk" in f else ""
    return [case, time_of(f), time_("first"), time_("p90"), time_("p99"), ratio(f, "bare"),
            ratio(f, "owning"), ratio(f, "wrapper"), ratio(f, "default"), disk,
            verdict(case, cases)]


def input_row(case, cases):
    f = cases[case]
    return [case.replace("|", "\\|"), f"{f['mbPerSecond']:.0f}", f"{f['kib'] / 1024:.1f} MiB",
            ratio(f, "wc"), ratio(f, "grep"), ratio(f, "zcat"), ratio(f, "launches"),
            verdict(case, cases)]


def is_input(case):
    return case.startswith("input/")


# Of each table its marker in a document, its columns, the making of a row, and whose it is.
TABLES = [
    ("<!-- The table of ./dev bench on inputs -->",
     ["case", "MB/s", "memory", "to wc", "to grep", "to zcat and grep",
      "memory to that for its launches", "target"], input_row, is_input),
    ("<!-- The table of ./dev bench -->",
     ["case", "time", "first request", "p90", "p99", "to bare SQL", "to the contract by hand",
      "to the wrapper", "to the default", "disk", "target"], row, lambda case: not is_input(case)),
]


def make_table(columns, rows):
    rows = [columns] + rows
    widths = [max(len(r[i]) for r in rows) for i in range(len(columns))]
    rows.insert(1, ["-" * width for width in widths])
    return "".join("| " + " | ".join(c.ljust(w) for c, w in zip(cells, widths)) + " |\n"
                   for cells in rows)


def put_into(document, marker, table):
    before, found, after = document.read_text().partition(f"{marker}\n\n")
    if not found:
        sys.exit(f"bench: {document} has no line {marker}")
    after = after.splitlines(keepends=True)
    rest = itertools.dropwhile(lambda line: line.startswith("|"), after)
    document.write_text(before + found + table + "".join(rest))


def tell(cases, document):
    for marker, columns, make_row, is_of_table in TABLES:
        rows = [make_row(case, cases) for case in cases if is_of_table(case)]
        if not rows:
            continue
        table = make_table(columns, rows)
        print(table)
        if document:
            put_into(document, marker, table)


def main():
    parser = argparse.ArgumentParser(description="Runs the benchmarks in turns.")
    parser.add_argument("--brief", action="store_true")
    parser.add_argument("--inputs", action="store_true")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--doc", type=pathlib.Path)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("wrapper_build", type=pathlib.Path)
    options = parser.parse_args()
    results = options.build.resolve() / "bench"
    results.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=results) as directory:
        bench = Bench(options.build, options.wrapper_build, pathlib.Path(directory), options.brief,
                      options.rounds)
        if options.inputs:
            bench.inputs()
        else:
            bench.measure_all()
    cases = {case: {name: statistics.median(values) for name, values in figures.items()}
             for case, figures in sorted(bench.values.items(), key=lambda item: sort_key(item[0]))}
    result = results / "bench.json"
    result.write_text(json.dumps({"machine": platform.processor() or platform.machine(),
                                  "cpus": os.cpu_count(), "load": os.getloadavg(),
                                  "rounds": bench.rounds, "cases": cases}, indent=1) + "\n")
    if options.brief:
        print(f"{len(cases)} cases ran")
        return
    tell(cases, options.doc)
    print(f"medians of {bench.rounds} rounds, on inputs of {inputs.TURNS} turns; also in "
          f"{os.path.relpath(result)}", file=sys.stderr)


def sort_key(case):
    groups = ["memory", "file", "launch", "growth", "event", "setting", "host", "footprint",
              "input"]
    group, *rest = case.split("/")
    return [str(groups.index(group))] + [part.zfill(6) if part.isdigit() else part for part in rest]


if __name__ == "__main__":
    main()
