"""Prints what benchmark programs measured as ratios with their targets and verdicts. A program
says `ratio NAME VALUE target TARGET` on a line for each, or, as a Google Benchmark program, has the
counter `of_goal`, whose target is 1. Both are ratios to a floor of the same run or to a goal."""
import glob
import json
import os
import re
import sys

RATIO = re.compile(r"^ratio (\S+) ([\d.eE+-]+) target ([\d.eE+-]+)", re.M)
# what a shared machine adds at times
NOISE = 1.15


def ratios_of(text):
    """(name, ratio, target) of each line of that form."""
    return [(name, float(value), float(target)) for name, value, target in RATIO.findall(text)]


def ratios_of_json(results):
    """The medians of repeated runs, else the runs themselves."""
    runs = [run for run in results if "of_goal" in run]
    medians = [run for run in runs if run.get("aggregate_name") == "median"]
    return [(run.get("run_name", run["name"]), float(run["of_goal"]), 1.0)
            for run in medians or runs]


def verdict(ratio, target):
    if ratio <= target:
        return "met"
    return "within noise" if ratio <= target * NOISE else "MISSED"


def rows_of(folder):
    """(program, rows) of each program that left its output in the folder."""
    for path in sorted(glob.glob(os.path.join(folder, "*.txt"))):
        program = os.path.basename(path)[:-4]
        with open(path) as file:
            rows = ratios_of(file.read())
        results = os.path.join(folder, program + ".json")
        if os.path.exists(results) and os.path.getsize(results):
            with open(results) as file:
                rows += ratios_of_json(json.load(file)["benchmarks"])
        yield program, rows


def main():
    strict = "--strict" in sys.argv
    folder = sys.argv[-1]
    missed = 0
    print(f"{'ratio':60} {'measured':>9} {'target':>8}  verdict")
    for program, rows in rows_of(folder):
        if not rows:
            print(f"{program:60} {'':>9} {'':>8}  NO RESULT")
            missed += 1
        for name, ratio, target in rows:
            said = verdict(ratio, target)
            missed += said == "MISSED"
            print(f"{program + ' ' + name:60} {ratio:9.3g} {target:8.3g}  {said}")
    print(f"{missed} targets missed")
    sys.exit(1 if strict and missed else 0)


if __name__ == "__main__":
    main()
