"""Remembers which sources passed a check, and from which contents, so that the next run looks only
at those that something changed for."""
import hashlib
import json
import os


class Stamps:
    def __init__(self, path):
        self.path = path
        self.hashes = {}
        self.passed = {}
        if os.path.exists(path):
            with open(path) as file:
                self.passed = json.load(file)

    def state(self, paths, extra=""):
        """One number for the contents of these files; "" when one is gone."""
        total = hashlib.sha256(extra.encode())
        for path in sorted(set(paths)):
            if path not in self.hashes:
                if not os.path.exists(path):
                    return ""
                with open(path, "rb") as file:
                    self.hashes[path] = hashlib.sha256(file.read()).hexdigest()
            total.update((path + self.hashes[path]).encode())
        return total.hexdigest()

    def is_fresh(self, source, extra=""):
        """True when `source` passed and neither it nor what it was made from has changed."""
        known = self.passed.get(source)
        return bool(known) and known["state"] == self.state(known["files"], extra) != ""

    def keep(self, source, files, extra=""):
        self.passed[source] = {"files": sorted(set(files)), "state": self.state(files, extra)}

    def save(self):
        os.makedirs(os.path.dirname(self.path), exist_ok=True)
        with open(self.path, "w") as file:
            json.dump(self.passed, file)
