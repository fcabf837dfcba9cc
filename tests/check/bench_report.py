"""Prints benchmark results as ratios. A benchmark carries the counter `target`, the greatest ratio
that is allowed, and as label the name of the benchmark that is its floor, measured in the same
run. Those without a label are floors."""
import json
import sys

# what a shared machine adds at times
NOISE = 1.15


def rows(results):
    """(name, nanoseconds, floor name or "", ratio or None, target or None) of each benchmark."""
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    times, found = {}, []
    for run in results:
        if run.get("aggregate_name", "median") != "median":
            continue
        name = run.get("run_name", run["name"])
        times[name] = run["cpu_time"] * unit[run.get("time_unit", "ns")]
        found.append((name, run.get("label", ""), run.get("target")))
    for name, floor, target in found:
        ratio = times[name] / times[floor] if times.get(floor) else None
        yield name, times[name], floor, ratio, target


def verdict(floor, ratio, target):
    if not floor:
        return "floor"
    if ratio is None:
        return "NO FLOOR"
    if target is None:
        return ""
    if ratio <= target:
        return "met"
    return "within noise" if ratio <= target * NOISE else "MISSED"


def main():
    arguments = sys.argv[1:]
    strict = "--strict" in arguments
    missed = 0
    print(f"{'benchmark':48} {'time':>12} {'ratio':>8} {'target':>7}  verdict")
    for path in [a for a in arguments if a != "--strict"]:
        with open(path) as file:
            results = json.load(file)["benchmarks"]
        for name, time, floor, ratio, target in rows(results):
            said = verdict(floor, ratio, target)
            missed += said in ("MISSED", "NO FLOOR")
            shown = f"{ratio:.2f}" if ratio is not None else ""
            limit = f"{target:.2f}" if target is not None else ""
            print(f"{name:48} {time / 1e3:10.1f}us {shown:>8} {limit:>7}  {said}")
    print(f"{missed} targets missed")
    sys.exit(1 if strict and missed else 0)


if __name__ == "__main__":
    main()
