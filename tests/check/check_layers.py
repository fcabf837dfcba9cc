"""Checks who includes whom: forms -> subsystems -> seams, and implementations known to nobody."""
import re

import tree

SUBSYSTEMS = {"core", "console", "contacts", "eps", "hosts", "handhelds", "push", "checklists",
              "backup", "diagnostics", "net", "personalities", "languages", "census"}
# what seams share; everything else in core stands above them
VOCABULARY = {"core/Value.h", "core/Text.h", "core/EntryID.h", "core/PlatformError.h",
              "core/Clock.h"}
# whose recipient lists other dialogs show
SHARED_FORMS = {"eps": ("contacts",), "push": ("contacts",)}
# the Qt-free parts of app/
CTL = ("app/sample/", "app/ctl/", "app/kr-adminctl.cpp")
INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)', re.M)
QT_HEADER = re.compile(r"^(Q[A-Z]\w*|Qt\w*/.*)$")


def is_forms(path):
    return "/forms/" in path


def may_use_qt(path):
    if path.startswith(CTL):
        return False
    return (is_forms(path) or path.startswith(("platform/ui/qt/", "platform/events/qt/", "app/",
                                               "bench/", "tests/")))


def is_interface(header):
    """platform/<seam>/<Name>.h and not a file of an implementation below it."""
    return header.startswith("platform/") and header.count("/") == 2


def refuse_project_include(path, header):
    """The reason why `path` may not include the project's `header`, or None."""
    top = path.split("/")[0]
    target = header.split("/")[0]
    if top in ("app", "tests", "bench"):
        return None
    if target in ("app", "tests"):
        return "only tests and app/ may include it"
    if top == "platform":
        own = "/".join(path.split("/")[:-1]) + "/"
        if header in VOCABULARY or is_interface(header) or header.startswith(own):
            return None
        if path.startswith("platform/events/qt/") and header.startswith("platform/events/epoll/"):
            return None
        return "a seam knows the vocabulary of core, seams and its own folder"
    if target == "platform" and not is_interface(header):
        if is_forms(path) and header.startswith("platform/ui/qt/"):
            return None
        return "an implementation of a seam is named in app/ only"
    if is_forms(header):
        if not is_forms(path):
            return "a subsystem knows no form"
        if target not in (top, "console", *SHARED_FORMS.get(top, ())):
            return "forms of another subsystem"
        return None
    if top == "core" and target in SUBSYSTEMS - {"core"}:
        return "the core knows no other subsystem"
    return None


def findings_in(path, text):
    found = []
    for match in INCLUDE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        project, system = match.group(1), match.group(2)
        reason = None
        header = project or system
        if project and project.startswith("ui_"):
            reason = None if may_use_qt(path) else "Qt outside forms"
        elif project and "/" in project:
            reason = refuse_project_include(path, project)
        elif QT_HEADER.match(header):
            reason = None if may_use_qt(path) else "Qt outside forms"
        if reason:
            found.append(f"{path}:{line}: {header}: {reason}")
    return found


def main():
    found = []
    for path in tree.files("*.cpp", "*.h"):
        found += findings_in(path, tree.read(path))
    tree.finish(found)


if __name__ == "__main__":
    main()
