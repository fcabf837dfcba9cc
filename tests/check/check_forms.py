"""Checks .ui files: names used once, buddies that exist, mnemonic labels with a buddy, and a tab
order that lists every control that takes the focus."""
import sys
import xml.etree.ElementTree as ElementTree

import tree

FOCUSABLE = {"QLineEdit", "QComboBox", "QCheckBox", "QRadioButton", "QPushButton", "QToolButton",
             "QTreeView", "QTreeWidget", "QListView", "QListWidget", "QTableView", "QTableWidget",
             "QSpinBox", "QDoubleSpinBox", "QDateEdit", "QTimeEdit", "QDateTimeEdit", "QTextEdit",
             "QPlainTextEdit", "QTextBrowser", "QTabWidget", "QSlider", "QFontComboBox"}


def property_of(widget, name):
    for prop in widget.findall("property"):
        if prop.get("name") == name and len(prop):
            return prop[0].text or ""
    return None


def focusable_classes(root):
    """Qt's own classes, and promoted ones by what they extend."""
    classes = set(FOCUSABLE)
    for custom in root.iter("customwidget"):
        if custom.findtext("extends") in FOCUSABLE:
            classes.add(custom.findtext("class"))
    return classes


def has_mnemonic(text):
    return "&" in (text or "").replace("&&", "")


def findings_in(path, text):
    try:
        root = ElementTree.fromstring(text)
    except ElementTree.ParseError as error:
        return [f"{path}: {error}"]
    found = []
    widgets = list(root.iter("widget"))
    names = {}
    for element in widgets + list(root.iter("action")) + list(root.iter("layout")):
        name = element.get("name")
        if name:
            names[name] = names.get(name, 0) + 1
    found += [f"{path}: the name {name} is used {count} times"
              for name, count in names.items() if count > 1]
    classes = focusable_classes(root)
    stops = [stop.text for stop in root.iter("tabstop")]
    found += [f"{path}: tab stop {name} is no control" for name in stops if name not in names]
    for widget in widgets:
        found += [f"{path}: {finding}" for finding in widget_findings(widget, names, classes, stops)]
    return found


def widget_findings(widget, names, classes, stops):
    name, kind = widget.get("name"), widget.get("class")
    buddy = property_of(widget, "buddy")
    if kind == "QLabel":
        if buddy is not None and buddy not in names:
            yield f"buddy {buddy} of {name} doesn't exist"
        if buddy is None and has_mnemonic(property_of(widget, "text")):
            yield f"label {name} has a mnemonic and no buddy"
    if kind in classes and property_of(widget, "focusPolicy") != "Qt::NoFocus" \
            and name not in stops:
        yield f"{name} takes the focus and stands in no tab order"


def main():
    found = []
    for path in sys.argv[1:]:
        found += findings_in(path, tree.read(path))
    tree.finish(found)


if __name__ == "__main__":
    main()
