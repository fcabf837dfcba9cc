"""What the checks share: the files of the tree and how a finding is told."""
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def files(*patterns):
    """Tracked and new files, ignored ones left out, as paths from the root."""
    out = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard", "--", *patterns],
        cwd=ROOT, check=True, capture_output=True, text=True).stdout.splitlines()
    return sorted(path for path in set(out) if os.path.isfile(os.path.join(ROOT, path)))


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8", errors="replace") as file:
        return file.read()


def finish(findings):
    for finding in findings:
        print(finding)
    sys.exit(1 if findings else 0)
