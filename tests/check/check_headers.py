"""Compiles each header alone, so that none leans on what its includers include before it. Headers
that passed are compiled again only when they, or what they include, have changed."""
import argparse
import concurrent.futures
import os
import subprocess
import tempfile

import stamps
import tree

PACKAGES = ["Qt6Widgets", "Qt6Test", "icu-uc", "libxml-2.0", "gmock", "libsystemd", "libsodium"]
STAMPS = "build/debug/headers-passed.json"


def flags():
    common = ["-std=c++20", "-fPIC", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wshadow",
              "-Wno-missing-field-initializers", "-Wno-pragma-once-outside-header",
              "-Wno-unused-const-variable", "-I."]
    for package in PACKAGES:
        result = subprocess.run(["pkg-config", "--cflags", package], capture_output=True, text=True)
        common += result.stdout.split() if result.returncode == 0 else []
    # other people's headers don't answer to our warnings
    return [f"-isystem{flag[2:]}" if flag.startswith("-I/") else flag for flag in common]


def own_files(rules):
    """The project's files in a compiler's dependency rule."""
    paths = rules.split(":", 1)[1].replace("\\\n", " ").split()
    return [path for path in paths if not path.startswith("/")]


def compile_alone(path, common):
    """(complaint or "", files that it was made from)"""
    generated = f"-Ibuild/debug/{os.path.dirname(path)}"
    with tempfile.NamedTemporaryFile("r") as rules:
        command = ["clang++", "-fsyntax-only", "-xc++", *common, generated, "-MMD", "-MF",
                   rules.name, path]
        result = subprocess.run(command, cwd=tree.ROOT, capture_output=True, text=True)
        if result.returncode:
            return f"{path} doesn't compile alone:\n{result.stderr}", []
        return "", own_files(rules.read())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("-j", type=int, default=2)
    parser.add_argument("headers", nargs="*")
    args = parser.parse_args()
    os.chdir(tree.ROOT)
    common = flags()
    passed = stamps.Stamps(STAMPS)
    settings = " ".join(common)
    work = [path for path in args.headers if not passed.is_fresh(path, settings)]
    found = []
    with concurrent.futures.ThreadPoolExecutor(args.j) as pool:
        results = pool.map(lambda path: compile_alone(path, common), work)
        for path, (complaint, files) in zip(work, results):
            if complaint:
                found.append(complaint)
            else:
                passed.keep(path, files, settings)
    passed.save()
    print(f"compiled {len(work)} of {len(args.headers)} headers")
    tree.finish(found)


if __name__ == "__main__":
    main()
