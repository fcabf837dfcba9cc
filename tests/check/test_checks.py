"""The checks find what they are there for, and leave the rest alone."""
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import bench_report
import check_forms
import check_headers
import check_layers
import check_links
import check_words
import count_tests
import stamps


class Words(unittest.TestCase):
    def found(self, text):
        return check_words.findings_in("a.cpp", text)

    def test_refused(self):
        for text in ["// TODO later", "see Part 3.4", "as the specification says", "by spec",
                     "/work/main/a", "/root/x", "<<<<<<< HEAD"]:
            self.assertEqual(len(self.found(text)), 1, text)

    def test_allowed(self):
        for text in ["a partial part 3", "mkstemp XXXXXX", "[MS-OXCDATA] 2.11.1", "/usr/share/work/",
                     "network/work/x", "a specific rule"]:
            self.assertEqual(self.found(text), [], text)


class Layers(unittest.TestCase):
    def refused(self, path, include):
        self.assertEqual(len(check_layers.findings_in(path, f"#include {include}\n")), 1,
                         f"{path} {include}")

    def allowed(self, path, include):
        self.assertEqual(check_layers.findings_in(path, f"#include {include}\n"), [],
                         f"{path} {include}")

    def test_qt(self):
        self.refused("core/Text.cpp", "<QString>")
        self.refused("app/ctl/Args.cpp", "<QString>")
        self.refused("contacts/basACF.cpp", '"ui_frmACF.h"')
        self.refused("platform/store/sqlite/Db.cpp", "<QtCore/qglobal.h>")
        self.allowed("contacts/forms/frmACF.cpp", "<QDialog>")
        self.allowed("app/main.cpp", "<QApplication>")
        self.allowed("core/Queue.cpp", "<queue>")

    def test_directions(self):
        self.refused("contacts/basACF.cpp", '"platform/store/sqlite/SqliteStore.h"')
        self.refused("contacts/basACF.cpp", '"contacts/forms/frmACF.h"')
        self.refused("core/Log.cpp", '"console/Console.h"')
        self.refused("platform/store/Store.h", '"core/Recordset.h"')
        self.refused("platform/store/sqlite/Db.cpp", '"platform/registry/regfile/RegTree.h"')
        self.refused("hosts/forms/frmHost.cpp", '"contacts/forms/frmACF.h"')
        self.refused("core/Log.cpp", '"tests/support/World.h"')
        self.allowed("contacts/basACF.cpp", '"platform/store/Store.h"')
        self.allowed("hosts/forms/frmHost.cpp", '"console/forms/Theme.h"')
        self.allowed("hosts/forms/frmHost.cpp", '"platform/ui/qt/QtUi.h"')
        self.allowed("platform/store/sqlite/Db.cpp", '"core/Text.h"')
        self.allowed("app/main.cpp", '"platform/store/sqlite/SqliteStore.h"')


FORM = """<ui><class>f</class><widget class="QDialog" name="f">
<widget class="QLabel" name="lbl"><property name="text"><string>&amp;Name</string></property>
{buddy}</widget><widget class="QLineEdit" name="txtName">{policy}</widget></widget>
<tabstops>{stops}</tabstops></ui>"""
BUDDY = '<property name="buddy"><cstring>{}</cstring></property>'


class Forms(unittest.TestCase):
    def found(self, buddy=BUDDY.format("txtName"), policy="", stops="<tabstop>txtName</tabstop>"):
        return check_forms.findings_in("f.ui", FORM.format(buddy=buddy, policy=policy, stops=stops))

    def test_good(self):
        self.assertEqual(self.found(), [])

    def test_buddies(self):
        self.assertEqual(len(self.found(buddy="")), 1)
        self.assertEqual(len(self.found(buddy=BUDDY.format("txtGone"))), 1)

    def test_tab_order(self):
        self.assertEqual(len(self.found(stops="")), 1)
        self.assertEqual(len(self.found(stops="<tabstop>txtName</tabstop><tabstop>x</tabstop>")), 1)
        no_focus = '<property name="focusPolicy"><enum>Qt::NoFocus</enum></property>'
        self.assertEqual(self.found(policy=no_focus, stops=""), [])

    def test_names_and_xml(self):
        twice = FORM.replace('name="lbl"', 'name="txtName"')
        text = twice.format(buddy=BUDDY.format("txtName"), policy="",
                            stops="<tabstop>txtName</tabstop>")
        self.assertEqual(len(check_forms.findings_in("f.ui", text)), 1)
        self.assertEqual(len(check_forms.findings_in("f.ui", "<ui>")), 1)


