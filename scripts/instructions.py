#!/usr/bin/env python3
"""The figures of speed by instruction counts, which a busy machine does not disturb.

instructions.py BENCH BENCH_WITHOUT_TRACING [--json] [--keep FILE | --check FILE]

Counts each side of each figure under callgrind, setting up left out: the difference between many and few
operations. --keep writes the ratios to FILE; --check fails when one is more than a tenth above the FILE's.
"""
import argparse
import concurrent.futures
import json
import os
import re
import subprocess
import sys
import tempfile

FEW_AND_MANY = {"P2": (2, 6), "P6": (4, 20)}  # operations that are long
SLACK = 1.1


def collected(bench, side, operations):
    number = f"{operations:06}"  # as long for few as for many: setting up counts by where the arguments put the stack
    with tempfile.NamedTemporaryFile() as out:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}", bench, "--count", side, number],
            capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def instructions(bench, side):
    few, many = FEW_AND_MANY.get(side.split("/")[0], (200, 1200))
    return (collected(bench, side, many) - collected(bench, side, few)) / (many - few)


def allocations(bench, side):
    return int(subprocess.run([bench, "--allocations", side], capture_output=True, text=True, check=True).stdout)


def measure(bench, without_tracing):
    figures = [line.split(" ", 2) for line in
               subprocess.run([bench, "--list"], capture_output=True, text=True, check=True).stdout.splitlines()]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        sides = {side: pool.submit(instructions, bench, side)
                 for figure, _, _ in figures for side in (figure + "/operation", figure + "/floor")}
        untraced = pool.submit(instructions, without_tracing, "P1/operation")
        counts = {side: job.result() for side, job in sides.items()}
        untraced = untraced.result()
    rows = [(figure, counts[figure + "/operation"], counts[figure + "/floor"], float(target), what)
            for figure, target, what in figures]
    rows.append(("P7", counts["P1/operation"], untraced, 1.05, "P1 with tracing off / compiled out"))
    more = allocations(bench, "P1/operation") - allocations(without_tracing, "P1/operation")
    return rows, more


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("bench")
    arguments.add_argument("without_tracing")
    arguments.add_argument("--json", action="store_true")
    arguments.add_argument("--keep", metavar="FILE")
    arguments.add_argument("--check", metavar="FILE")
    options = arguments.parse_args()
    rows, more_allocations = measure(options.bench, options.without_tracing)
    ratios = {row[0]: round(row[1] / row[2], 3) for row in rows}
    if options.json:
        print(json.dumps([{"figure": figure, "what": what, "instructions": operation, "floor": floor,
                           "ratio": ratios[figure], "target": target} for figure, operation, floor, target, what in rows],
                         indent=3))
    else:
        for figure, operation, floor, target, what in rows:
            print(f"{figure}  {ratios[figure]:6.2f}  <= {target:<5}  {operation:12,.0f} / {floor:<12,.0f}  {what}")
        print(f"P7  {more_allocations:6d}  <= 0      allocations of P1 with tracing off, more than with it compiled out")
    if options.keep:
        with open(options.keep, "w") as file:
            json.dump(ratios, file, indent=3)
            file.write("\n")
    failed = more_allocations > 0
    if options.check:
        with open(options.check) as file:
            for figure, before in json.load(file).items():
                if ratios[figure] > before * SLACK:
                    print(f"{figure}: {ratios[figure]} slipped by more than a tenth from {before}", file=sys.stderr)
                    failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
