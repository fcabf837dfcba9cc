"""Checks in the build's own graph that nothing below the forms compiles or links with Qt."""
import re
import subprocess
import sys

import tree

QT = re.compile(r"libQt6|/qt6/|-lQt6|Qt6Core", re.I)
# libraries of the graph that may use Qt, by the folder of their archive
QT_FOLDERS = ("/forms/", "platform/ui/qt/", "platform/libkr_events_qt.a", "app/libkr_app",
              "app/libkr_adapters", "tests/")


def ninja(build, *arguments):
    result = subprocess.run(["ninja", "-C", build, "-t", *arguments], cwd=tree.ROOT,
                            check=True, capture_output=True, text=True)
    return result.stdout


def qt_free_targets(targets):
    """Names of the archives below the forms, and the front end without a window."""
    names = [line.split(":")[0] for line in targets.splitlines()]
    return [name for name in names
            if name == "app/kr-adminctl"
            or (re.search(r"/libkr_\w+\.a$", name) and "kr_pch" not in name
                and not any(folder in name for folder in QT_FOLDERS))]


def main():
    build = sys.argv[1]
    found = []
    names = qt_free_targets(ninja(build, "targets", "all"))
    if "app/kr-adminctl" not in names or len(names) < 5:
        found.append(f"{build}: the targets that ought to be free of Qt weren't found")
    for name in names:
        for command in ninja(build, "commands", name).splitlines():
            if "kr_pch" not in command and QT.search(command):
                found.append(f"{name} needs Qt: {command[:200]}")
                break
    tree.finish(found)


if __name__ == "__main__":
    main()