class Links(unittest.TestCase):
    def test_targets(self):
        targets = "\n".join(["app/kr-adminctl: CXX", "libkr_core.a: phony",
                             "core/libkr_core.a: CXX", "libkr_pch_core.a: CXX",
                             "console/forms/libkr_console_forms.a: CXX", "tests/libkr_fakes.a: CXX"])
        self.assertEqual(check_links.qt_free_targets(targets), ["app/kr-adminctl", "core/libkr_core.a"])

    def test_pattern(self):
        self.assertTrue(check_links.QT.search("-o a /usr/lib/x86_64-linux-gnu/libQt6Core.so.6.4.2"))
        self.assertFalse(check_links.QT.search("-o a core/libkr_core.a -lsqlite3"))


class Headers(unittest.TestCase):
    def test_own_files(self):
        self.assertEqual(check_headers.own_files("a.o: core/A.h \\\n  /usr/include/x.h core/B.h\n"),
                         ["core/A.h", "core/B.h"])


class StampsOfPassed(unittest.TestCase):
    def test_fresh_until_something_changes(self):
        with tempfile.TemporaryDirectory() as folder:
            source, header = os.path.join(folder, "a.cpp"), os.path.join(folder, "a.h")
            for path in (source, header):
                with open(path, "w") as file:
                    file.write("one")
            store = os.path.join(folder, "made", "passed.json")
            first = stamps.Stamps(store)
            self.assertFalse(first.is_fresh("a.cpp", "flags"))
            first.keep("a.cpp", [source, header], "flags")
            first.save()
            self.assertTrue(stamps.Stamps(store).is_fresh("a.cpp", "flags"))
            self.assertFalse(stamps.Stamps(store).is_fresh("a.cpp", "other flags"))
            with open(header, "w") as file:
                file.write("two")
            self.assertFalse(stamps.Stamps(store).is_fresh("a.cpp", "flags"))
            os.remove(header)
            self.assertFalse(stamps.Stamps(store).is_fresh("a.cpp", "flags"))


class Counting(unittest.TestCase):
    def count(self, junit, **reports):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "ctest.junit"), "w") as file:
                file.write(f"<testsuite>{junit}</testsuite>")
            for name, text in reports.items():
                with open(os.path.join(folder, name + ".xml"), "w") as file:
                    file.write(text)
            return count_tests.count(folder)

    def test_cases_and_programs(self):
        self.assertEqual(self.count(
            '<testcase name="test_a" status="run"/><testcase name="journey" status="run"/>'
            '<testcase name="test_b" status="fail"/><testcase name="test_c" status="fail"/>',
            test_a='<testsuites tests="5" failures="0" errors="0"/>',
            test_b='<testsuites tests="4" failures="1" errors="0"/>'), (9, 2))

    def test_skipped_is_failed_and_death_after_the_report_too(self):
        self.assertEqual(self.count(
            '<testcase name="test_a" status="run"/><testcase name="test_b" status="fail"/>',
            test_a='<testsuites tests="2" failures="0" errors="0" skipped="1"/>',
            test_b='<testsuites tests="3" failures="0" errors="0"/>'), (4, 2))


class Benchmarks(unittest.TestCase):
    def test_lines(self):
        text = "made 5 rows\nratio a.b/floor 3.5 target 2.00 MISSED\nratio c 1e-2 target 0.02\nratio d\n"
        self.assertEqual(bench_report.ratios_of(text), [("a.b/floor", 3.5, 2.0), ("c", 0.01, 0.02)])

    def test_counters(self):
        results = [{"name": "Fill", "run_name": "Fill", "of_goal": 0.4},
                   {"name": "Fill_median", "run_name": "Fill", "aggregate_name": "median",
                    "of_goal": 0.5},
                   {"name": "Floor", "run_name": "Floor", "cpu_time": 3}]
        self.assertEqual(bench_report.ratios_of_json(results), [("Fill", 0.5, 1.0)])
        self.assertEqual(bench_report.ratios_of_json(results[:1]), [("Fill", 0.4, 1.0)])

    def test_verdicts(self):
        self.assertEqual(bench_report.verdict(2.0, 2.0), "met")
        self.assertEqual(bench_report.verdict(2.2, 2.0), "within noise")
        self.assertEqual(bench_report.verdict(2.4, 2.0), "MISSED")

    def test_silent_program_is_seen(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in (("bench_a", "ratio x 1 target 2\n"), ("bench_b", "died\n")):
                with open(os.path.join(folder, name + ".txt"), "w") as file:
                    file.write(text)
            self.assertEqual(list(bench_report.rows_of(folder)),
                             [("bench_a", [("x", 1.0, 2.0)]), ("bench_b", [])])


if __name__ == "__main__":
    unittest.main()
