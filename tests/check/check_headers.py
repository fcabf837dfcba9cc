"""Compiles each header alone, so that none leans on what its includers include before it."""
import argparse
import concurrent.futures
import os
import subprocess

import tree

PACKAGES = ["Qt6Widgets", "Qt6Test", "icu-uc", "libxml-2.0", "gmock", "libsystemd", "libsodium"]


def flags():
    common = ["-std=c++20", "-fPIC", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wshadow",
              "-Wno-missing-field-initializers", "-Wno-pragma-once-outside-header", "-Wno-unused-const-variable", "-I."]
    for package in PACKAGES:
        result = subprocess.run(["pkg-config", "--cflags", package], capture_output=True, text=True)
        common += result.stdout.split() if result.returncode == 0 else []
    # other people's headers don't answer to our warnings
    return [f"-isystem{flag[2:]}" if flag.startswith("-I/") else flag for flag in common]


def compile_alone(path, common):
    generated = f"-Ibuild/debug/{os.path.dirname(path)}"
    command = ["clang++", "-fsyntax-only", "-xc++", *common, generated, path]
    result = subprocess.run(command, cwd=tree.ROOT, capture_output=True, text=True)
    return f"{path} doesn't compile alone:\n{result.stderr}" if result.returncode else None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("-j", type=int, default=2)
    parser.add_argument("headers", nargs="*")
    args = parser.parse_args()
    common = flags()
    with concurrent.futures.ThreadPoolExecutor(args.j) as pool:
        found = pool.map(lambda path: compile_alone(path, common), args.headers)
    tree.finish([finding for finding in found if finding])


if __name__ == "__main__":
    main()
