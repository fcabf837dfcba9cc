"""Runs clang-tidy on the sources given, except those that passed before and whose own text,
headers and settings haven't changed since."""
import argparse
import concurrent.futures
import hashlib
import json
import os
import subprocess

import tree


def dependencies(build):
    """Source -> the files that its object was made from, as the build knows them."""
    out = subprocess.run(["ninja", "-C", build, "-t", "deps"], cwd=tree.ROOT, check=True,
                         capture_output=True, text=True).stdout
    result = {}
    for block in out.split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if line.strip()]
        if len(lines) < 2:
            continue
        paths = [os.path.normpath(os.path.join(tree.ROOT, build, line)) for line in lines[1:]]
        own = [path for path in paths if path.startswith(tree.ROOT + os.sep)]
        if own:
            result[own[0]] = own
    return result


def state_of(paths, cache):
    """One number for the contents of these files and the settings."""
    total = hashlib.sha256()
    for path in sorted(paths):
        if path not in cache:
            with open(path, "rb") as file:
                cache[path] = hashlib.sha256(file.read()).digest()
        total.update(path.encode() + cache[path])
    return total.hexdigest()


# The analyzer gives up on a function after so many states: its default takes more than twice as long
# for a source that handles much text.
FAST = ["--extra-arg=-Xclang", "--extra-arg=-analyzer-config", "--extra-arg=-Xclang",
        "--extra-arg=max-nodes=40000"]
# takes every functor that Qt keeps for later for a leak
CHECKS = "--checks=-clang-analyzer-cplusplus.NewDeleteLeaks"


def tidy(path, build):
    result = subprocess.run(["clang-tidy", "-quiet", "-p", build, *FAST, CHECKS, path],
                            cwd=tree.ROOT, capture_output=True, text=True)
    return result.returncode == 0, result.stdout


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("-j", type=int, default=2)
    parser.add_argument("build")
    parser.add_argument("sources", nargs="*")
    args = parser.parse_args()
    with open(os.path.join(tree.ROOT, args.build, "compile_commands.json")) as file:
        known = {os.path.normpath(entry["file"]) for entry in json.load(file)}
    depends = dependencies(args.build)
    stamps_path = os.path.join(tree.ROOT, args.build, "tidy-passed.json")
    stamps = json.load(open(stamps_path)) if os.path.exists(stamps_path) else {}
    cache, work = {}, []
    settings = os.path.join(tree.ROOT, ".clang-tidy")
    for source in args.sources:
        full = os.path.join(tree.ROOT, source)
        if full in known:
            paths = [p for p in depends.get(full, [full]) if os.path.exists(p)
                     and not p.endswith(".pch")]
            state = state_of(paths + [settings], cache)
            if stamps.get(source) != state:
                work.append((source, state))
    found = []
    with concurrent.futures.ThreadPoolExecutor(args.j) as pool:
        for (source, state), (passed, text) in zip(
                work, pool.map(lambda item: tidy(item[0], args.build), work)):
            if passed:
                stamps[source] = state
            else:
                found.append(text)
    with open(stamps_path, "w") as file:
        json.dump(stamps, file)
    print(f"clang-tidy looked at {len(work)} of {len(args.sources)} sources")
    tree.finish(found)


if __name__ == "__main__":
    main()
