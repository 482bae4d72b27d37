"""The cases on reading inputs: `kestrelhost import` as a whole program, in turns with programs that do
next to nothing with the same file."""

import collections
import filecmp
import json
import os
import shlex
import statistics
import subprocess

SIZE, BRIEF_SIZE = 500_000_000, 5_000_000
TURNS = 5

# Of each case the programs that it is compared with: a shell's words before the file, and after it.
REFERENCES = {
    "input/log": {"wc": ("wc -l", ""), "grep": ("grep -c START", "")},
    "input/log.gz": {"zcat": ("zcat", "| grep -c START")},
    "input/trace": {"wc": ("wc -l", ""), "grep": ("grep -c launchingActivity", "")},
}
# What is to be reached; `launches` is the memory, of that for the launches alone.
TARGETS = {
    "input/log": {"grep": 1.0, "launches": 1.1},
    "input/log.gz": {"zcat": 1.0, "launches": 1.1},
    "input/trace": {"mbPerSecond": 200, "launches": 1.1},
}


class InputCases:
    def __init__(self, bench):
        self.bench = bench
        self.program = bench.bin / "InputBench"
        self.size = BRIEF_SIZE if bench.brief else SIZE
        self.turns = 1 if bench.brief else TURNS
        # Of each case and each program, the figures of the turns.
        self.runs = collections.defaultdict(lambda: collections.defaultdict(list))

    def measure(self):
        self.make_inputs()
        for _ in range(self.turns):
            for case in REFERENCES:
                self.take_turn(case)
        for case in REFERENCES:
            self.note(case)

    def file(self, case, prefix=""):
        return self.bench.directory / (prefix + case.partition("/")[2])

    def make_inputs(self):
        for case in ("input/log", "input/trace"):
            self.bench.run(self.program, case.partition("/")[2], self.size, self.file(case),
                           self.file(case, "launches-"))
        self.bench.run("gzip", "--keep", self.file("input/log"), self.file("input/log", "launches-"))
        os.sync()  # or the disk is busy with them in the first turn

    def take_turn(self, case):
        self.run(case, "import", self.import_of(self.file(case)), "events-")
        self.run(case, "launches", self.import_of(self.file(case, "launches-")), "launch-events-")
        for reference, (before, after) in REFERENCES[case].items():
            command = f"{before} {shlex.quote(str(self.file(case)))} {after}"
            self.run(case, reference, ["sh", "-c", command], "counted-")
        if not filecmp.cmp(self.file(case, "events-"), self.file(case, "launch-events-"), False):
            raise SystemExit(f"bench: {case}: not the events of the launches in it")

    def import_of(self, file):
        return [self.bench.bin / "kestrelhost", "import", "--quiet", file]

    def run(self, case, name, command, out_prefix):
        # Python itself is too large to start what is measured: a child's peak begins at its parent's.
        done = subprocess.run([self.program, "run", self.file(case, out_prefix), *command],
                              stdout=subprocess.PIPE, env=os.environ | {"LC_ALL": "C"}, text=True)
        if done.returncode != 0:
            raise SystemExit(f"bench: {case}: {name} failed")
        self.runs[case][name].append(json.loads(done.stdout))

    def median(self, case, name, figure):
        return statistics.median(run[figure] for run in self.runs[case][name])

    def note(self, case):
        size = self.file(case.removesuffix(".gz")).stat().st_size

        def figures(name):
            ns, kib = (self.median(case, name, figure) for figure in ("ns", "kib"))
            return {"ns": ns, "kib": kib, "mbPerSecond": size * 1e3 / ns}

        own = figures("import")
        ratios = {"launches": own["kib"] / self.median(case, "launches", "kib")}
        for reference, words in REFERENCES[case].items():
            other = figures(reference)
            ratios[reference] = own["ns"] / other["ns"]
            self.bench.note(f"{case}/{' '.join(words).strip()}", **other)
        self.bench.note(case, **own, **ratios)
