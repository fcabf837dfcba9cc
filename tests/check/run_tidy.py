"""Runs clang-tidy on the sources given, except those that passed before and whose own text,
headers and settings haven't changed since."""
import argparse
import concurrent.futures
import json
import os
import subprocess

import stamps
import tree

# The analyzer gives up on a function after so many states: its default takes more than twice as
# long for a source that handles much text.
FAST = ["--extra-arg=-Xclang", "--extra-arg=-analyzer-config", "--extra-arg=-Xclang",
        "--extra-arg=max-nodes=40000"]
# takes every functor that Qt keeps for later for a leak
CHECKS = "--checks=-clang-analyzer-cplusplus.NewDeleteLeaks"
# tests run under the sanitizers, and nobody waits for them
TEST_CHECKS = "--checks=-clang-analyzer-*,-performance-*"


def dependencies(build):
    """Source -> the project's files that its object was made from, as the build knows them."""
    out = subprocess.run(["ninja", "-C", build, "-t", "deps"], check=True, capture_output=True,
                         text=True).stdout
    result = {}
    for block in out.split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if line.strip()]
        paths = [os.path.relpath(os.path.join(build, line)) for line in lines[1:]]
        own = [path for path in paths if not path.startswith("..") and not path.endswith(".pch")]
        if own:
            result[own[0]] = own
    return result


def tidy(path, build):
    checks = TEST_CHECKS if path.startswith(("tests/", "bench/")) else CHECKS
    result = subprocess.run(["clang-tidy", "-quiet", "-p", build, *FAST, checks, path],
                            capture_output=True, text=True)
    return result.stdout if result.returncode else ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("-j", type=int, default=2)
    parser.add_argument("build")
    parser.add_argument("sources", nargs="*")
    args = parser.parse_args()
    os.chdir(tree.ROOT)
    with open(os.path.join(args.build, "compile_commands.json")) as file:
        known = {os.path.relpath(entry["file"]) for entry in json.load(file)}
    depends = dependencies(args.build)
    passed = stamps.Stamps(os.path.join(args.build, "tidy-passed.json"))
    settings = tree.read(".clang-tidy") + CHECKS + TEST_CHECKS + " ".join(FAST)
    work = [source for source in args.sources
            if source in known and not passed.is_fresh(source, settings)]
    found = []
    with concurrent.futures.ThreadPoolExecutor(args.j) as pool:
        for source, complaint in zip(work, pool.map(lambda path: tidy(path, args.build), work)):
            if complaint:
                found.append(complaint)
            else:
                passed.keep(source, depends.get(source, [source]), settings)
    passed.save()
    print(f"clang-tidy looked at {len(work)} of {len(args.sources)} sources")
    tree.finish(found)


if __name__ == "__main__":
    main()
