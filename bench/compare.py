#!/usr/bin/python3
"""ZEVCore against its peers on the same work, in one run, as a table of ratios.

    bench/compare.py [--build DIR] [--short] [--cpu] [WORK ...]

Runs DIR/bench/compare_peers (DIR defaults to build/release) once for every side of every
piece of work (or of the WORKs named; "store" names the settings store's own comparison,
DIR/bench/store_bench, whose table follows) and prints, for each peer, ZEVCore's cost over the
peer's: below 1 ZEVCore does the work for less. The cost is the instructions valgrind's
callgrind counts in the repeated work alone (set-up left out) where valgrind is installed,
and CPU time otherwise or with --cpu. Work that runs other programs is always timed, the
children's CPU included. The peers are the ones found when compare_peers was built (Debian:
libmuparser-dev libpugixml-dev libxml2-dev libsqlite3-dev libdxflib-dev libglu1-mesa-dev
libudunits2-dev triangle-bin python3-ezdxf).

--short does every piece of work once, on small inputs, without valgrind, and checks only that
every side runs: no figure it prints means anything. It exits 77 (skipped) when no peer was
found. A full run prints each ratio's target and whether it was met; it fails only when a side
fails to run, never on a figure.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

# Repetitions per measurement: enough that the figure per repetition is steady.
COUNTS = {
    "expression-eval": 2000,
    "expression-parse-eval": 500,
    "entry-kN": 500,
    "entry-feet-inches": 500,
    "xml-write": 5,
    "xml-read": 5,
    "dxf-write": 1,
    "dxf-read": 1,
    "triangle-cli-90k": 1,
    "triangle-mesh_it-90k": 1,
    "triangle-cli-270k": 1,
    "triangle-mesh_it-270k": 1,
}
DEFAULT_COUNT = 3
# Timed whatever the tool: a Python program, far too slow under valgrind. ZEVCore's side of the
# same work is then timed as well for that comparison.
CPU_ONLY = {"ezdxf"}
# The ratios the project holds itself to (ZEVCore's cost over the peer's, at most).
TARGETS = {
    ("expression-eval", "muparser"): 1.0,
    ("expression-parse-eval", "muparser"): 0.1,
    ("entry-kN", "muparser+udunits"): 0.1,
    ("entry-feet-inches", "muparser+udunits"): 0.1,
    ("xml-write", "pugixml"): 1.2,
    ("xml-read", "pugixml"): 1.2,
    ("dxf-write", "fprintf-floor"): 1.5,
    ("dxf-read", "fgets-floor"): 2.0,
    ("triangle-cli-90k", "triangle-two-step"): 1.3,
    ("triangle-cli-270k", "triangle-two-step"): 1.3,
    ("triangle-mesh_it-90k", "triangle-two-step"): 1.1,
    ("triangle-mesh_it-270k", "triangle-two-step"): 1.1,
}
# Work that starts other processes: callgrind follows them and counts everything, less a run
# that only prepares the work.
SPAWNING = re.compile(r"^triangle-")


def callgrind_total(command, toggle):
    """Instructions counted in the command and every process it starts."""
    with tempfile.TemporaryDirectory() as tmp:
        options = ["--trace-children=yes"]
        if toggle:
            options = ["--toggle-collect=zev_compare_measured"]
        result = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={tmp}/cg.%p"] + options +
            command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if result.returncode != 0:
            raise RuntimeError((result.stderr.strip().splitlines() or ["failed"])[-1])
        total = 0
        for name in os.listdir(tmp):
            with open(os.path.join(tmp, name)) as f:
                for line in f:
                    if line.startswith("totals:") or line.startswith("summary:"):
                        total += int(line.split()[1])
                        break
        return total


def run_case(driver, work, side, count, use_callgrind):
    command = [driver, "run", work, side, str(count)]
    if use_callgrind and SPAWNING.match(work):
        base = callgrind_total([driver, "run", work, side, "0"], toggle=False)
        return (callgrind_total(command, toggle=False) - base) / count, "instructions"
    if use_callgrind:
        return callgrind_total(command, toggle=True) / count, "instructions"
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode != 0:
        raise RuntimeError(result.stderr.strip() or f"exit {result.returncode}")
    match = re.search(r"cpu_ns_per_op ([0-9.eE+-]+)", result.stdout)
    if not match:
        raise RuntimeError("no time in the output")
    return float(match.group(1)), "CPU ns"


def run_store_bench(args):
    """The settings store against raw SQLite is a benchmark of its own (store_bench), with its
    own ratios: its table is printed as it comes. Returns 1 when it fails to run."""
    if args.works and "store" not in args.works:
        return 0
    program = os.path.join(args.build, "bench", "store_bench")
    if not os.access(program, os.X_OK):
        return 0
    env = dict(os.environ)
    command = [program]
    if args.short:
        env["ZEV_BENCH_ITERATIONS"] = "1"
    else:
        command.append("--benchmark_min_time=0.2")
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                            env=env)
    if result.returncode != 0:
        print(f"compare: store_bench: exit {result.returncode}", file=sys.stderr)
        return 1
    table = result.stdout.split("The store's rate", 1)
    if len(table) == 2 and len(table[1].strip().splitlines()) > 2:
        print("\nSettings store (bench/platform/StoreVsSqlite_bench.cpp), the store's rate" +
              table[1].rstrip())
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--cpu", action="store_true")
    parser.add_argument("works", nargs="*")
    args = parser.parse_args()

    driver = os.path.join(args.build, "bench", "compare_peers")
    os.environ.setdefault("ZEV_COMPARE_CLI",
                          os.path.abspath(os.path.join(args.build, "tools", "zevcore", "zevcore")))
    if not os.access(driver, os.X_OK):
        print(f"compare: {driver} not found (build the compare_peers target)", file=sys.stderr)
        return 2
    listing = subprocess.run([driver, "list"], stdout=subprocess.PIPE, text=True, check=True)
    sides = {}
    for line in listing.stdout.splitlines():
        work, side = line.split()
        if not args.works or work in args.works:
            sides.setdefault(work, []).append(side)
    use_callgrind = not args.short and not args.cpu and shutil.which("valgrind")

    if args.short:
        os.environ["ZEV_COMPARE_SHORT"] = "1"
        if sides and all(set(names) == {"zevcore"} for names in sides.values()):
            print("compare: no peer was found when compare_peers was built; skipped")
            return 77

    failed = 0
    rows = []
    for work, names in sides.items():
        count = 1 if args.short else COUNTS.get(work, DEFAULT_COUNT)
        costs = {}

        def measure(side, callgrind):
            try:
                return run_case(driver, work, side, count, callgrind)
            except (RuntimeError, OSError) as error:
                print(f"compare: {work} {side}: {error}", file=sys.stderr)
                return None

        for side in names:
            costs[side] = measure(side, use_callgrind and side not in CPU_ONLY)
            failed += costs[side] is None
        ours = costs.get("zevcore")
        if ours and use_callgrind and any(side in CPU_ONLY for side in names):
            ours_cpu = measure("zevcore", False)
        else:
            ours_cpu = ours
        for side in names:
            if side == "zevcore" or not costs.get(side):
                continue
            mine = ours_cpu if side in CPU_ONLY else ours
            if not mine:
                continue
            cost, unit = costs[side]
            ratio = mine[0] / cost if cost > 0 else float("inf")
            target = TARGETS.get((work, side))
            rows.append((work, side, mine[0], cost, ratio, unit, target))
        if ours and len(names) == 1:
            rows.append((work, "-", ours[0], float("nan"), float("nan"), ours[1], None))

    header = ("work", "peer", "ZEVCore", "peer's", "ratio", "target", "per repetition")
    print("| " + " | ".join(header) + " |")
    print("|" + "|".join("---" for _ in header) + "|")
    for work, side, ours, theirs, ratio, unit, target in rows:
        aim = "" if target is None or args.short else (f"<= {target:g}" + (" met" if ratio <= target else " MISSED"))
        print(f"| {work} | {side} | {ours:,.0f} | {theirs:,.0f} | {ratio:.2f}x | {aim} | {unit} |")
    failed += run_store_bench(args)
    if args.short:
        print("(short run: each side once, figures not meaningful)")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
